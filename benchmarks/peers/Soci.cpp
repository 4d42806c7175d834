// SOCI: rows fetched and parameters bound in vectors.

#include <soci/postgresql/soci-postgresql.h>
#include <soci/soci.h>

#include <array>
#include <cfloat>
#include <ctime>

#include "Peer.h"

namespace peers {
namespace {

template <class T>
using Column = std::vector<T>;
using Indicators = std::vector<soci::indicator>;

std::int64_t Milliseconds(double seconds) { return static_cast<std::int64_t>(seconds * 1000); }

std::int64_t Seconds(std::tm fields) {
  fields.tm_isdst = -1;
  return std::mktime(&fields);
}

// Runs a prepared query and calls `take` after each fetch, with the number of rows fetched.
template <class Take, class... Columns>
void FetchInto(soci::session& session, const std::string& query, Take take, Columns&... columns) {
  (columns.resize(kRowsAtOnce), ...);
  soci::statement statement(session);
  (statement.exchange(soci::into(columns)), ...);
  statement.alloc();
  statement.prepare(query);
  statement.define_and_bind();
  statement.execute();
  while (statement.fetch()) {
    take(std::get<0>(std::tie(columns...)).size());
    (columns.resize(kRowsAtOnce), ...);
  }
}

class Soci : public Peer {
 public:
  explicit Soci(const std::string& connectionString) : session_(soci::postgresql, connectionString) {}

  std::string Name() const override { return "SOCI"; }

  void ReadHistory(const std::string& query, baseline::History& data) override {
    Column<std::string> tags(kRowsAtOnce);
    Column<double> times(kRowsAtOnce), values(kRowsAtOnce);
    Indicators given(kRowsAtOnce);
    soci::statement statement =
        (session_.prepare << query, soci::into(tags), soci::into(times), soci::into(values, given));
    statement.execute();
    while (statement.fetch()) {
      for (std::size_t i = 0; i < tags.size(); ++i) {
        data[Wide(tags[i])].push_back({times[i], given[i] == soci::i_null ? DBL_MAX : values[i]});
      }
      tags.resize(kRowsAtOnce);
      times.resize(kRowsAtOnce);
      values.resize(kRowsAtOnce);
      given.resize(kRowsAtOnce);
    }
  }

  void ReadAlarms(const std::string& query, std::vector<AlarmRecord>& records) override {
    Column<double> times, values, occurred, freed;
    Column<std::string> tags, labels;
    Column<int> status, type, level, zone;
    FetchInto(
        session_, query,
        [&](std::size_t rows) {
          for (std::size_t i = 0; i < rows; ++i) {
            records.push_back({Milliseconds(times[i]), Wide(tags[i]), values[i], Wide(labels[i]),
                               static_cast<short>(status[i]), static_cast<short>(type[i]),
                               static_cast<short>(level[i]), static_cast<short>(zone[i]),
                               Milliseconds(occurred[i]), Milliseconds(freed[i])});
          }
        },
        times, tags, values, labels, status, type, level, zone, occurred, freed);
  }

  void ReadReports(const std::string& query, baseline::Reports& data) override {
    Column<std::tm> time, minTime, maxTime, diffMinTime, diffMaxTime;
    Column<std::string> tag;
    Column<int> count;
    std::array<Column<double>, 11> value;
    FetchInto(
        session_, query,
        [&](std::size_t rows) {
          for (std::size_t i = 0; i < rows; ++i) {
            data[Wide(tag[i])].push_back(
                {Seconds(time[i]), Wide(tag[i]), count[i], value[0][i], value[1][i], value[2][i], value[3][i],
                 value[4][i], value[5][i], Seconds(minTime[i]), value[6][i], Seconds(maxTime[i]), value[7][i],
                 value[8][i], value[9][i], Seconds(diffMinTime[i]), value[10][i], Seconds(diffMaxTime[i])});
          }
        },
        time, tag, count, value[0], value[1], value[2], value[3], value[4], value[5], minTime, value[6],
        maxTime, value[7], value[8], value[9], diffMinTime, value[10], diffMaxTime);
  }

  void ReadUserLogs(const std::string& query, std::vector<UserLogRow>& records) override {
    Column<std::tm> time;
    std::array<Column<std::string>, 4> value;
    FetchInto(
        session_, query,
        [&](std::size_t rows) {
          for (std::size_t i = 0; i < rows; ++i) {
            records.push_back({Seconds(time[i]),
                               {Wide(value[0][i]), Wide(value[1][i]), Wide(value[2][i]), Wide(value[3][i])}});
          }
        },
        time, value[0], value[1], value[2], value[3]);
  }

  void InsertHistory(const std::vector<LogSample>& samples) override {
    Column<double> times, values;
    Column<std::string> names;
    for (const LogSample& sample : samples) {
      times.push_back(static_cast<double>(sample.timeMs) / 1000.0);
      names.push_back(Narrow(sample.tagName));
      values.push_back(sample.value);
    }
    soci::transaction transaction(session_);
    soci::statement statement = (session_.prepare << kInsertSample, soci::use(times, "time"),
                                 soci::use(names, "name"), soci::use(values, "value"));
    statement.execute(true);
    transaction.commit();
  }

 private:
  soci::session session_;
};

}  // namespace

std::unique_ptr<Peer> MakeSoci(const bench::BenchServer& server) {
  return std::make_unique<Soci>(server.ConnectionString());
}

}  // namespace peers
