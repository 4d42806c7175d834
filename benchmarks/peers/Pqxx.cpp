// libpqxx: results as a whole, COPY by its table stream.

#include <cfloat>
#include <pqxx/pqxx>
#include <pqxx/stream_to>

#include "Peer.h"

namespace peers {
namespace {

std::int64_t Milliseconds(const pqxx::field& field) {
  return static_cast<std::int64_t>(field.as<double>() * 1000);
}
std::int64_t Seconds(const pqxx::field& field) {
  return baseline::EpochSeconds({field.c_str(), field.size()});
}
std::wstring Text(const pqxx::field& field) { return {field.c_str(), field.c_str() + field.size()}; }

ReportAnalogData Report(const pqxx::row& row) {
  ReportAnalogData one;
  one.time = Seconds(row[0]);
  one.tag_name = Text(row[1]);
  one.count = row[2].as<int>();
  one.sum = row[3].as<double>();
  one.avg = row[4].as<double>();
  one.diff = row[5].as<double>();
  one.first = row[6].as<double>();
  one.last = row[7].as<double>();
  one.min = row[8].as<double>();
  one.min_time = Seconds(row[9]);
  one.max = row[10].as<double>();
  one.max_time = Seconds(row[11]);
  one.diff_sum = row[12].as<double>();
  one.diff_avg = row[13].as<double>();
  one.diff_min = row[14].as<double>();
  one.diff_min_time = Seconds(row[15]);
  one.diff_max = row[16].as<double>();
  one.diff_max_time = Seconds(row[17]);
  return one;
}

class Pqxx : public Peer {
 public:
  explicit Pqxx(const std::string& connectionString) : connection_(connectionString) {}

  std::string Name() const override { return "libpqxx"; }

  void ReadHistory(const std::string& query, baseline::History& data) override {
    pqxx::nontransaction work(connection_);
    for (const auto& row : work.exec(query)) {
      data[Text(row[0])].push_back({row[1].as<double>(), row[2].is_null() ? DBL_MAX : row[2].as<double>()});
    }
  }

  void ReadAlarms(const std::string& query, std::vector<AlarmRecord>& records) override {
    pqxx::nontransaction work(connection_);
    for (const auto& row : work.exec(query)) {
      records.push_back({Milliseconds(row[0]), Text(row[1]), row[2].as<double>(), Text(row[3]),
                         row[4].as<short>(), row[5].as<short>(), row[6].as<short>(), row[7].as<short>(),
                         Milliseconds(row[8]), row[9].is_null() ? 0 : Milliseconds(row[9])});
    }
  }

  void ReadReports(const std::string& query, baseline::Reports& data) override {
    pqxx::nontransaction work(connection_);
    for (const auto& row : work.exec(query)) {
      ReportAnalogData one = Report(row);
      data[one.tag_name].push_back(std::move(one));
    }
  }

  void ReadUserLogs(const std::string& query, std::vector<UserLogRow>& records) override {
    pqxx::nontransaction work(connection_);
    for (const auto& row : work.exec(query)) {
      UserLogRow& record = records.emplace_back();
      record.time = Seconds(row[0]);
      for (pqxx::row::size_type column = 1; column < row.size(); ++column) {
        record.values.push_back(Text(row[column]));
      }
    }
  }

  void InsertHistory(const std::vector<LogSample>& samples) override {
    pqxx::work work(connection_);
    work.exec(
        "create temp table if not exists pqxx_samples (time_epoch float8, tag_name text, value float8)");
    work.exec("truncate pqxx_samples");
    pqxx::stream_to stream(work, "pqxx_samples", std::vector<std::string>{"time_epoch", "tag_name", "value"});
    for (const LogSample& sample : samples) {
      stream << std::make_tuple(static_cast<double>(sample.timeMs) / 1000.0, Narrow(sample.tagName),
                                sample.value);
    }
    stream.complete();
    work.exec(
        "insert into datalog(time, tag_name, value) select to_timestamp(time_epoch), tag_name, value from "
        "pqxx_samples order by tag_name, time_epoch on conflict (time, tag_name) do nothing");
    work.commit();
  }

 private:
  pqxx::connection connection_;
};

}  // namespace

std::unique_ptr<Peer> MakePqxx(const bench::BenchServer& server) {
  return std::make_unique<Pqxx>(server.ConnectionString());
}

}  // namespace peers
