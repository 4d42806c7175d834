// Rows of user log tables: insert and query.

#include "DbmsAPI/Diagnostics.h"
#include "DbmsAPI/frame/Epoch.h"
#include "scripted/ScriptedTest.h"

namespace {

constexpr wchar_t kRange[] =
    L"select * from user_Batch where time >= to_timestamp(1700000000) and time <= to_timestamp(1700003600) order by time";

using Binds = std::vector<std::variant<double, std::wstring>>;

std::int64_t LocalTime(int year, int month, int day, int hour, int minute, int second) {
  std::tm fields = {};
  fields.tm_year = year - 1900;
  fields.tm_mon = month - 1;
  fields.tm_mday = day;
  fields.tm_hour = hour;
  fields.tm_min = minute;
  fields.tm_sec = second;
  fields.tm_isdst = -1;
  return LocalEpochSeconds(fields);
}

class UserLogRows : public ScriptedTest {
 protected:
  bool Get(std::int64_t start, std::int64_t end, const wchar_t* condition = L"", const Binds& binds = {}) {
    return dbms->GetUserLogData(L"Batch", start, end, condition, binds, rows);
  }
  std::wstring Insert(std::int64_t timeMs, const std::vector<std::wstring>& values) {
    server.Forget();
    EXPECT_TRUE(dbms->InsertUserLogData(L"Batch", {timeMs, values}));
    EXPECT_EQ(server.sent.size(), 1u);
    EXPECT_TRUE(server.sent.at(0).binds.empty());
    return server.sent.at(0).statement;
  }
  std::vector<UserLogRow> rows;
};

TEST_F(UserLogRows, ARowIsInsertedWithItsLiterals) {
  EXPECT_EQ(Insert(1700000000123, {L"1", L"2.5", L"'text'"}),
            L"insert into user_Batch values(to_timestamp(1700000000.123),1,2.5,'text')");
  EXPECT_EQ(Insert(1700000000000, {L"null"}), L"insert into user_Batch values(to_timestamp(1.7e+09),null)");
  EXPECT_EQ(Insert(5, {L"1"}), L"insert into user_Batch values(to_timestamp(0.005),1)");
  EXPECT_EQ(Insert(0, {L"1"}), L"insert into user_Batch values(to_timestamp(0),1)");
  EXPECT_EQ(Insert(-1500, {L"1"}), L"insert into user_Batch values(to_timestamp(-1.5),1)");
}

TEST_F(UserLogRows, KeepsTheStatementOfNoValues) {
  EXPECT_EQ(Insert(1700000000123, {}), L"insert into user_Batch values(to_timestamp(1700000000.123))");
}

TEST_F(UserLogRows, KeepsValuesAndNamesUnescaped) {
  EXPECT_EQ(Insert(1000, {L"'it's'", L"", L"now()", L"'{}'"}),
            L"insert into user_Batch values(to_timestamp(1),'it's',,now(),'{}')");
  EXPECT_TRUE(dbms->InsertUserLogData(L"a b", {1000, {L"1"}}));
  EXPECT_EQ(server.Statements().back(), L"insert into user_a b values(to_timestamp(1),1)");
}

TEST_F(UserLogRows, BoundsBelowOneOrEqualSendNothing) {
  for (const auto& [start, end] : std::vector<std::pair<std::int64_t, std::int64_t>>{
           {0, 10}, {10, 0}, {-1, 10}, {10, INT64_MIN}, {0, 0}, {1700000000, 1700000000}}) {
    EXPECT_TRUE(Get(start, end)) << start << ' ' << end;
    EXPECT_TRUE(Get(start, end, L"n > :1", {1.0})) << start << ' ' << end;
  }
  EXPECT_TRUE(server.sent.empty());
  EXPECT_TRUE(rows.empty());
}

TEST_F(UserLogRows, BoundsThatSelectNothingNeedTheConnectionToo) {
  server.RefuseConnections({3, 1, L"refused"});
  EXPECT_FALSE(Get(0, 0));
}

TEST_F(UserLogRows, BoundsMayComeInEitherOrder) {
  EXPECT_TRUE(Get(1700000000, 1700003600));
  EXPECT_TRUE(Get(1700003600, 1700000000));
  EXPECT_EQ(server.Statements(), (Texts{kRange, kRange}));
  server.Forget();
  EXPECT_TRUE(Get(1, INT64_MAX));
  EXPECT_EQ(
      server.Statements(),
      Texts{
          L"select * from user_Batch where time >= to_timestamp(1) and time <= to_timestamp(9223372036854775807) order by time"});
}

TEST_F(UserLogRows, AConditionTakesBindsOfBothKinds) {
  EXPECT_TRUE(Get(1700003600, 1700000000, L"x > :1 and label = :2 or n = :3", {1.5, L"it's", 3.0}));
  ASSERT_EQ(
      server.Statements(),
      Texts{
          L"select * from user_Batch where time >= to_timestamp(1700000000) and time <= to_timestamp(1700003600) and (x > :1 and label = :2 or n = :3) order by time"});
  EXPECT_EQ(server.sent[0].binds, (Texts{L"float8 1.5", L"text it's", L"float8 3"}));
}

TEST_F(UserLogRows, AConditionMayDoWithoutBinds) {
  EXPECT_TRUE(Get(1, 2, L"label = 'a:1'"));
  EXPECT_EQ(
      server.Statements(),
      Texts{
          L"select * from user_Batch where time >= to_timestamp(1) and time <= to_timestamp(2) and (label = 'a:1') order by time"});
}

TEST_F(UserLogRows, WithoutAConditionBindsAreNotUsed) {
  EXPECT_TRUE(Get(1700000000, 1700003600, L"", {1.5}));
  ASSERT_EQ(server.Statements(), Texts{kRange});
  EXPECT_TRUE(server.sent[0].binds.empty());
}

TEST_F(UserLogRows, BindsMustMatchThePlaceholders) {
  EXPECT_FALSE(Get(1, 2, L"x > :1 and n = :2", {1.5}));
  EXPECT_FALSE(Get(1, 2, L"x > :1", {1.5, 2.5}));
  EXPECT_TRUE(server.sent.empty());
  EXPECT_EQ(debugLines.size(), 2u);
}

TEST_F(UserLogRows, RowsHoldTheServersTexts) {
  server.Answer(kRange, {{L"2023-11-14 22:13:20+00", L"5", L"2.50", L"text"},
                         {L"2023-11-14 22:13:21.987+00", std::nullopt, L"1e+300", std::nullopt}});
  ASSERT_TRUE(Get(1700000000, 1700003600));
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0].values, (Texts{L"5", L"2.50", L"text"}));
  EXPECT_EQ(rows[1].values, (Texts{L"", L"1e+300", L""}));
}

TEST_F(UserLogRows, KeepsReadingTheServersCalendarFieldsAsLocalTime) {
  server.Answer(kRange, {{L"2023-11-14 22:13:20+00"}, {L"2023-07-01 03:43:20.75+05:30"}});
  ASSERT_TRUE(Get(1700000000, 1700003600));
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0].time, LocalTime(2023, 11, 14, 22, 13, 20));
  EXPECT_EQ(rows[1].time, LocalTime(2023, 7, 1, 3, 43, 20));
}

TEST_F(UserLogRows, RowsBeforeAFailureAreAppended) {
  const scripted::Row row = {L"2023-11-14 22:13:20+00", L"5"};
  server.FailAfterRows(kRange, {row, row}, 1);
  rows.push_back({7, {L"old"}});
  EXPECT_FALSE(Get(1700000000, 1700003600));
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0].time, 7);
}

TEST_F(UserLogRows, ANameThatDoesNotFitEndsTheQueryAndNothingElse) {
  Texts reports;
  SetDbmsInvalidParameterHandler([&](const wchar_t* reason) { reports.emplace_back(reason); });
  EXPECT_FALSE(dbms->GetUserLogData(std::wstring(1000, L'n').c_str(), 1, 2, L"", {}, rows));
  EXPECT_TRUE(server.sent.empty());
  EXPECT_EQ(reports.size(), 1u);
  EXPECT_STREQ(dbms->GetLastError(), L"");
}

}  // namespace
