#include <DbmsAPI/Diagnostics.h>

#include "server/Zone.h"
#include "server/reports/ReportRows.h"
#include "server/reports/ReportStoreTest.h"

namespace {

using AnalogByTag = std::unordered_map<std::wstring, std::vector<ReportAnalogData>>;
using DigitalByTag = std::unordered_map<std::wstring, std::vector<ReportDigitalData>>;

constexpr std::int64_t kStart = 1700000000;

ReportAnalogData Analog(const wchar_t* tag, std::int64_t time) {
  return {time, tag,       2147483647, 0.1, -0.2,      1e300, 1e-300,    5.5,       -6.5,
          -1,   1.0 / 3.0, time + 1,   8.5, 9.0 / 7.0, -10.5, time + 60, -0.000125, time - 60};
}

ReportDigitalData Digital(const wchar_t* tag, std::int64_t time) {
  return {time, tag,       -2147483647, 2147483647, 1.0 / 3.0, -5, time + 1,
          6,    time + 60, -0.1,        7,          time - 1,  -8, 0};
}

class ReportData : public ReportStoreTest {
 protected:
  // The rows of one tag in a period's table; queries `count` of them by range.
  std::vector<ReportAnalogData> StoredAnalog(const wchar_t* period, const wchar_t* tag) {
    AnalogByTag data = {{tag, {}}};
    EXPECT_TRUE(dbms->GetReportAnalogData(period, kStart - 1000000, kStart + 1000000, data)) << Error();
    return data[tag];
  }
  std::vector<ReportDigitalData> StoredDigital(const wchar_t* period, const wchar_t* tag) {
    DigitalByTag data = {{tag, {}}};
    EXPECT_TRUE(dbms->GetReportDigitalData(period, kStart - 1000000, kStart + 1000000, data)) << Error();
    return data[tag];
  }

  Zone zone{"UTC"};
};

TEST_F(ReportData, AnalogRowsOfEveryPeriodAreReadBack) {
  for (const std::wstring period : kPeriods) {
    const ReportAnalogData row = Analog(L"PUMP", kStart);
    ASSERT_TRUE(dbms->InsertReportAnalogData(period.c_str(), {row})) << Error();
    const auto stored = StoredAnalog(period.c_str(), L"PUMP");
    ASSERT_EQ(stored.size(), 1u);
    EXPECT_EQ(Fields(stored[0]), Fields(period == L"minute" ? MinuteOf(row) : row));
  }
}

TEST_F(ReportData, DigitalRowsOfEveryPeriodAreReadBack) {
  for (const std::wstring period : kPeriods) {
    const ReportDigitalData row = Digital(L"VALVE", kStart);
    ASSERT_TRUE(dbms->InsertReportDigitalData(period.c_str(), {row})) << Error();
    const auto stored = StoredDigital(period.c_str(), L"VALVE");
    ASSERT_EQ(stored.size(), 1u);
    EXPECT_EQ(Fields(stored[0]), Fields(period == L"minute" ? MinuteOf(row) : row));
  }
}

TEST_F(ReportData, EachFieldIsInItsColumn) {
  ASSERT_TRUE(dbms->InsertReportAnalogData(
      L"day", {{1, L"A", 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17}}));
  ASSERT_TRUE(dbms->InsertReportDigitalData(L"day", {{1, L"A", 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13}}));
  EXPECT_EQ(
      Rows("select extract(epoch from time)::int, tag_name, count, sum, avg, diff, first, last, min, "
           "extract(epoch from min_time)::int, max, extract(epoch from max_time)::int, diff_sum, diff_avg, "
           "diff_min, extract(epoch from diff_min_time)::int, diff_max, extract(epoch from "
           "diff_max_time)::int from report_data_analog_day"),
      Lines{"1|A|2|3|4|5|6|7|8|9|10|11|12|13|14|15|16|17"});
  EXPECT_EQ(
      Rows("select extract(epoch from time)::int, tag_name, count, uptime, uptime_avg, uptime_min, "
           "extract(epoch from uptime_min_time)::int, uptime_max, extract(epoch from uptime_max_time)::int, "
           "count_avg, count_min, extract(epoch from count_min_time)::int, count_max, extract(epoch from "
           "count_max_time)::int from report_data_digital_day"),
      Lines{"1|A|2|3|4|5|6|7|8|9|10|11|12|13"});
}

TEST_F(ReportData, AStoredRowStaysAsItIs) {
  const ReportAnalogData first = Analog(L"PUMP", kStart);
  ReportAnalogData second = first;
  second.sum = second.diff_max = 99;
  const ReportAnalogData further = Analog(L"PUMP", kStart + 3600);
  ASSERT_TRUE(dbms->InsertReportAnalogData(L"hour", {first}));
  EXPECT_TRUE(dbms->InsertReportAnalogData(L"hour", {second, further})) << Error();
  const auto stored = StoredAnalog(L"hour", L"PUMP");
  ASSERT_EQ(stored.size(), 2u);
  EXPECT_EQ(Fields(stored[0]), Fields(first));
  EXPECT_EQ(Fields(stored[1]), Fields(further));
}

TEST_F(ReportData, TheFirstOfTwoEqualRowsIsStored) {
  const ReportDigitalData first = Digital(L"VALVE", kStart);
  ReportDigitalData second = first;
  second.uptime = 99;
  EXPECT_TRUE(dbms->InsertReportDigitalData(L"year", {first, second})) << Error();
  const auto stored = StoredDigital(L"year", L"VALVE");
  ASSERT_EQ(stored.size(), 1u);
  EXPECT_EQ(Fields(stored[0]), Fields(first));
}

TEST_F(ReportData, BothEndsOfARangeAreIncluded) {
  for (const std::int64_t time : {kStart + 7200, kStart, kStart + 3600, kStart - 3600})
    ASSERT_TRUE(dbms->InsertReportAnalogData(L"hour", {Analog(L"B", time), Analog(L"A", time)}));
  AnalogByTag data = {{L"A", {}}, {L"none", {}}};
  ASSERT_TRUE(dbms->GetReportAnalogData(L"hour", kStart, kStart + 7200, data)) << Error();
  ASSERT_EQ(data.size(), 2u);
  EXPECT_TRUE(data[L"none"].empty());
  ASSERT_EQ(data[L"A"].size(), 3u);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(data[L"A"][static_cast<std::size_t>(i)].time, kStart + 3600 * i);
}

TEST_F(ReportData, AnEndOfZeroGivesOnePeriod) {
  for (const std::int64_t time : {kStart, kStart + 60, INT64_C(0)}) {
    ASSERT_TRUE(dbms->InsertReportAnalogData(L"minute", {Analog(L"A", time)}));
    ASSERT_TRUE(dbms->InsertReportDigitalData(L"minute", {Digital(L"A", time)}));
  }
  AnalogByTag analog = {{L"A", {}}};
  DigitalByTag digital = {{L"A", {}}};
  ASSERT_TRUE(dbms->GetReportAnalogData(L"minute", kStart + 60, 0, analog));
  ASSERT_TRUE(dbms->GetReportDigitalData(L"minute", kStart + 60, 0, digital));
  ASSERT_EQ(analog[L"A"].size(), 1u);
  ASSERT_EQ(digital[L"A"].size(), 1u);
  EXPECT_EQ(analog[L"A"][0].time, kStart + 60);
  EXPECT_EQ(digital[L"A"][0].time, kStart + 60);
}

TEST_F(ReportData, AReversedRangeGivesNothing) {
  ASSERT_TRUE(dbms->InsertReportAnalogData(L"day", {Analog(L"A", kStart)}));
  AnalogByTag data = {{L"A", {}}};
  EXPECT_TRUE(dbms->GetReportAnalogData(L"day", kStart + 1, kStart - 1, data)) << Error();
  EXPECT_TRUE(dbms->GetReportAnalogData(L"day", kStart, -1, data)) << Error();
  EXPECT_TRUE(data[L"A"].empty());
}

TEST_F(ReportData, KeepsTheDamagedStatements) {
  EXPECT_FALSE(dbms->InsertReportAnalogData(L"hour", {}));
  EXPECT_TRUE(Failed("syntax error at or near \"value\"")) << Error();
  EXPECT_FALSE(dbms->InsertReportDigitalData(L"minute", {}));
  AnalogByTag analog;
  DigitalByTag digital;
  EXPECT_FALSE(dbms->GetReportAnalogData(L"hour", kStart, 0, analog));
  EXPECT_TRUE(Failed("syntax error at or near \")\"")) << Error();
  EXPECT_FALSE(dbms->GetReportDigitalData(L"minute", kStart, 0, digital));
}

TEST_F(ReportData, KeepsQuotesInTagNamesAsTheyAre) {
  ASSERT_TRUE(dbms->InsertReportAnalogData(L"hour", {Analog(L"it's", kStart)})) << Error();
  AnalogByTag plain = {{L"it's", {}}};
  EXPECT_FALSE(dbms->GetReportAnalogData(L"hour", kStart, 0, plain));
  AnalogByTag doubled = {{L"it''s", {}}};
  ASSERT_TRUE(dbms->GetReportAnalogData(L"hour", kStart, 0, doubled)) << Error();
  EXPECT_TRUE(doubled[L"it''s"].empty());
  EXPECT_EQ(doubled[L"it's"].size(), 1u);
}

TEST_F(ReportData, KeepsRefusingMinutesNotSpeltExactly) {
  EXPECT_FALSE(dbms->InsertReportAnalogData(L"Minute", {Analog(L"A", kStart)}));
  EXPECT_TRUE(Failed("INSERT has more expressions than target columns")) << Error();
}

TEST_F(ReportData, ThreeThousandRowsAreOneStatement) {
  std::vector<ReportAnalogData> rows;
  for (int i = 0; i < 3000; ++i) rows.push_back(Analog(L"PUMP", kStart + i));
  ASSERT_TRUE(dbms->InsertReportAnalogData(L"hour", rows)) << Error();
  EXPECT_EQ(Rows("select count(*), count(distinct xmin::text) from report_data_analog_hour"),
            Lines{"3000|1"});
  const auto stored = StoredAnalog(L"hour", L"PUMP");
  ASSERT_EQ(stored.size(), 3000u);
  for (std::size_t i = 0; i < 3000; ++i) ASSERT_EQ(Fields(stored[i]), Fields(rows[i]));
}

TEST_F(ReportData, MoreParametersThanTheServerTakesStoreNothing) {
  std::vector<std::wstring> lines;
  SetDbmsDebugSink([&](const wchar_t* line) { lines.emplace_back(line); });
  const bool stored = dbms->InsertReportAnalogData(L"hour", std::vector(3641, Analog(L"PUMP", kStart)));
  SetDbmsDebugSink({});
  EXPECT_FALSE(stored);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_TRUE(lines[0].starts_with(L"on exception(3, "));
  EXPECT_EQ(Value("select count(*) from report_data_analog_hour"), "0");

  EXPECT_TRUE(dbms->InsertReportAnalogData(L"hour", std::vector(3640, Analog(L"PUMP", kStart)))) << Error();
  EXPECT_EQ(Value("select count(*) from report_data_analog_hour"), "1");
}

}  // namespace
