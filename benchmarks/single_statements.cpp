// Operations that are one statement: many small ones, and a large one:
//   single_statements [delete|system_log|report]...

#include <algorithm>

#include "BenchServer.h"
#include "Paired.h"
#include "Plant.h"
#include "baseline/Baseline.h"

namespace {

constexpr std::size_t kCalls = 10000;

std::vector<SystemLogRecord> Records() {
  std::vector<SystemLogRecord> records;
  for (std::size_t i = 0; i < kCalls; ++i) {
    records.push_back({bench::kPlantStartMs + static_cast<std::int64_t>(i), 1, 2, 3, 4,
                       i % 2 == 0 ? L"operator" : std::wstring(), L"Connection to controller 17 lost"});
  }
  return records;
}

void RaceSystemLog(bench::BenchServer& server, Dbms& dbms, PGconn* link) {
  const auto records = Records();
  const auto parameters = baseline::SystemLogParameters(records);
  baseline::Prepare(link, "log", "insert into system_log values (to_timestamp($1),$2,$3,$4,$5,$6,$7)",
                    parameters.front());
  const auto settle = [&] { server.Settle("system_log"); };
  bench::Race({"InsertSystemLog", kCalls},
              {{"baseline", settle,
                [&] {
                  for (const auto& one : parameters) baseline::RunPrepared(link, "log", one);
                }},
               {"library", settle,
                [&] { bench::Require(dbms.InsertSystemLog(records) == kCalls, "InsertSystemLog"); }}});
}

// The statement deletes no row, so that little more than the round trip is measured. Both sessions store
// history between the turns, as the session of a data logger does.
void RaceDeleteRecipe(Dbms& dbms, PGconn* link) {
  const auto samples = bench::PlantSamples(1000, 1000, bench::Values::TenDigits, bench::Order::ByCycle);
  const auto pieces = baseline::CopyPieces(samples);
  const auto store = [&] { bench::Require(dbms.InsertLogData(samples), "InsertLogData"); };
  const auto storeOverLibpq = [&] { baseline::InsertHistory(link, pieces); };
  bench::Require(dbms.CreateRecipeTable(), "recipe");
  constexpr char kDelete[] = "delete from recipe where model_name = $1 and name = $2";
  baseline::Parameters parameters;
  parameters.Add(std::wstring(L"mixer"));
  parameters.Add(std::wstring(L"light"));
  parameters.Finish();
  baseline::Prepare(link, "recipe", kDelete, parameters);
  const auto tenThousand = [](auto call) {
    return [call] {
      for (std::size_t i = 0; i < kCalls; ++i) call();
    };
  };
  const auto prepared = [&] { baseline::RunPrepared(link, "recipe", parameters); };
  const auto library = [&] { bench::Require(dbms.DeleteRecipe(L"mixer", L"light"), "DeleteRecipe"); };
  const auto parsed = [&] { baseline::RunWith(link, kDelete, parameters); };
  const auto nothing = [&] { PQclear(PQexec(link, "")); };
  bench::Race({"DeleteRecipe", 1, kCalls},
              {{"baseline", storeOverLibpq, tenThousand(prepared)},
               {"library", store, tenThousand(library)},
               {"baseline, parsed each time", storeOverLibpq, tenThousand(parsed)},
               {"empty statement", nullptr, tenThousand(nothing)}});
}

void RaceReportRows(bench::BenchServer& server, Dbms& dbms, PGconn* link, std::size_t count) {
  std::vector<ReportAnalogData> rows;
  for (std::size_t i = 0; i < count; ++i) {
    ReportAnalogData& row = rows.emplace_back();
    row.time = row.min_time = row.max_time = row.diff_min_time = row.diff_max_time =
        bench::kPlantStartMs / 1000;
    row.tag_name = bench::TagName(i);
    row.count = 60;
    row.sum = row.avg = row.last = row.max = 100.0 / 3 * static_cast<double>(i);
  }
  const auto parameters = baseline::ReportParameters(rows);
  const auto statement = baseline::ReportStatement("report_data_analog_hour", count);
  const auto settle = [&] { server.Settle("report_data_analog_hour"); };
  bench::Race({"InsertReportAnalogData", count},
              {{"baseline", settle, [&] { baseline::RunWith(link, statement, parameters); }},
               {"library", settle, [&] {
                  bench::Require(dbms.InsertReportAnalogData(L"hour", rows), "InsertReportAnalogData");
                }}});
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> chosen(argv + 1, argv + argc);
  const auto isChosen = [&](const char* name) {
    return chosen.empty() || std::find(chosen.begin(), chosen.end(), name) != chosen.end();
  };
  bench::BenchServer server("bench_single_statements");
  const auto dbms = server.Library();
  const bench::Link link = server.Connect();
  bench::Require(dbms->CreateSystemLogTable(0) && dbms->CreateLogTable(0) && dbms->CreateReportDataTables(0),
                 "creating the tables");
  if (isChosen("delete")) RaceDeleteRecipe(*dbms, link.get());
  if (isChosen("system_log")) RaceSystemLog(server, *dbms, link.get());
  if (!isChosen("report")) return 0;
  for (const std::size_t rows : {375u, 750u, 1500u, 3000u}) RaceReportRows(server, *dbms, link.get(), rows);
}
