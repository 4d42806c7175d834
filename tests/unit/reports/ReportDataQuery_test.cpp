#include <ctime>
#include <iomanip>
#include <sstream>

#include "platform/Zone.h"
#include "scripted/ScriptedTest.h"

namespace {

using AnalogByTag = std::unordered_map<std::wstring, std::vector<ReportAnalogData>>;
using DigitalByTag = std::unordered_map<std::wstring, std::vector<ReportDigitalData>>;

constexpr wchar_t kAnalogMinutes[] =
    L"select * from report_data_analog_minute where tag_name in ('A') and time between to_timestamp(1700000000) and to_timestamp(1700003600) order by tag_name, time";
constexpr wchar_t kAnalogHours[] =
    L"select * from report_data_analog_hour where tag_name in ('A') and time between to_timestamp(1700000000) and to_timestamp(1700003600) order by tag_name, time";
constexpr wchar_t kDigitalMinutes[] =
    L"select * from report_data_digital_minute where tag_name in ('A') and time between to_timestamp(1700000000) and to_timestamp(1700003600) order by tag_name, time";
constexpr wchar_t kDigitalHours[] =
    L"select * from report_data_digital_hour where tag_name in ('A') and time between to_timestamp(1700000000) and to_timestamp(1700003600) order by tag_name, time";

// An instant as a session in the zone of this process delivers it.
std::wstring Delivered(std::time_t seconds, const wchar_t* decimals = L"") {
  const std::tm fields = platform::LocalTime(seconds);
  std::wostringstream text;
  text << std::put_time(&fields, L"%Y-%m-%d %H:%M:%S") << decimals << L"+00";
  return text.str();
}

scripted::Row AnalogMinute(const wchar_t* tag, std::time_t time) {
  return {Delivered(time), tag,
          L"-1",           L"2.5",
          L"3.5",          L"4.5",
          L"5.5",          L"6.5",
          L"7.5",          Delivered(1700000001),
          L"8.5",          Delivered(1700000002)};
}

scripted::Row AnalogHour(const wchar_t* tag, std::time_t time) {
  scripted::Row row = AnalogMinute(tag, time);
  row.insert(row.end(), {L"9.5", L"10.5", L"11.5", Delivered(1700000003), L"12.5", Delivered(1700000004)});
  return row;
}

scripted::Row DigitalMinute(const wchar_t* tag, std::time_t time) {
  return {Delivered(time), tag, L"1", L"2", L"2.5", L"3", Delivered(1700000001), L"4", Delivered(1700000002)};
}

scripted::Row DigitalHour(const wchar_t* tag, std::time_t time) {
  scripted::Row row = DigitalMinute(tag, time);
  row.insert(row.end(), {L"5.5", L"6", Delivered(1700000003), L"-7", Delivered(1700000004)});
  return row;
}

class ReportDataQuery : public ScriptedTest {
 protected:
  bool Analog(const wchar_t* period, AnalogByTag& data) {
    return dbms->GetReportAnalogData(period, 1700000000, 1700003600, data);
  }
  bool Digital(const wchar_t* period, DigitalByTag& data) {
    return dbms->GetReportDigitalData(period, 1700000000, 1700003600, data);
  }
};

TEST_F(ReportDataQuery, ARangeIsAskedForWithBothEnds) {
  AnalogByTag analog = {{L"A", {}}};
  DigitalByTag digital = {{L"A", {}}};
  EXPECT_TRUE(Analog(L"minute", analog));
  EXPECT_TRUE(Analog(L"hour", analog));
  EXPECT_TRUE(Digital(L"minute", digital));
  EXPECT_TRUE(Digital(L"hour", digital));
  EXPECT_EQ(server.Statements(), (Texts{kAnalogMinutes, kAnalogHours, kDigitalMinutes, kDigitalHours}));
  EXPECT_TRUE(analog[L"A"].empty());
  EXPECT_TRUE(digital[L"A"].empty());
}

TEST_F(ReportDataQuery, AnEndOfZeroAsksForOnePeriod) {
  AnalogByTag analog = {{L"A", {}}};
  DigitalByTag digital = {{L"A", {}}};
  EXPECT_TRUE(dbms->GetReportAnalogData(L"day", 1700000000, 0, analog));
  EXPECT_TRUE(dbms->GetReportDigitalData(L"month", -1, 0, digital));
  EXPECT_EQ(
      server.Statements(),
      (Texts{
          L"select * from report_data_analog_day where tag_name in ('A') and time = to_timestamp(1700000000) order by tag_name, time",
          L"select * from report_data_digital_month where tag_name in ('A') and time = to_timestamp(-1) order by tag_name, time"}));
}

TEST_F(ReportDataQuery, AnyOtherEndAsksForARange) {
  AnalogByTag analog = {{L"A", {}}};
  EXPECT_TRUE(dbms->GetReportAnalogData(L"year", 1700000000, 1600000000, analog));
  EXPECT_TRUE(dbms->GetReportAnalogData(L"year", 0, -1, analog));
  EXPECT_EQ(
      server.Statements(),
      (Texts{
          L"select * from report_data_analog_year where tag_name in ('A') and time between to_timestamp(1700000000) and to_timestamp(1600000000) order by tag_name, time",
          L"select * from report_data_analog_year where tag_name in ('A') and time between to_timestamp(0) and to_timestamp(-1) order by tag_name, time"}));
}

TEST_F(ReportDataQuery, TheStatementNamesTheKeysInTheMapsOrder) {
  AnalogByTag data = {{L"A", {}}, {L"B", {}}, {L"C", {}}};
  std::wstring list;
  for (const auto& [tag, rows] : data) list += L"'" + tag + L"',";
  list.pop_back();
  EXPECT_TRUE(dbms->GetReportAnalogData(L"day", 1, 0, data));
  EXPECT_EQ(server.Statements(), Texts{L"select * from report_data_analog_day where tag_name in (" + list +
                                       L") and time = to_timestamp(1) order by tag_name, time"});
}

TEST_F(ReportDataQuery, AnAnalogHourIsReadByPosition) {
  server.Answer(kAnalogHours, {AnalogHour(L"A", 1700000000)});
  AnalogByTag data = {{L"A", {}}};
  ASSERT_TRUE(Analog(L"hour", data));
  ASSERT_EQ(data[L"A"].size(), 1u);
  const ReportAnalogData& row = data[L"A"][0];
  EXPECT_EQ(row.time, 1700000000);
  EXPECT_EQ(row.tag_name, L"A");
  EXPECT_EQ(row.count, -1);
  EXPECT_EQ(std::vector({row.sum, row.avg, row.diff, row.first, row.last, row.min, row.max}),
            std::vector({2.5, 3.5, 4.5, 5.5, 6.5, 7.5, 8.5}));
  EXPECT_EQ(row.min_time, 1700000001);
  EXPECT_EQ(row.max_time, 1700000002);
  EXPECT_EQ(std::vector({row.diff_sum, row.diff_avg, row.diff_min, row.diff_max}),
            std::vector({9.5, 10.5, 11.5, 12.5}));
  EXPECT_EQ(row.diff_min_time, 1700000003);
  EXPECT_EQ(row.diff_max_time, 1700000004);
}

TEST_F(ReportDataQuery, AnAnalogMinuteLeavesTheDifferencesAtZero) {
  server.Answer(kAnalogMinutes, {AnalogHour(L"A", 1700000000)});  // even when there were more columns
  AnalogByTag data = {{L"A", {}}};
  ASSERT_TRUE(Analog(L"minute", data));
  ASSERT_EQ(data[L"A"].size(), 1u);
  const ReportAnalogData& row = data[L"A"][0];
  EXPECT_EQ(row.max, 8.5);
  EXPECT_EQ(row.max_time, 1700000002);
  EXPECT_EQ(std::vector({row.diff_sum, row.diff_avg, row.diff_min, row.diff_max}),
            std::vector({0.0, 0.0, 0.0, 0.0}));
  EXPECT_EQ(row.diff_min_time, 0);
  EXPECT_EQ(row.diff_max_time, 0);
}

TEST_F(ReportDataQuery, ADigitalHourIsReadByPosition) {
  server.Answer(kDigitalHours, {DigitalHour(L"A", 1700000000)});
  DigitalByTag data = {{L"A", {}}};
  ASSERT_TRUE(Digital(L"hour", data));
  ASSERT_EQ(data[L"A"].size(), 1u);
  const ReportDigitalData& row = data[L"A"][0];
  EXPECT_EQ(row.time, 1700000000);
  EXPECT_EQ(row.tag_name, L"A");
  EXPECT_EQ(std::vector({row.count, row.uptime, row.uptime_min, row.uptime_max}), std::vector({1, 2, 3, 4}));
  EXPECT_EQ(row.uptime_avg, 2.5);
  EXPECT_EQ(row.uptime_min_time, 1700000001);
  EXPECT_EQ(row.uptime_max_time, 1700000002);
  EXPECT_EQ(row.count_avg, 5.5);
  EXPECT_EQ(std::vector({row.count_min, row.count_max}), std::vector({6, -7}));
  EXPECT_EQ(row.count_min_time, 1700000003);
  EXPECT_EQ(row.count_max_time, 1700000004);
}

TEST_F(ReportDataQuery, ADigitalMinuteLeavesTheCountsAtZero) {
  server.Answer(kDigitalMinutes, {DigitalHour(L"A", 1700000000)});
  DigitalByTag data = {{L"A", {}}};
  ASSERT_TRUE(Digital(L"minute", data));
  ASSERT_EQ(data[L"A"].size(), 1u);
  const ReportDigitalData& row = data[L"A"][0];
  EXPECT_EQ(row.uptime_max, 4);
  EXPECT_EQ(row.uptime_max_time, 1700000002);
  EXPECT_EQ(row.count_avg, 0.0);
  EXPECT_EQ(std::vector({row.count_min, row.count_max}), std::vector({0, 0}));
  EXPECT_EQ(row.count_min_time, 0);
  EXPECT_EQ(row.count_max_time, 0);
}

TEST_F(ReportDataQuery, KeepsTheLongRowForAllThatIsNotExactlyMinute) {
  server.Answer(
      L"select * from report_data_analog_Minute where tag_name in ('A') and time = to_timestamp(1) order by tag_name, time",
      {AnalogHour(L"A", 1)});
  AnalogByTag data = {{L"A", {}}};
  ASSERT_TRUE(dbms->GetReportAnalogData(L"Minute", 1, 0, data));
  ASSERT_EQ(data[L"A"].size(), 1u);
  EXPECT_EQ(data[L"A"][0].diff_max, 12.5);
}

TEST_F(ReportDataQuery, RowsAreAppendedUnderTheirTags) {
  server.Answer(kAnalogMinutes, {AnalogMinute(L"A", 1700000000), AnalogMinute(L"A", 1700000060),
                                 AnalogMinute(L"a", 1700000000)});
  ReportAnalogData old;
  old.time = 7;
  AnalogByTag data = {{L"A", {old}}};
  ASSERT_TRUE(Analog(L"minute", data));
  ASSERT_EQ(data.size(), 2u);
  ASSERT_EQ(data[L"A"].size(), 3u);
  EXPECT_EQ(data[L"A"][0].time, 7);
  EXPECT_EQ(data[L"A"][1].time, 1700000000);
  EXPECT_EQ(data[L"A"][2].time, 1700000060);
  ASSERT_EQ(data[L"a"].size(), 1u);
  EXPECT_EQ(data[L"a"][0].tag_name, L"a");
}

TEST_F(ReportDataQuery, FractionsOfSecondsAreDropped) {
  scripted::Row row = AnalogMinute(L"A", 1700000000);
  row[0] = Delivered(1700000000, L".999999");
  row[9] = Delivered(-5, L".999999");
  server.Answer(kAnalogMinutes, {row});
  AnalogByTag data = {{L"A", {}}};
  ASSERT_TRUE(Analog(L"minute", data));
  EXPECT_EQ(data[L"A"].at(0).time, 1700000000);
  EXPECT_EQ(data[L"A"].at(0).min_time, -5);
}

TEST_F(ReportDataQuery, KeepsThe32BitCountOfSeconds) {
  scripted::Row row = AnalogHour(L"A", 2147483648);
  row[9] = Delivered(4294967301);
  row[11] = Delivered(2147483647);
  row[15] = Delivered(-2147483648);
  row[17] = Delivered(-2147483649);
  server.Answer(kAnalogHours, {row});
  AnalogByTag data = {{L"A", {}}};
  ASSERT_TRUE(Analog(L"hour", data));
  const ReportAnalogData& read = data[L"A"].at(0);
  EXPECT_EQ(read.time, -2147483648);
  EXPECT_EQ(read.min_time, 5);
  EXPECT_EQ(read.max_time, 2147483647);
  EXPECT_EQ(read.diff_min_time, -2147483648);
  EXPECT_EQ(read.diff_max_time, 2147483647);
}

TEST_F(ReportDataQuery, KeepsTheDamagedStatementOfAnEmptyMap) {
  ASSERT_TRUE(dbms->Connect());
  for (std::size_t k = 1; k <= 2; ++k) server.FailStatement(k, {3, 7, L"ERROR:  syntax error"});
  AnalogByTag analog;
  DigitalByTag digital;
  EXPECT_FALSE(dbms->GetReportAnalogData(L"minute", 1, 2, analog));
  EXPECT_FALSE(dbms->GetReportDigitalData(L"minute", 1, 0, digital));
  EXPECT_EQ(
      server.Statements(),
      (Texts{
          L"select * from report_data_analog_minute where tag_name in ) and time between to_timestamp(1) and to_timestamp(2) order by tag_name, time",
          L"select * from report_data_digital_minute where tag_name in ) and time = to_timestamp(1) order by tag_name, time"}));
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  syntax error");
}

TEST_F(ReportDataQuery, KeepsQuotesInTagNamesAsTheyAre) {
  DigitalByTag data = {{L"it's", {}}};
  EXPECT_TRUE(dbms->GetReportDigitalData(L"hour", 1, 0, data));
  EXPECT_EQ(
      server.Statements(),
      Texts{
          L"select * from report_data_digital_hour where tag_name in ('it's') and time = to_timestamp(1) order by tag_name, time"});
}

TEST_F(ReportDataQuery, RowsBeforeAFailureStay) {
  server.FailAfterRows(kAnalogMinutes, {AnalogMinute(L"A", 1700000000), AnalogMinute(L"A", 1700000060)}, 1);
  AnalogByTag data = {{L"A", {}}};
  EXPECT_FALSE(Analog(L"minute", data));
  ASSERT_EQ(data[L"A"].size(), 1u);
  EXPECT_EQ(data[L"A"][0].max_time, 1700000002);
}

}  // namespace
