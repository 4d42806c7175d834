// ReadTrend compared with the best single statement for each range, run over libpq: on datalog_1h and
// datalog_1m with TimescaleDB, on datalog without it. One tag has a sample per second. The other 999 have one
// per hour, and one per second during the last ten minutes.
//   read_trend [DAYS]     of history, default 30

#include <iostream>

#include "BenchServer.h"
#include "Paired.h"
#include "Plant.h"
#include "historian/Trend.h"

namespace {

constexpr char kTag[] = "PLANT1.PUMP0042.FLOW";
constexpr int kBuckets = 1000;
constexpr int kTimes = 5;  // reads a turn

void Fill(bench::BenchServer& server, int days) {
  const std::string start = "date_trunc('hour', now()) - interval '" + std::to_string(days) + " days'";
  for (int day = 0; day < days; ++day) {
    const std::string from = start + " + interval '" + std::to_string(day) + " days'";
    server.Run(std::string("insert into datalog select time, '") + kTag +
               "', 1450 + 20 * sin(extract(epoch from time) / 3600) + random() from generate_series(" + from +
               ", " + from + " + interval '86399 seconds', interval '1 second') time");
    server.Run(
        "insert into datalog select time + tag * interval '3 seconds', 'PLANT1.TAG' || tag, tag + random() "
        "from generate_series(" +
        from + ", " + from +
        " + interval '23 hours', interval '1 hour') time, "
        "generate_series(1, 999) tag");
  }
  server.Run(
      "insert into datalog select time, 'PLANT1.TAG' || tag, random() from generate_series(date_trunc('second', "
      "now()) - interval '10 minutes', now(), interval '1 second') time, generate_series(1, 999) tag "
      "on conflict do nothing");
}

void Refresh(bench::BenchServer& server) {
  server.Run("call refresh_continuous_aggregate('datalog_1m', null, now() - interval '1 minute')");
  server.Run("call refresh_continuous_aggregate('datalog_1h', null, now() - interval '1 hour')");
  server.Run(
      "select compress_chunk(chunk) from show_chunks('datalog', older_than => interval '1 day') chunk");
  server.Run("vacuum analyze");
}

struct Stretch {
  const char* name;
  std::chrono::minutes length;
  const char* aggregate;  // the coarsest one finer than the buckets; empty: none
};

std::string BaselineStatement(const Stretch& stretch, bool timescale, std::int64_t from, std::int64_t to) {
  const std::string width = std::to_string((to - from + kBuckets - 1) / kBuckets);
  const auto time = [](std::int64_t ms) { return "to_timestamp(" + std::to_string(ms) + " / 1000.0)"; };
  const bool aggregate = timescale && stretch.aggregate[0];
  const std::string column = aggregate ? "bucket" : "time";
  return "select date_bin('" + width + " milliseconds', " + column + ", " + time(from) + "), " +
         (aggregate ? "min(min_val), avg(avg_val), max(max_val) from " + std::string(stretch.aggregate)
                    : std::string("min(value), avg(value), max(value) from datalog")) +
         " where tag_name = '" + kTag + "' and " + column + " >= " + time(from) + " and " + column + " < " +
         time(to) + " group by 1 order by 1";
}

void Compare(bench::BenchServer& server, const Stretch& stretch, bool timescale) {
  const auto dbms = server.Library();
  const bench::Link link = server.Connect();
  const auto to = std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
  const auto from = to - stretch.length;
  const std::string statement =
      BaselineStatement(stretch, timescale, from.time_since_epoch().count(), to.time_since_epoch().count());
  bench::Race({stretch.name, kBuckets, kTimes},
              {{"baseline", [] {},
                [&] {
                  for (int i = 0; i < kTimes; ++i) bench::Run(link.get(), statement);
                }},
               {"ReadTrend", [] {},
                [&] {
                  for (int i = 0; i < kTimes; ++i) {
                    const auto trend = historian::ReadTrend(*dbms, {kTag}, from, to, kBuckets);
                    bench::Require(!trend.tags[0].buckets.empty(), "ReadTrend");
                  }
                }}});
}

// What an index on (tag_name, time) costs a writer who appends batches of one second of a thousand tags.
void CompareInserts(bench::BenchServer& server) {
  constexpr int kBatches = 100;
  constexpr std::size_t kTags = 1000;
  const auto dbms = server.Library();
  const auto now = std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
  std::int64_t timeMs = now.time_since_epoch().count();
  const auto insert = [&] {
    for (int batch = 0; batch < kBatches; ++batch) {
      timeMs += 1000;
      std::vector<LogSample> samples;
      for (std::size_t tag = 0; tag < kTags; ++tag) samples.push_back({timeMs, bench::TagName(tag), 0.5});
      bench::Require(dbms->InsertLogData(samples), "InsertLogData");
    }
  };
  const auto without = [&] {
    server.Run("drop index if exists datalog_tag_name_time");
    server.Run("checkpoint");
  };
  const auto with = [&] {
    server.Run("create index if not exists datalog_tag_name_time on datalog (tag_name, time)");
    server.Run("checkpoint");
  };
  bench::Race({"InsertLogData", kTags, kBatches},
              {{"primary key alone", without, insert}, {"and an index of tag names", with, insert}});
}

}  // namespace

int main(int argc, char** argv) {
  const int days = argc > 1 ? std::stoi(argv[1]) : 30;
  bench::BenchServer server("bench_read_trend");
  const auto dbms = server.Library();
  bench::Require(dbms->CreateSystemLogTable(0) && dbms->CreateLogTable(0), "creating the tables");
  Fill(server, days);
  const bool timescale =
      std::string(PQgetvalue(bench::Run(server.Connect().get(),
                                        "select count(*) from pg_extension where extname = "
                                        "'timescaledb'")
                                 .get(),
                             0, 0)) == "1";
  timescale ? Refresh(server) : server.Run("vacuum analyze datalog");
  const Stretch stretches[] = {
      {"trend of all", std::chrono::days(days), days > 41 ? "datalog_1h" : "datalog_1m"},
      {"trend of a day", std::chrono::days(1), "datalog_1m"},
      {"trend of an hour", std::chrono::hours(1), ""}};
  for (const Stretch& stretch : stretches) Compare(server, stretch, timescale);
  std::cout << "with an index of tag names" << std::endl;
  server.Run("create index datalog_tag_name_time on datalog (tag_name, time)");
  for (const Stretch& stretch : stretches) Compare(server, stretch, timescale);
  CompareInserts(server);
}
