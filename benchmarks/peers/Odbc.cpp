// ODBC with PostgreSQL's driver. Columns and parameters are bound in arrays.

#include <sql.h>
#include <sqlext.h>

#include <array>
#include <cfloat>
#include <cstring>
#include <ctime>

#include "../Paired.h"
#include "Peer.h"

namespace peers {
namespace {

constexpr std::size_t kTextBytes = 64;  // enough for every text here

struct Texts {
  std::vector<std::array<char, kTextBytes>> bytes{kRowsAtOnce};
  std::vector<SQLLEN> lengths = std::vector<SQLLEN>(kRowsAtOnce);
  std::wstring operator[](std::size_t i) const { return {bytes[i].data(), bytes[i].data() + lengths[i]}; }
};

struct Doubles {
  std::vector<double> values = std::vector<double>(kRowsAtOnce);
  std::vector<SQLLEN> lengths = std::vector<SQLLEN>(kRowsAtOnce);
  bool IsNull(std::size_t i) const { return lengths[i] == SQL_NULL_DATA; }
  double operator[](std::size_t i) const { return IsNull(i) ? 0 : values[i]; }
  std::int64_t Milliseconds(std::size_t i) const { return static_cast<std::int64_t>((*this)[i] * 1000); }
};

struct Integers {
  std::vector<SQLINTEGER> values = std::vector<SQLINTEGER>(kRowsAtOnce);
  std::int16_t Short(std::size_t i) const { return static_cast<std::int16_t>(values[i]); }
};

struct Times {
  std::vector<SQL_TIMESTAMP_STRUCT> values = std::vector<SQL_TIMESTAMP_STRUCT>(kRowsAtOnce);
  std::int64_t operator[](std::size_t i) const {
    const SQL_TIMESTAMP_STRUCT& time = values[i];
    std::tm fields{};
    fields.tm_year = time.year - 1900;
    fields.tm_mon = time.month - 1;
    fields.tm_mday = time.day;
    fields.tm_hour = time.hour;
    fields.tm_min = time.minute;
    fields.tm_sec = time.second;
    fields.tm_isdst = -1;
    return std::mktime(&fields);
  }
};

SQLCHAR* Characters(const std::string& text) {
  return const_cast<SQLCHAR*>(reinterpret_cast<const SQLCHAR*>(text.c_str()));
}

SQLPOINTER Attribute(std::size_t value) { return reinterpret_cast<SQLPOINTER>(value); }

// A statement and its bound columns.
class Statement {
 public:
  explicit Statement(SQLHDBC connection) : connection_(connection) {
    SQLAllocHandle(SQL_HANDLE_STMT, connection_, &handle_);
  }
  ~Statement() { SQLFreeHandle(SQL_HANDLE_STMT, handle_); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  SQLHSTMT handle() const { return handle_; }

  void Bind(Texts& column) { BindColumn(SQL_C_CHAR, column.bytes.data(), kTextBytes, column.lengths.data()); }
  void Bind(Doubles& column) { BindColumn(SQL_C_DOUBLE, column.values.data(), 0, column.lengths.data()); }
  void Bind(Integers& column) { BindColumn(SQL_C_SLONG, column.values.data(), 0, nullptr); }
  void Bind(Times& column) { BindColumn(SQL_C_TYPE_TIMESTAMP, column.values.data(), 0, nullptr); }

  // Runs a query and calls `take` with the index of each row in the bound arrays.
  template <class Take, class... Columns>
  void ForEachRow(const std::string& query, Take take, Columns&... columns) {
    (Bind(columns), ...);
    SQLULEN rows = 0;
    SQLSetStmtAttr(handle_, SQL_ATTR_ROW_ARRAY_SIZE, Attribute(kRowsAtOnce), 0);
    SQLSetStmtAttr(handle_, SQL_ATTR_ROWS_FETCHED_PTR, &rows, 0);
    Check(SQLExecDirect(handle_, Characters(query), SQL_NTS), query);
    while (SQL_SUCCEEDED(SQLFetch(handle_))) {
      for (std::size_t i = 0; i < rows; ++i) take(i);
    }
  }

  void Check(SQLRETURN status, const std::string& what) const {
    bench::Require(SQL_SUCCEEDED(status), "ODBC: " + what);
  }

 private:
  void BindColumn(SQLSMALLINT type, SQLPOINTER values, std::size_t bytes, SQLLEN* lengths) {
    Check(SQLBindCol(handle_, ++columns_, type, values, static_cast<SQLLEN>(bytes), lengths), "SQLBindCol");
  }

  SQLHDBC connection_;
  SQLHSTMT handle_ = nullptr;
  SQLUSMALLINT columns_ = 0;
};

class Odbc : public Peer {
 public:
  explicit Odbc(const bench::BenchServer& server) {
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment_);
    SQLSetEnvAttr(environment_, SQL_ATTR_ODBC_VERSION, Attribute(SQL_OV_ODBC3), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, environment_, &connection_);
    const std::string text = "Driver=" BENCH_ODBC_DRIVER ";Server=" + server.host() +
                             ";Port=" + server.port() + ";Database=" + server.database() +
                             ";Uid=" + server.user() + ";Pwd=" + server.password();
    bench::Require(SQL_SUCCEEDED(SQLDriverConnect(connection_, nullptr, Characters(text), SQL_NTS, nullptr, 0,
                                                  nullptr, SQL_DRIVER_NOPROMPT)),
                   "the connection by ODBC");
  }
  ~Odbc() override {
    SQLDisconnect(connection_);
    SQLFreeHandle(SQL_HANDLE_DBC, connection_);
    SQLFreeHandle(SQL_HANDLE_ENV, environment_);
  }

  std::string Name() const override { return "ODBC"; }

  void ReadHistory(const std::string& query, baseline::History& data) override {
    Texts tag;
    Doubles time, value;
    Statement(connection_)
        .ForEachRow(
            query,
            [&](std::size_t i) {
              data[tag[i]].push_back({time[i], value.IsNull(i) ? DBL_MAX : value[i]});
            },
            tag, time, value);
  }

  void ReadAlarms(const std::string& query, std::vector<AlarmRecord>& records) override {
    Doubles time, value, occurred, freed;
    Texts tag, label;
    Integers status, type, level, zone;
    Statement(connection_)
        .ForEachRow(
            query,
            [&](std::size_t i) {
              records.push_back({time.Milliseconds(i), tag[i], value[i], label[i], status.Short(i),
                                 type.Short(i), level.Short(i), zone.Short(i), occurred.Milliseconds(i),
                                 freed.Milliseconds(i)});
            },
            time, tag, value, label, status, type, level, zone, occurred, freed);
  }

  void ReadReports(const std::string& query, baseline::Reports& data) override {
    Times time, minTime, maxTime, diffMinTime, diffMaxTime;
    Texts tag;
    Integers count;
    std::array<Doubles, 11> value;
    Statement(connection_)
        .ForEachRow(
            query,
            [&](std::size_t i) {
              data[tag[i]].push_back({time[i], tag[i], count.values[i], value[0][i], value[1][i], value[2][i],
                                      value[3][i], value[4][i], value[5][i], minTime[i], value[6][i],
                                      maxTime[i], value[7][i], value[8][i], value[9][i], diffMinTime[i],
                                      value[10][i], diffMaxTime[i]});
            },
            time, tag, count, value[0], value[1], value[2], value[3], value[4], value[5], minTime, value[6],
            maxTime, value[7], value[8], value[9], diffMinTime, value[10], diffMaxTime);
  }

  void ReadUserLogs(const std::string& query, std::vector<UserLogRow>& records) override {
    Times time;
    std::array<Texts, 4> value;
    Statement(connection_)
        .ForEachRow(
            query,
            [&](std::size_t i) {
              records.push_back({time[i], {value[0][i], value[1][i], value[2][i], value[3][i]}});
            },
            time, value[0], value[1], value[2], value[3]);
  }

  void InsertHistory(const std::vector<LogSample>& samples) override;

 private:
  SQLHENV environment_ = nullptr;
  SQLHDBC connection_ = nullptr;
};

void Odbc::InsertHistory(const std::vector<LogSample>& samples) {
  SQLSetConnectAttr(connection_, SQL_ATTR_AUTOCOMMIT, Attribute(SQL_AUTOCOMMIT_OFF), 0);
  Statement insert(connection_);
  Doubles time, value;
  Texts name;
  const auto bind = [&](SQLUSMALLINT number, SQLSMALLINT cType, SQLSMALLINT type, SQLPOINTER values,
                        std::size_t bytes, SQLLEN* lengths) {
    SQLBindParameter(insert.handle(), number, SQL_PARAM_INPUT, cType, type, bytes, 0, values,
                     static_cast<SQLLEN>(bytes), lengths);
  };
  bind(1, SQL_C_DOUBLE, SQL_DOUBLE, time.values.data(), 0, nullptr);
  bind(2, SQL_C_CHAR, SQL_VARCHAR, name.bytes.data(), kTextBytes, name.lengths.data());
  bind(3, SQL_C_DOUBLE, SQL_DOUBLE, value.values.data(), 0, nullptr);
  const std::string statement =
      "insert into datalog values(to_timestamp(?), ?, ?) on conflict (time, tag_name) do nothing";
  insert.Check(SQLPrepare(insert.handle(), Characters(statement), SQL_NTS), statement);
  for (std::size_t first = 0; first < samples.size(); first += kRowsAtOnce) {
    const std::size_t count = std::min(kRowsAtOnce, samples.size() - first);
    for (std::size_t i = 0; i < count; ++i) {
      const LogSample& sample = samples[first + i];
      const std::string text = Narrow(sample.tagName);
      time.values[i] = static_cast<double>(sample.timeMs) / 1000.0;
      std::memcpy(name.bytes[i].data(), text.c_str(), text.size() + 1);
      name.lengths[i] = static_cast<SQLLEN>(text.size());
      value.values[i] = sample.value;
    }
    SQLSetStmtAttr(insert.handle(), SQL_ATTR_PARAMSET_SIZE, Attribute(count), 0);
    insert.Check(SQLExecute(insert.handle()), statement);
  }
  SQLEndTran(SQL_HANDLE_DBC, connection_, SQL_COMMIT);
  SQLSetConnectAttr(connection_, SQL_ATTR_AUTOCOMMIT, Attribute(SQL_AUTOCOMMIT_ON), 0);
}

}  // namespace

std::unique_ptr<Peer> MakeOdbc(const bench::BenchServer& server) { return std::make_unique<Odbc>(server); }

}  // namespace peers
