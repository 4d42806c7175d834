// Runs one operation once, for a profiler of the client:
//   one_operation insert|read|alarms|report_rows|system_log|delete|report library|baseline|binary
//
// Profile the calls of bench::Profiled. Prints how many things (rows, samples, calls) the operation did.

#include <iostream>
#include <string_view>

#include "BenchServer.h"
#include "Paired.h"
#include "Plant.h"
#include "baseline/Baseline.h"

namespace bench {

[[gnu::noinline]] void Profiled(const std::function<void()>& work) { work(); }

}  // namespace bench

namespace {

constexpr std::size_t kTags = 1000;
constexpr std::size_t kSamples = 100000;
constexpr std::size_t kCalls = 1000;
constexpr std::size_t kReportRows = 3000;
constexpr std::int64_t kStart = bench::kPlantStartMs / 1000;

// An operation done by the library and by the baseline, and how many things (rows, samples, calls) each does.
struct Operation {
  std::size_t things;
  std::function<void()> library, overLibpq, inBinary = nullptr;
};

class Operations {
 public:
  Operations() {
    bench::Require(dbms_->CreateSystemLogTable(0) && dbms_->CreateLogTable(0) && dbms_->CreateRecipeTable() &&
                       dbms_->CreateAlarmTable(0) && dbms_->CreateReportDataTables(0),
                   "creating the tables");
  }

  Operation Insert() {
    samples_ = bench::PlantSamples(kSamples, kTags, bench::Values::TenDigits, bench::Order::ByCycle);
    pieces_ = baseline::CopyPieces(samples_);
    return {kSamples, [this] { bench::Require(dbms_->InsertLogData(samples_), "InsertLogData"); },
            [this] { baseline::InsertHistory(link_.get(), pieces_); }};
  }

  Operation Read() {
    Insert().library();
    for (std::size_t tag = 0; tag < kTags; ++tag) data_[bench::TagName(tag)];
    const std::int64_t end = kStart + static_cast<std::int64_t>(kSamples);
    query_ = baseline::HistoryQuery(kStart, end, data_);
    return {kSamples, [this, end] { bench::Require(dbms_->GetLogData(kStart, end, data_), "GetLogData"); },
            [this] { baseline::ReadHistory(link_.get(), query_, baseline::Rows::OneByOne, data_); },
            [this] { baseline::ReadHistoryInBinary(link_.get(), query_, data_); }};
  }

  Operation Alarms() {
    server_.Run(
        "insert into alarm select to_timestamp(1700000000 + i), 'PLANT1.PUMP0042.FLOW', random() * 500, 'Flow above its "
        "upper limit', i % 4, i % 13, 1 + i % 15, i % 16, to_timestamp(1700000000 + i), to_timestamp(1700000060 + i) "
        "from generate_series(1, 100000) as i");
    query_ =
        "select extract(epoch from time),tag_name,value,label,status,type,level,zone,extract(epoch from occ_time),"
        "extract(epoch from free_time) from alarm where time >= to_timestamp(1700000000) and time <= "
        "to_timestamp(1700100000) order by time desc";
    return {kSamples,
            [this] {
              bench::Require(dbms_->GetAllAlarmData(kStart, kStart + 100000, alarms_), "GetAllAlarmData");
            },
            [this] { baseline::ReadAlarms(link_.get(), query_, baseline::Rows::OneByOne, alarms_); },
            [this] { baseline::ReadAlarmsInBinary(link_.get(), query_, alarms_); }};
  }

  Operation ReportRows() {
    server_.Run(
        "insert into report_data_analog_hour select t, tag, 60, random(), random(), random(), random(), random(), "
        "random(), t, random(), t, random(), random(), random(), t, random(), t from (select to_timestamp(1700000000 + "
        "i / 100 * 3600) t, 'PLANT1.PUMP' || lpad((i % 100)::text, 4, '0') || '.FLOW' tag from generate_series(0, "
        "99999) i) s");
    for (std::size_t tag = 0; tag < 100; ++tag) reports_[bench::TagName(tag)];
    query_ = "select * from report_data_analog_hour order by tag_name, time";
    return {kSamples,
            [this] {
              bench::Require(dbms_->GetReportAnalogData(L"hour", kStart, kStart + 100000000, reports_),
                             "the report");
            },
            [this] { baseline::ReadReports(link_.get(), query_, baseline::Rows::OneByOne, reports_); },
            [this] { baseline::ReadReportsInBinary(link_.get(), query_, reports_); }};
  }

  Operation SystemLog() {
    for (std::size_t i = 0; i < kCalls; ++i) {
      records_.push_back({bench::kPlantStartMs + static_cast<std::int64_t>(i), 1, 2, 3, 4, L"operator",
                          L"Connection to controller 17 lost"});
    }
    many_ = baseline::SystemLogParameters(records_);
    baseline::Prepare(link_.get(), "log",
                      "insert into system_log values (to_timestamp($1),$2,$3,$4,$5,$6,$7)", many_.front());
    return {kCalls, [this] { bench::Require(dbms_->InsertSystemLog(records_) == kCalls, "InsertSystemLog"); },
            [this] {
              for (const auto& one : many_) baseline::RunPrepared(link_.get(), "log", one);
            }};
  }

  Operation Delete() {
    parameters_.Add(std::wstring(L"mixer"));
    parameters_.Add(std::wstring(L"light"));
    parameters_.Finish();
    baseline::Prepare(link_.get(), "recipe", "delete from recipe where model_name = $1 and name = $2",
                      parameters_);
    return {kCalls,
            [this] {
              for (std::size_t i = 0; i < kCalls; ++i) dbms_->DeleteRecipe(L"mixer", L"light");
            },
            [this] {
              for (std::size_t i = 0; i < kCalls; ++i) {
                baseline::RunPrepared(link_.get(), "recipe", parameters_);
              }
            }};
  }

  Operation Report() {
    for (std::size_t i = 0; i < kReportRows; ++i) rows_.emplace_back().tag_name = bench::TagName(i);
    parameters_ = baseline::ReportParameters(rows_);
    query_ = baseline::ReportStatement("report_data_analog_hour", kReportRows);
    return {kReportRows,
            [this] { bench::Require(dbms_->InsertReportAnalogData(L"hour", rows_), "the report"); },
            [this] { baseline::RunWith(link_.get(), query_, parameters_); }};
  }

 private:
  bench::BenchServer server_{"bench_one_operation"};
  std::shared_ptr<Dbms> dbms_ = server_.Library();
  bench::Link link_ = server_.Connect();

  std::vector<LogSample> samples_;
  std::vector<std::string> pieces_;
  baseline::History data_;
  std::string query_;
  std::vector<AlarmRecord> alarms_;
  baseline::Reports reports_;
  std::vector<SystemLogRecord> records_;
  std::vector<baseline::Parameters> many_;
  baseline::Parameters parameters_;
  std::vector<ReportAnalogData> rows_;
};

Operation Chosen(Operations& operations, std::string_view name) {
  if (name == "insert") return operations.Insert();
  if (name == "read") return operations.Read();
  if (name == "alarms") return operations.Alarms();
  if (name == "system_log") return operations.SystemLog();
  if (name == "delete") return operations.Delete();
  if (name == "report_rows") return operations.ReportRows();
  bench::Require(name == "report", "choosing an operation");
  return operations.Report();
}

std::function<void()> Chosen(const Operation& operation, std::string_view who) {
  if (who == "library") return operation.library;
  if (who == "baseline") return operation.overLibpq;
  bench::Require(who == "binary" && operation.inBinary, "choosing who does it");
  return operation.inBinary;
}

}  // namespace

int main(int argc, char** argv) {
  bench::Require(argc == 3, "needs an operation and who does it");
  Operations operations;
  const Operation operation = Chosen(operations, argv[1]);
  bench::Profiled(Chosen(operation, argv[2]));
  std::cout << operation.things << '\n';
}
