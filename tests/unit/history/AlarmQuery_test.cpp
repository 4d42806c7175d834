#include "scripted/ScriptedTest.h"

namespace {

constexpr wchar_t kAll[] =
    L"select extract(epoch from time),tag_name,value,label,status,type,level,zone,extract(epoch from occ_time),extract(epoch from free_time) from alarm where time >= to_timestamp(1700000000) and time <= to_timestamp(1700003600) order by time desc";

// The masks that select every code.
constexpr std::int16_t kAnyStatus = 0xF;
constexpr std::int16_t kAnyType = 0x1FFF;
constexpr std::int16_t kAnyLevel = -2;  // 0xFFFE
constexpr std::int16_t kAnyZone = -1;

using Ranges = std::vector<std::pair<std::int64_t, std::int64_t>>;
using Prefixes = std::vector<const wchar_t*>;

struct Filter {
  std::int16_t status = kAnyStatus;
  std::int16_t type = kAnyType;
  std::int16_t level = kAnyLevel;
  std::int16_t zone = kAnyZone;
  Prefixes prefixes = {};
  Ranges excluded = {};
};

std::wstring Filtered(const std::wstring& filter) {
  return L"select extract(epoch from time),tag_name,value,label,status,type,level,zone,extract(epoch from occ_time),extract(epoch from free_time) from alarm where time >= to_timestamp(1700000000) and time <= to_timestamp(1700003600) and " +
         filter + L" order by time desc";
}

class AlarmQuery : public ScriptedTest {
 protected:
  bool Get(const Filter& filter) {
    return dbms->GetAlarmData(1700000000, 1700003600, filter.status, filter.type, filter.level, filter.zone,
                              filter.prefixes, filter.excluded, records);
  }
  bool GetAll() { return dbms->GetAllAlarmData(1700000000, 1700003600, records); }
  // The statements that a filter sends.
  Texts Sent(const Filter& filter) {
    server.Forget();
    EXPECT_TRUE(Get(filter));
    return server.Statements();
  }
  std::vector<AlarmRecord> records;
};

TEST_F(AlarmQuery, AMaskOfZeroSelectsNothingAndSendsNothing) {
  for (const Filter& filter :
       {Filter{.status = 0}, Filter{.type = 0}, Filter{.level = 0}, Filter{.zone = 0}}) {
    records.assign(1, AlarmRecord());
    EXPECT_EQ(Sent(filter), Texts{});
    EXPECT_EQ(records.size(), 1u);
  }
}

TEST_F(AlarmQuery, AMaskOfZeroNeedsTheConnectionToo) {
  server.RefuseConnections({3, 1, L"refused"});
  EXPECT_FALSE(Get({.status = 0}));
  EXPECT_EQ(server.connects.size(), 1u);
}

TEST_F(AlarmQuery, FullMasksSendTheUnfilteredStatement) {
  EXPECT_EQ(Sent({}), Texts{kAll});
  EXPECT_EQ(Sent({.level = -1}), Texts{kAll});
  EXPECT_EQ(Sent({.status = -1, .type = -1}), Texts{kAll});
  EXPECT_EQ(Sent({.status = 0x7FFF, .type = 0x7FFF}), Texts{kAll});
}

TEST_F(AlarmQuery, TheClausesKeepTheirOrder) {
  EXPECT_EQ(
      Sent({.status = 5, .zone = 3, .prefixes = {L"PUMP", L"TANK"}}),
      Texts{
          L"select extract(epoch from time),tag_name,value,label,status,type,level,zone,extract(epoch from occ_time),extract(epoch from free_time) from alarm where time >= to_timestamp(1700000000) and time <= to_timestamp(1700003600) and status in (0,2) and zone in (0,1) and (tag_name like 'PUMP%' or tag_name like 'TANK%') order by time desc"});
  EXPECT_EQ(Sent({.status = 1, .type = 2, .level = 4, .zone = 8}),
            Texts{Filtered(L"status in (0) and type in (1) and level in (2) and zone in (3)")});
}

TEST_F(AlarmQuery, EachMaskMayComeFirst) {
  EXPECT_EQ(Sent({.status = 0xE}), Texts{Filtered(L"status in (1,2,3)")});
  EXPECT_EQ(Sent({.type = 0x1001}), Texts{Filtered(L"type in (0,12)")});
  EXPECT_EQ(Sent({.level = 0x0402}), Texts{Filtered(L"level in (1,10)")});
  EXPECT_EQ(Sent({.zone = -2}), Texts{Filtered(L"zone in (1,2,3,4,5,6,7,8,9,10,11,12,13,14,15)")});
  EXPECT_EQ(Sent({.prefixes = {L"PUMP"}}), Texts{Filtered(L"(tag_name like 'PUMP%')")});
}

TEST_F(AlarmQuery, TheHighestBitIsACode) {
  EXPECT_EQ(Sent({.zone = INT16_MIN}), Texts{Filtered(L"zone in (15)")});
  EXPECT_EQ(Sent({.level = INT16_MIN}), Texts{Filtered(L"level in (15)")});
}

TEST_F(AlarmQuery, BitsThatAreNoCodesAreNotListed) {
  EXPECT_EQ(Sent({.status = 0x7FF1}), Texts{Filtered(L"status in (0)")});
  EXPECT_EQ(Sent({.type = 0x6001}), Texts{Filtered(L"type in (0)")});
  EXPECT_EQ(Sent({.level = 0x0003}), Texts{Filtered(L"level in (1)")});
}

TEST_F(AlarmQuery, KeepsTheDamagedListOfAMaskWithoutCodes) {
  EXPECT_EQ(Sent({.level = 1}), Texts{Filtered(L"level in )")});
  EXPECT_EQ(Sent({.status = 0x10}), Texts{Filtered(L"status in )")});
  EXPECT_EQ(Sent({.status = 1, .type = 0x2000}), Texts{Filtered(L"status in (0) and type in )")});

  server.FailStatement(1, {3, 7, L"ERROR:  syntax error"});
  EXPECT_FALSE(Get({.level = 1}));
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  syntax error");
}

TEST_F(AlarmQuery, AnExcludedRangeAsTheFirstClauseIsBalanced) {
  EXPECT_EQ(Sent({.excluded = {{10, 20}}}),
            Texts{Filtered(L"(time < to_timestamp(10) or time > to_timestamp(20))")});
  EXPECT_EQ(
      Sent({.prefixes = {L"A"}, .excluded = {{10, 20}}}),
      Texts{Filtered(L"(time < to_timestamp(10) or time > to_timestamp(20)) and (tag_name like 'A%')")});
}

TEST_F(AlarmQuery, KeepsTheUnbalancedParenthesisOfARangeAfterAnotherClause) {
  EXPECT_EQ(Sent({.status = 2, .excluded = {{10, 20}}}),
            Texts{Filtered(L"status in (1) and time < to_timestamp(10) or time > to_timestamp(20))")});
}

TEST_F(AlarmQuery, KeepsSeveralExcludedRangesJoinedByOr) {
  EXPECT_EQ(
      Sent({.excluded = {{10, 20}, {-5, INT64_MAX}}}),
      Texts{Filtered(
          L"(time < to_timestamp(10) or time > to_timestamp(20) or time < to_timestamp(-5) or time > to_timestamp(9223372036854775807))")});
}

TEST_F(AlarmQuery, KeepsPrefixesUnescaped) {
  EXPECT_EQ(
      Sent({.prefixes = {L"it's", L"100%", L"a_b", L""}}),
      Texts{Filtered(
          L"(tag_name like 'it's%' or tag_name like '100%%' or tag_name like 'a_b%' or tag_name like '%')")});
}

TEST_F(AlarmQuery, RowsBecomeRecords) {
  server.Answer(kAll,
                {{L"1700000000.123000", L"PUMP.1", L"21.5", L"high", L"1", L"12", L"15", L"-3",
                  L"1699999999.500000", L"1700000001.000000"},
                 {L"1700000000.1234", L"B", L"-1e300", L"", L"0", L"0", L"0", L"0", L"0", std::nullopt}});
  ASSERT_TRUE(GetAll());
  ASSERT_EQ(records.size(), 2u);
  const AlarmRecord& first = records[0];
  EXPECT_EQ(first.timeMs, 1700000000123);
  EXPECT_EQ(first.tagName, L"PUMP.1");
  EXPECT_EQ(first.value, 21.5);
  EXPECT_EQ(first.label, L"high");
  EXPECT_EQ(first.status, 1);
  EXPECT_EQ(first.type, 12);
  EXPECT_EQ(first.level, 15);
  EXPECT_EQ(first.zone, -3);
  EXPECT_EQ(first.occTimeMs, 1699999999500);
  EXPECT_EQ(first.freeTimeMs, 1700000001000);
  EXPECT_EQ(records[1].timeMs, 1700000000123);
  EXPECT_EQ(records[1].value, -1e300);
  EXPECT_EQ(records[1].freeTimeMs, 0);
}

TEST_F(AlarmQuery, InstantsAreCutTowardZero) {
  server.Answer(kAll,
                {{L"1700000000.9999", L"A", L"0", L"", L"0", L"0", L"0", L"0", L"-1.9999", L"-0.0019"}});
  ASSERT_TRUE(GetAll());
  EXPECT_EQ(records.at(0).timeMs, 1700000000999);
  EXPECT_EQ(records.at(0).occTimeMs, -1999);
  EXPECT_EQ(records.at(0).freeTimeMs, -1);
}

// 1073741826.991 has no exact double, and the product with 1000 falls just below the whole number.
TEST_F(AlarmQuery, KeepsTheMillisecondLostByCutting) {
  server.Answer(kAll,
                {{L"1073741826.991", L"A", L"0", L"", L"0", L"0", L"0", L"0", L"1.001", L"1700000000.991"}});
  ASSERT_TRUE(GetAll());
  EXPECT_EQ(records.at(0).timeMs, 1073741826990);
  EXPECT_EQ(records.at(0).occTimeMs, 1000);
  EXPECT_EQ(records.at(0).freeTimeMs, 1700000000991);
}

TEST_F(AlarmQuery, BothQueriesReadTheSameRowsAndAppendThem) {
  const scripted::Row row = {L"1700000000", L"A", L"0", L"", L"0", L"0", L"0", L"0", L"0", std::nullopt};
  server.Answer(kAll, {row});
  server.Answer(Filtered(L"status in (0)"), {row, row});
  ASSERT_TRUE(GetAll());
  ASSERT_TRUE(Get({.status = 1}));
  EXPECT_EQ(records.size(), 3u);
  EXPECT_EQ(server.Statements(), (Texts{kAll, Filtered(L"status in (0)")}));
}

TEST_F(AlarmQuery, RowsBeforeAFailureStay) {
  const scripted::Row row = {L"1700000000", L"A", L"0", L"", L"0", L"0", L"0", L"0", L"0", std::nullopt};
  server.FailAfterRows(kAll, {row, row}, 1);
  EXPECT_FALSE(GetAll());
  EXPECT_FALSE(Get({}));
  EXPECT_EQ(records.size(), 2u);
}

TEST_F(AlarmQuery, InfiniteInstantsAreTheGreatestAndTheLeast) {
  server.Answer(kAll, {{L"1e300", L"A", L"0", L"", L"0", L"0", L"0", L"0", L"-Infinity", L"Infinity"}});
  ASSERT_TRUE(GetAll());
  EXPECT_EQ(records.at(0).timeMs, INT64_MAX);
  EXPECT_EQ(records.at(0).occTimeMs, INT64_MIN);
  EXPECT_EQ(records.at(0).freeTimeMs, INT64_MAX);
}

}  // namespace
