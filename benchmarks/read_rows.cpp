// The queries that return many rows, compared with hand-written libpq loops and with other libraries. All
// fill the same containers:
//   read_rows [alone] [history|alarms|reports|user_logs]...
// alone leaves the other libraries out.

#include <algorithm>

#include "BenchServer.h"
#include "Paired.h"
#include "Plant.h"
#include "baseline/Baseline.h"
#include "peers/Peer.h"

namespace {

constexpr std::size_t kHistoryTags = 1000;
constexpr std::size_t kHistoryRows = 1000000;
constexpr std::size_t kRows = 100000;
constexpr std::size_t kReportTags = 100;
constexpr std::int64_t kStart = bench::kPlantStartMs / 1000;
constexpr std::int64_t kEnd = kStart + 100000000;

constexpr char kTag[] = "'PLANT1.PUMP' || lpad((i % 1000)::text, 4, '0') || '.FLOW'";

constexpr char kAlarmQuery[] =
    "select extract(epoch from time),tag_name,value,label,status,type,level,zone,extract(epoch from occ_time),"
    "extract(epoch from free_time) from alarm where time >= to_timestamp(1700000000) and time <= "
    "to_timestamp(1800000000) and status in (0,1,2) order by time desc";
constexpr char kUserLogQuery[] =
    "select * from user_batch where time >= to_timestamp(1700000000) and time <= to_timestamp(1800000000) order by "
    "time";

// Rows of a table made by the server, one for each i.
void Fill(bench::BenchServer& server, const std::string& table, std::size_t rows,
          const std::string& columns) {
  server.Run("insert into " + table + " select " + columns + " from generate_series(0, " +
             std::to_string(rows - 1) + ") as i");
  server.Run("vacuum analyze " + table);
}

// The library, hand-written libpq loops and the other libraries fill the same container in turns. Two more
// contenders show where the time goes: one discards the rows, the other does not let the server send them.
template <class Container>
struct Query {
  std::string name;
  std::size_t rows;
  std::string text;
  std::function<Container()> empty;
  std::function<std::size_t(const Container&)> count;
  std::function<bool(Container&)> library;
  std::function<void(baseline::Rows, Container&)> overLibpq;
  std::function<void(peers::Peer&, Container&)> peer;
  std::function<void(Container&)> inBinary = nullptr;  // over libpq

  void Race(PGconn* link, const std::vector<std::unique_ptr<peers::Peer>>& all) const {
    Container data;
    const auto ask = [&] { data = empty(); };
    const auto check = [&] { bench::Require(count(data) == rows, name + " read all rows"); };
    std::vector<bench::Contender> contenders;
    const auto add = [&](const std::string& who, std::function<void()> read) {
      contenders.push_back({who, ask, [read, check] {
                              read();
                              check();
                            }});
    };
    add("baseline, row by row", [&] { overLibpq(baseline::Rows::OneByOne, data); });
    add("baseline, whole result", [&] { overLibpq(baseline::Rows::AllAtOnce, data); });
    add("library", [&] { bench::Require(library(data), name); });
    if (inBinary) add("hand-written, in binary", [&] { inBinary(data); });
    for (const auto& one : all) add(one->Name(), [&, who = one.get()] { peer(*who, data); });
    contenders.push_back({"rows discarded", nullptr, [&] {
                            bench::Require(baseline::CountRows(link, text) == rows, name + " read all rows");
                          }});
    contenders.push_back(
        {"rows not sent", nullptr, [&] { bench::Run(link, "explain (analyze, timing off) " + text); }});
    bench::Race({name, rows}, contenders);
  }
};

template <class Map>
std::size_t RowsIn(const Map& data) {
  std::size_t rows = 0;
  for (const auto& [tag, of] : data) rows += of.size();
  return rows;
}

template <class Map>
Map Wanted(std::size_t tags) {
  Map data;
  for (std::size_t tag = 0; tag < tags; ++tag) data[bench::TagName(tag)];
  return data;
}

class Queries {
 public:
  explicit Queries(bool alone) : dbms_(server_.Library()), link_(server_.Connect()) {
    if (!alone) peers_ = peers::AllPeers(server_);
    bench::Require(dbms_->CreateSystemLogTable(0), "the version is known");
  }

  void RaceHistory() {
    bench::Require(dbms_->CreateLogTable(0), "datalog");
    Fill(server_, "datalog", kHistoryRows,
         "to_timestamp(1700000000 + i / 1000), " + std::string(kTag) + ", random() * 500");
    const auto wanted = [] { return Wanted<baseline::History>(kHistoryTags); };
    const std::string query = baseline::HistoryQuery(kStart, kEnd, wanted());
    Query<baseline::History>{
        "GetLogData",
        kHistoryRows,
        query,
        wanted,
        RowsIn<baseline::History>,
        [&](baseline::History& data) { return dbms_->GetLogData(kStart, kEnd, data); },
        [&](baseline::Rows rows, baseline::History& data) {
          baseline::ReadHistory(link_.get(), query, rows, data);
        },
        [&](peers::Peer& peer, baseline::History& data) { peer.ReadHistory(query, data); },
        [&](baseline::History& data) { baseline::ReadHistoryInBinary(link_.get(), query, data); },
    }
        .Race(link_.get(), peers_);
  }

  void RaceAlarms() {
    using Records = std::vector<AlarmRecord>;
    bench::Require(dbms_->CreateAlarmTable(0), "alarm");
    Fill(server_, "alarm", kRows,
         "to_timestamp(1700000000 + i), " + std::string(kTag) +
             ", random() * 500, 'Flow above its upper limit', i % 3, i % 13, 1 + i % 15, i % 16, "
             "to_timestamp(1700000000 + i), to_timestamp(1700000060 + i)");
    Query<Records>{
        "GetAlarmData",
        kRows,
        kAlarmQuery,
        [] { return Records(); },
        [](const Records& records) { return records.size(); },
        [&](Records& records) {
          return dbms_->GetAlarmData(kStart, kEnd, 7, 0x1FFF, -2, -1, {}, {}, records);
        },
        [&](baseline::Rows rows, Records& records) {
          baseline::ReadAlarms(link_.get(), kAlarmQuery, rows, records);
        },
        [&](peers::Peer& peer, Records& records) { peer.ReadAlarms(kAlarmQuery, records); },
        [&](Records& records) { baseline::ReadAlarmsInBinary(link_.get(), kAlarmQuery, records); },
    }
        .Race(link_.get(), peers_);
  }

  void RaceReports() {
    bench::Require(dbms_->CreateReportDataTables(0), "report tables");
    const std::string time = "to_timestamp(1700000000 + i / 100 * 3600)";
    Fill(
        server_, "report_data_analog_hour", kRows,
        time +
            ", 'PLANT1.PUMP' || lpad((i % 100)::text, 4, '0') || '.FLOW', 60, random() * 500, random() * 500, "
            "random() * 500, random() * 500, random() * 500, random() * 500, " +
            time + ", random() * 500, " + time + ", random() * 500, random() * 500, random() * 500, " + time +
            ", random() * 500, " + time);
    const auto wanted = [] { return Wanted<baseline::Reports>(kReportTags); };
    std::string query = "select * from report_data_analog_hour where tag_name in (";
    for (const auto& [tag, rows] : wanted()) query += "'" + peers::Narrow(tag) + "',";
    query.back() = ')';
    query +=
        " and time between to_timestamp(1700000000) and to_timestamp(1800000000) order by tag_name, time";
    Query<baseline::Reports>{
        "GetReportAnalogData",
        kRows,
        query,
        wanted,
        RowsIn<baseline::Reports>,
        [&](baseline::Reports& data) { return dbms_->GetReportAnalogData(L"hour", kStart, kEnd, data); },
        [&](baseline::Rows rows, baseline::Reports& data) {
          baseline::ReadReports(link_.get(), query, rows, data);
        },
        [&](peers::Peer& peer, baseline::Reports& data) { peer.ReadReports(query, data); },
        [&](baseline::Reports& data) { baseline::ReadReportsInBinary(link_.get(), query, data); },
    }
        .Race(link_.get(), peers_);
  }

  void RaceUserLogs() {
    using Records = std::vector<UserLogRow>;
    bench::Require(
        dbms_->CreateUserLogTable(
            L"batch", {{L"line", 0, 0}, {L"weight", 1, 0}, {L"moisture", 1, 0}, {L"recipe", 2, 40}}, 0),
        "user_batch");
    Fill(server_, "user_batch", kRows,
         "to_timestamp(1700000000 + i), i % 100, random() * 500, random() * 100, 'Recipe ' || i % 50");
    Query<Records>{
        "GetUserLogData",
        kRows,
        kUserLogQuery,
        [] { return Records(); },
        [](const Records& records) { return records.size(); },
        [&](Records& records) { return dbms_->GetUserLogData(L"batch", kStart, kEnd, L"", {}, records); },
        [&](baseline::Rows rows, Records& records) {
          baseline::ReadUserLogs(link_.get(), kUserLogQuery, rows, records);
        },
        [&](peers::Peer& peer, Records& records) { peer.ReadUserLogs(kUserLogQuery, records); },
    }
        .Race(link_.get(), peers_);
  }

 private:
  bench::BenchServer server_{"bench_read_rows"};
  std::shared_ptr<Dbms> dbms_;
  bench::Link link_;
  std::vector<std::unique_ptr<peers::Peer>> peers_;
};

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> chosen(argv + 1, argv + argc);
  const bool alone = std::erase(chosen, "alone") != 0;
  const auto isChosen = [&](const char* name) {
    return chosen.empty() || std::find(chosen.begin(), chosen.end(), name) != chosen.end();
  };
  Queries queries(alone);
  if (isChosen("history")) queries.RaceHistory();
  if (isChosen("alarms")) queries.RaceAlarms();
  if (isChosen("reports")) queries.RaceReports();
  if (isChosen("user_logs")) queries.RaceUserLogs();
}
