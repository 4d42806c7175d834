// Qt SQL: forward-only queries, batches of a prepared insert.

#include <QCoreApplication>
#include <QDateTime>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>
#include <cfloat>

#include "../Paired.h"
#include "Peer.h"

namespace peers {
namespace {

// Qt finds its database drivers only when an application object exists.
void MakeApplication() {
  static int count = 1;
  static char name[] = "bench";
  static char* arguments[] = {name, nullptr};
  static QCoreApplication application(count, arguments);
}

std::int64_t Milliseconds(const QVariant& value) {
  return static_cast<std::int64_t>(value.toDouble() * 1000);
}
std::int64_t Seconds(const QVariant& value) { return value.toDateTime().toSecsSinceEpoch(); }
std::wstring Text(const QVariant& value) { return value.toString().toStdWString(); }
std::int16_t Short(const QVariant& value) { return static_cast<std::int16_t>(value.toInt()); }

ReportAnalogData Report(const QSqlQuery& row) {
  ReportAnalogData one;
  one.time = Seconds(row.value(0));
  one.tag_name = Text(row.value(1));
  one.count = row.value(2).toInt();
  one.sum = row.value(3).toDouble();
  one.avg = row.value(4).toDouble();
  one.diff = row.value(5).toDouble();
  one.first = row.value(6).toDouble();
  one.last = row.value(7).toDouble();
  one.min = row.value(8).toDouble();
  one.min_time = Seconds(row.value(9));
  one.max = row.value(10).toDouble();
  one.max_time = Seconds(row.value(11));
  one.diff_sum = row.value(12).toDouble();
  one.diff_avg = row.value(13).toDouble();
  one.diff_min = row.value(14).toDouble();
  one.diff_min_time = Seconds(row.value(15));
  one.diff_max = row.value(16).toDouble();
  one.diff_max_time = Seconds(row.value(17));
  return one;
}

class Qt : public Peer {
 public:
  explicit Qt(const bench::BenchServer& server) {
    MakeApplication();
    static int number = 0;
    database_ = QSqlDatabase::addDatabase("QPSQL", QString::number(++number));
    database_.setHostName(QString::fromStdString(server.host()));
    database_.setPort(std::stoi(server.port()));
    database_.setDatabaseName(QString::fromStdString(server.database()));
    database_.setUserName(QString::fromStdString(server.user()));
    database_.setPassword(QString::fromStdString(server.password()));
    bench::Require(database_.open(), database_.lastError().text().toStdString());
  }

  std::string Name() const override { return "Qt SQL"; }

  void ReadHistory(const std::string& query, baseline::History& data) override {
    QSqlQuery row = Run(query);
    while (row.next()) {
      const QVariant value = row.value(2);
      data[Text(row.value(0))].push_back(
          {row.value(1).toDouble(), value.isNull() ? DBL_MAX : value.toDouble()});
    }
  }

  void ReadAlarms(const std::string& query, std::vector<AlarmRecord>& records) override {
    QSqlQuery row = Run(query);
    while (row.next()) {
      records.push_back({Milliseconds(row.value(0)), Text(row.value(1)), row.value(2).toDouble(),
                         Text(row.value(3)), Short(row.value(4)), Short(row.value(5)), Short(row.value(6)),
                         Short(row.value(7)), Milliseconds(row.value(8)), Milliseconds(row.value(9))});
    }
  }

  void ReadReports(const std::string& query, baseline::Reports& data) override {
    QSqlQuery row = Run(query);
    while (row.next()) {
      ReportAnalogData one = Report(row);
      data[one.tag_name].push_back(std::move(one));
    }
  }

  void ReadUserLogs(const std::string& query, std::vector<UserLogRow>& records) override {
    QSqlQuery row = Run(query);
    while (row.next()) {
      records.push_back({Seconds(row.value(0)),
                         {Text(row.value(1)), Text(row.value(2)), Text(row.value(3)), Text(row.value(4))}});
    }
  }

  void InsertHistory(const std::vector<LogSample>& samples) override {
    QVariantList times, names, values;
    for (const LogSample& sample : samples) {
      times << static_cast<double>(sample.timeMs) / 1000.0;
      names << QString::fromStdWString(sample.tagName);
      values << sample.value;
    }
    database_.transaction();
    QSqlQuery insert(database_);
    insert.prepare(kInsertSample);
    insert.bindValue(":time", times);
    insert.bindValue(":name", names);
    insert.bindValue(":value", values);
    bench::Require(insert.execBatch(), insert.lastError().text().toStdString());
    database_.commit();
  }

 private:
  QSqlQuery Run(const std::string& query) {
    QSqlQuery run(database_);
    run.setForwardOnly(true);
    bench::Require(run.exec(QString::fromStdString(query)), run.lastError().text().toStdString());
    return run;
  }

  QSqlDatabase database_;
};

}  // namespace

std::unique_ptr<Peer> MakeQt(const bench::BenchServer& server) { return std::make_unique<Qt>(server); }

}  // namespace peers
