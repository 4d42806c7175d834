// Settings of a database or a role, and databases in other encodings: the operations give the right results,
// or fail with an error text.

#include <DbmsAPI/Diagnostics.h>
#include <SQLAPI.h>

#include "server/Zone.h"
#include "server/history/AlarmTest.h"
#include "server/records/Accounts.h"
#include "server/reports/ReportRows.h"

namespace {

// The clauses and settings of a database; the text that is stored and read back.
class Store : public AlarmTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(HistoryTest::SetUp());
    ASSERT_TRUE(CreateTables(*dbms)) << Error();
  }

  static bool CreateTables(Dbms& on) {
    return on.CreateLogTable(0) && on.CreateAlarmTable(0) && on.CreateReportDataTables(0) &&
           on.CreateUserTables() && on.CreateUserLogTable(L"batch", {{L"n", 1, 0}, {L"t", 2, 20}}, 0);
  }

  // Stores records that hold the text, and reads them.
  static void ExpectRoundTrip(Dbms& on, const std::wstring& text) {
    ExpectSamples(on, L"TAG " + text);
    ExpectAlarm(on, text);
    ExpectUser(on, text);
    ExpectReport(on, text);
    ExpectUserLog(on, text);
  }

  static void ExpectSamples(Dbms& on, const std::wstring& tag) {
    ASSERT_TRUE(on.InsertLogData({{1700000000123, tag, 0.1}, {1700000001000, tag, DBL_MAX}})) << Text(on);
    std::unordered_map<std::wstring, std::vector<LogPoint>> points{{tag, {}}};
    ASSERT_TRUE(on.GetLogData(1700000000, 1700000001, points)) << Text(on);
    ASSERT_EQ(points[tag].size(), 2u);
    EXPECT_EQ(points[tag][0].time, 1700000000.123);
    EXPECT_EQ(points[tag][0].value, 0.1);
    EXPECT_EQ(points[tag][1].value, DBL_MAX);
  }

  static void ExpectAlarm(Dbms& on, const std::wstring& text) {
    const AlarmRecord alarm{1700000000123, L"A " + text, 0.1 + 0.2, text, 1, 2, 3, 4, 1700000000100, 0};
    ASSERT_TRUE(on.InsertAlarm(alarm.timeMs, alarm.tagName.c_str(), alarm.value, alarm.label.c_str(),
                               alarm.status, alarm.type, alarm.level, alarm.zone, alarm.occTimeMs,
                               alarm.freeTimeMs))
        << Text(on);
    std::vector<AlarmRecord> alarms;
    ASSERT_TRUE(on.GetAllAlarmData(kStart, kStart + 1, alarms)) << Text(on);
    ASSERT_EQ(alarms.size(), 1u);
    EXPECT_EQ(Fields(alarms[0]), Fields(alarm));
  }

  static void ExpectUser(Dbms& on, const std::wstring& text) {
    UserRecord user = Account(text.c_str());
    user.login_date = 1700000000;
    user.description = text;
    ASSERT_TRUE(on.InsertUsers({user})) << Text(on);
    std::vector<UserRecord> users;
    ASSERT_TRUE(on.GetUsers(users)) << Text(on);
    ASSERT_EQ(users.size(), 1u);
    EXPECT_TRUE(Same(users[0], user));
  }

  static void ExpectReport(Dbms& on, const std::wstring& text) {
    ReportAnalogData row;
    row.time = row.min_time = row.max_time = row.diff_min_time = row.diff_max_time = 1700000040;
    row.tag_name = text;
    row.count = 3;
    row.sum = 0.1 + 0.2;
    row.max = 1.0 / 3;
    ASSERT_TRUE(on.InsertReportAnalogData(L"hour", {row})) << Text(on);
    std::unordered_map<std::wstring, std::vector<ReportAnalogData>> rows{{text, {}}};
    ASSERT_TRUE(on.GetReportAnalogData(L"hour", 1700000040, 0, rows)) << Text(on);
    ASSERT_EQ(rows[text].size(), 1u);
    EXPECT_EQ(::Fields(rows[text][0]), ::Fields(row));
  }

  static void ExpectUserLog(Dbms& on, const std::wstring& text) {
    ASSERT_TRUE(on.InsertUserLogData(L"batch", {1700000000000, {L"0.1", L"'" + text + L"'"}})) << Text(on);
    std::vector<UserLogRow> rows;
    ASSERT_TRUE(on.GetUserLogData(L"batch", 1700000000, 1700000001, nullptr, {}, rows)) << Text(on);
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].time, 1700000000);
    EXPECT_EQ(rows[0].values, (std::vector<std::wstring>{L"0.1", text}));
  }

  static std::string Text(Dbms& of) { return testing::PrintToString(std::wstring(of.GetLastError())); }

  void ExpectFailure(bool done, const char* text, const char* sqlState) const {
    EXPECT_FALSE(done);
    EXPECT_TRUE(Holds(Error(), text)) << Error();
    EXPECT_EQ(LastSqlState(*dbms), sqlState);
  }

  const Zone zone{"UTC"};
};

class HarmlessSetting : public Store, public testing::WithParamInterface<const char*> {};

TEST_P(HarmlessSetting, ChangesNoResult) {
  SetForSessions(GetParam());
  const auto fresh = NewDbms();
  ExpectRoundTrip(*fresh, L"d\u00e4mpfer \\1 \U0001F525");
}

INSTANTIATE_TEST_SUITE_P(Server, HarmlessSetting,
                         testing::Values("extra_float_digits to -15", "datestyle to 'German'",
                                         "datestyle to 'SQL, DMY'", "datestyle to 'Postgres'",
                                         "intervalstyle to 'sql_standard'", "bytea_output to 'escape'",
                                         "client_encoding to 'LATIN1'", "client_encoding to 'SQL_ASCII'",
                                         "default_transaction_isolation to 'serializable'",
                                         "default_transaction_isolation to 'repeatable read'",
                                         "standard_conforming_strings to off", "row_security to off",
                                         "statement_timeout to '10min'", "lock_timeout to '10min'",
                                         "idle_in_transaction_session_timeout to '10min'"),
                         [](const auto& setting) { return std::to_string(setting.index); });

class Setting : public Store {};

TEST_F(Setting, AllTogetherChangeNoResult) {
  for (const char* setting :
       {"extra_float_digits to -15", "datestyle to 'German'", "intervalstyle to 'sql_standard'",
        "bytea_output to 'escape'", "client_encoding to 'LATIN1'",
        "default_transaction_isolation to 'serializable'", "standard_conforming_strings to off"}) {
    SetForSessions(setting);
  }
  const auto fresh = NewDbms();
  ASSERT_TRUE(CreateTables(*fresh)) << Text(*fresh);
  ExpectRoundTrip(*fresh, L"d\u00e4mpfer \\1 \U0001F525");
}

TEST_F(Setting, OfARoleCountsAsThatOfADatabase) {
  const std::wstring name = Database();
  const std::string role = std::string(name.begin(), name.end()) + "_role";
  Run("create role " + role + " superuser login password 'role''s own'");
  for (const char* setting : {"extra_float_digits to -15", "datestyle to 'German'",
                              "client_encoding to 'LATIN1'", "standard_conforming_strings to off"}) {
    Run("alter role " + role + " set " + setting);
  }
  const std::wstring user(role.begin(), role.end());
  const auto fresh = Dbms::GetDbms(DbmsType::TirelScada, Host().c_str(), Port(), Database().c_str(),
                                   user.c_str(), L"role's own");
  ExpectRoundTrip(*fresh, L"d\u00e4mpfer \\1 \U0001F525");
  Run("drop owned by " + role + "; drop role " + role);
}

TEST_F(Setting, TimeZoneOfTheProcessChangesNoResult) {
  const Zone process("Asia/Kolkata", nullptr);  // without PGTZ, which would override the database's zone
  SetForSessions("timezone to 'Asia/Kolkata'");
  const auto fresh = NewDbms();
  ExpectRoundTrip(*fresh, L"PUMP");
}

TEST_F(Setting, ReadOnlyRefusesWhatWritesAndLetsRead) {
  ExpectRoundTrip(*dbms, L"PUMP");
  SetForSessions("default_transaction_read_only to on");
  dbms = NewDbms();
  const char* const kWhy = "in a read-only transaction";
  ExpectFailure(dbms->InsertLogData({{1700000000123, L"TAG", 1}}), kWhy, "25006");
  ExpectFailure(Insert(Alarm(1700000000123, L"TAG")), kWhy, "25006");
  ExpectFailure(dbms->InsertUsers({Account(L"op")}), kWhy, "25006");
  ExpectFailure(dbms->CreateAuditTable(), kWhy, "25006");
  std::vector<UserRecord> users;
  EXPECT_TRUE(dbms->GetUsers(users)) << Error();
  EXPECT_EQ(users.size(), 1u);
  std::unordered_map<std::wstring, std::vector<LogPoint>> points{{L"TAG PUMP", {}}};
  EXPECT_TRUE(dbms->GetLogData(1700000000, 1700000001, points)) << Error();
  EXPECT_EQ(points[L"TAG PUMP"].size(), 2u);
}

TEST_F(Setting, SearchPathSaysInWhichSchemaTheTablesAre) {
  Run("create schema plant");
  SetForSessions("search_path to plant, public");
  dbms = NewDbms();
  ASSERT_TRUE(CreateTables(*dbms)) << Error();
  ExpectRoundTrip(*dbms, L"PUMP");
  EXPECT_EQ(Value("select count(*) from plant.datalog"), "2");
  EXPECT_EQ(Value("select count(*) from public.datalog"), "0");
}

TEST_F(Setting, SearchPathWithoutASchemaIsRefused) {
  SetForSessions("search_path to nowhere");
  dbms = NewDbms();
  ExpectFailure(dbms->CreateAlarmTable(0), "no schema has been selected to create in", "3F000");
  ExpectFailure(Insert(Alarm(1700000000123, L"TAG")), "does not exist", "42P01");
  EXPECT_TRUE(dbms->GetConnection()->isAlive());
}

TEST_F(Setting, StatementTimeoutEndsAStatementAndLeavesTheObjectUsable) {
  SetForSessions("statement_timeout to '1s'");
  dbms = NewDbms();
  ASSERT_TRUE(dbms->Connect()) << Error();
  Run("begin; lock table datalog, userinfo_table");
  const char* const kWhy = "canceling statement due to statement timeout";
  ExpectFailure(dbms->InsertLogData({{1700000000123, L"TAG", 1}}), kWhy, "57014");
  std::vector<UserRecord> users;
  ExpectFailure(dbms->GetUsers(users), kWhy, "57014");
  Run("commit");
  EXPECT_EQ(Value("select count(*) from datalog"), "0");
  SACommand(dbms->GetConnection().get(), L"set statement_timeout to 0").Execute();
  ExpectRoundTrip(*dbms, L"PUMP");
}

TEST_F(Setting, LockTimeoutEndsTheWaitAndLeavesTheObjectUsable) {
  SetForSessions("lock_timeout to '100ms'");
  dbms = NewDbms();
  Run("begin; lock table datalog, alarm");
  const char* const kWhy = "canceling statement due to lock timeout";
  ExpectFailure(dbms->InsertLogData({{1700000000123, L"TAG", 1}}), kWhy, "55P03");
  ExpectFailure(Insert(Alarm(1700000000123, L"TAG")), kWhy, "55P03");
  Run("commit");
  ExpectRoundTrip(*dbms, L"PUMP");
}

TEST_F(Setting, RowSecurityHidesRowsOrRefuses) {
  const std::wstring name = Database();
  const std::string role = std::string(name.begin(), name.end()) + "_reader";
  ASSERT_TRUE(dbms->InsertUsers({Account(L"seen"), Account(L"hidden")})) << Error();
  Run("create role " + role + " login password 'reads'; grant select on userinfo_table to " + role);
  Run("alter table userinfo_table enable row level security");
  Run("create policy seen on userinfo_table using (id = 'seen')");
  const auto connect = [&] {
    const std::wstring user(role.begin(), role.end());
    return Dbms::GetDbms(DbmsType::TirelScada, Host().c_str(), Port(), Database().c_str(), user.c_str(),
                         L"reads");
  };
  dbms = connect();
  std::vector<UserRecord> users;
  EXPECT_TRUE(dbms->GetUsers(users)) << Error();
  ASSERT_EQ(users.size(), 1u);
  EXPECT_EQ(users[0].id, L"seen");
  SetForSessions("row_security to off");
  dbms = connect();
  ExpectFailure(dbms->GetUsers(users), "would be affected by row-level security policy", "42501");
  dbms.reset();
  Run("drop owned by " + role + "; drop role " + role);
}

struct Encoded {
  const char* encoding;
  std::wstring held;
  std::wstring refused;  // empty: none is
};

class Encoding : public Store, public testing::WithParamInterface<Encoded> {
 protected:
  std::string DatabaseOptions() const override {
    return std::string("encoding '") + GetParam().encoding + "' locale 'C'";
  }
};

TEST_P(Encoding, HoldsItsCharactersAndRefusesOthers) {
  ASSERT_EQ(Value("select getdatabaseencoding()"), GetParam().encoding);
  ExpectRoundTrip(*dbms, GetParam().held);
  if (GetParam().refused.empty()) return;
  const char* const kWhy = "has no equivalent in encoding";
  ExpectFailure(dbms->InsertLogData({{1, L"TAG", 1}, {1, GetParam().refused, 1}}), kWhy, "22P05");
  ExpectFailure(dbms->InsertUsers({Account(GetParam().refused.c_str())}), kWhy, "22P05");
  ExpectFailure(Insert(Alarm(1, GetParam().refused.c_str())), kWhy, "22P05");
  EXPECT_EQ(Value("select count(*) from datalog"), "2");
  EXPECT_TRUE(dbms->InsertLogData({{1, L"TAG", 1}})) << Error();
  EXPECT_EQ(Value("select count(*) from datalog"), "3");
}

INSTANTIATE_TEST_SUITE_P(Server, Encoding,
                         testing::Values(Encoded{"SQL_ASCII", L"d\u00e4mpfer \u6e29\u5ea6 \U0001F525", L""},
                                         Encoded{"LATIN1", L"d\u00e4mpfer \u00a3", L"\u6e29\u5ea6"},
                                         Encoded{"WIN1251", L"\u041d\u0430\u0441\u043e\u0441 \u2116 1",
                                                 L"d\u00e4mpfer"}),
                         [](const auto& one) { return std::string(one.param.encoding); });

class AsciiEncoding : public Store {
 protected:
  std::string DatabaseOptions() const override { return "encoding 'SQL_ASCII' locale 'C'"; }
};

TEST_F(AsciiEncoding, RefusesToSendWhatIsNoUtf8) {
  Run("set client_encoding to 'SQL_ASCII'");
  ASSERT_TRUE(dbms->InsertUsers({Account(L"op")})) << Error();
  Run("update userinfo_table set description = E'd\\xe4mpfer'");
  std::vector<UserRecord> users;
  ExpectFailure(dbms->GetUsers(users), "invalid byte sequence for encoding", "22021");
  EXPECT_TRUE(dbms->GetConnection()->isAlive());
}

}  // namespace
