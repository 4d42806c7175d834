#include <cfloat>
#include <cmath>

#include "scripted/ScriptedTest.h"

namespace {

using Data = std::unordered_map<std::wstring, std::vector<LogPoint>>;

constexpr wchar_t kOfA[] =
    L"select tag_name, extract(epoch from time), value from datalog where tag_name in ('A') and time between to_timestamp(1700000000) and to_timestamp(1700003600) order by tag_name, time";

class TagHistoryQuery : public ScriptedTest {
 protected:
  bool Get(Data& data) { return dbms->GetLogData(1700000000, 1700003600, data); }
};

TEST_F(TagHistoryQuery, TheStatementNamesTheKeysInTheMapsOrder) {
  Data data = {{L"A", {}}, {L"B", {}}};
  std::wstring list;
  for (const auto& [tag, points] : data) list += L"'" + tag + L"',";
  list.pop_back();
  EXPECT_TRUE(Get(data));
  EXPECT_EQ(
      server.Statements(),
      Texts{
          L"select tag_name, extract(epoch from time), value from datalog where tag_name in (" + list +
          L") and time between to_timestamp(1700000000) and to_timestamp(1700003600) order by tag_name, time"});
}

TEST_F(TagHistoryQuery, RowsAreGroupedByTag) {
  server.Answer(
      kOfA, {{L"A", L"1700000000.5", L"1.25"}, {L"A", L"1700003600", L"-3"}, {L"C", L"1700000001", L"7"}});
  Data data = {{L"A", {}}};
  ASSERT_TRUE(Get(data));
  ASSERT_EQ(data.size(), 2u);
  ASSERT_EQ(data[L"A"].size(), 2u);
  EXPECT_EQ(data[L"A"][0].time, 1700000000.5);
  EXPECT_EQ(data[L"A"][0].value, 1.25);
  EXPECT_EQ(data[L"A"][1].time, 1700003600.0);
  EXPECT_EQ(data[L"A"][1].value, -3.0);
  ASSERT_EQ(data[L"C"].size(), 1u);
}

TEST_F(TagHistoryQuery, RowsOfATagMayBeApart) {
  server.Answer(kOfA, {{L"A", L"1700000000", L"1"},
                       {L"\u00C4\u20AC", L"1700000000", L"2"},
                       {L"\u00C4\u20AC", L"1700000001", L"3"},
                       {L"A", L"1700000001", L"4"},
                       {L"A\u20AC", L"1700000001", L"5"},
                       {std::nullopt, L"1700000001", L"6"}});
  Data data = {{L"A", {}}};
  ASSERT_TRUE(Get(data));
  EXPECT_EQ(data.size(), 4u);
  ASSERT_EQ(data[L"A"].size(), 2u);
  EXPECT_EQ(data[L"A"][1].value, 4.0);
  ASSERT_EQ(data[L"\u00C4\u20AC"].size(), 2u);
  EXPECT_EQ(data[L"\u00C4\u20AC"][1].value, 3.0);
  EXPECT_EQ(data[L"A\u20AC"].size(), 1u);
  EXPECT_EQ(data[L""].size(), 1u);
}

TEST_F(TagHistoryQuery, ANullValueIsTheMissingValue) {
  server.Answer(kOfA, {{L"A", L"1700000000", std::nullopt}});
  Data data = {{L"A", {}}};
  ASSERT_TRUE(Get(data));
  EXPECT_EQ(data[L"A"].at(0).value, DBL_MAX);
}

TEST_F(TagHistoryQuery, RowsAreAppended) {
  server.Answer(kOfA, {{L"A", L"1700000000", L"1"}});
  Data data = {{L"A", {}}};
  ASSERT_TRUE(Get(data));
  ASSERT_TRUE(Get(data));
  EXPECT_EQ(data[L"A"].size(), 2u);
}

TEST_F(TagHistoryQuery, ATagWithoutRowsKeepsItsVector) {
  Data data = {{L"A", {{1.0, 2.0}}}};
  ASSERT_TRUE(Get(data));
  ASSERT_EQ(data[L"A"].size(), 1u);
  EXPECT_EQ(data[L"A"][0].time, 1.0);
}

TEST_F(TagHistoryQuery, KeepsTheDamagedStatementOfAnEmptyMap) {
  Data data;
  ASSERT_TRUE(dbms->Connect());
  server.FailStatement(1, {3, 7, L"ERROR:  syntax error"});
  EXPECT_FALSE(Get(data));
  EXPECT_EQ(
      server.Statements(),
      Texts{
          L"select tag_name, extract(epoch from time), value from datalog where tag_name in ) and time between to_timestamp(1700000000) and to_timestamp(1700003600) order by tag_name, time"});
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  syntax error");
}

TEST_F(TagHistoryQuery, KeepsQuotesInTagNamesUnescaped) {
  Data data = {{L"it's", {}}};
  EXPECT_TRUE(Get(data));
  EXPECT_EQ(
      server.Statements(),
      Texts{
          L"select tag_name, extract(epoch from time), value from datalog where tag_name in ('it's') and time between to_timestamp(1700000000) and to_timestamp(1700003600) order by tag_name, time"});
}

TEST_F(TagHistoryQuery, RowsBeforeAFailureStay) {
  server.FailAfterRows(kOfA, {{L"A", L"1700000000", L"1"}, {L"A", L"1700000001", L"2"}}, 1);
  Data data = {{L"A", {}}};
  EXPECT_FALSE(Get(data));
  EXPECT_EQ(data[L"A"].size(), 1u);
}

TEST_F(TagHistoryQuery, TheWidestRangeFitsItsBuffer) {
  Data data = {{L"A", {}}};
  EXPECT_TRUE(dbms->GetLogData(INT64_MIN, INT64_MIN, data));
  EXPECT_EQ(server.sent.size(), 1u);
  EXPECT_TRUE(debugLines.empty());
}

}  // namespace
