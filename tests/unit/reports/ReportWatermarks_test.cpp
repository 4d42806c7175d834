#include "scripted/ScriptedTest.h"

namespace {

constexpr wchar_t kHourOfAnalog[] =
    L"select extract(epoch from hour) from report_data_time where type = 'analog'";
constexpr wchar_t kFirstDigitalYear[] =
    L"select extract(epoch from time) from report_data_digital_year order by time limit 1";

class ReportWatermarks : public ScriptedTest {};

TEST_F(ReportWatermarks, AWatermarkIsReadInWholeSeconds) {
  server.Answer(kHourOfAnalog, {{L"1700000000.999000"}});
  std::int64_t time = 5;
  EXPECT_TRUE(dbms->GetReportDataTime(L"analog", L"hour", &time));
  EXPECT_EQ(time, 1700000000);
  EXPECT_EQ(server.Statements(), Texts{kHourOfAnalog});
}

TEST_F(ReportWatermarks, AWatermarkGoesBeyond32Bits) {
  server.Answer(kHourOfAnalog, {{L"253402300799.000000"}});
  std::int64_t time = 5;
  EXPECT_TRUE(dbms->GetReportDataTime(L"analog", L"hour", &time));
  EXPECT_EQ(time, 253402300799);
}

TEST_F(ReportWatermarks, AWatermarkNeverSetReadsAsZero) {
  server.Answer(kHourOfAnalog, {{std::nullopt}});
  std::int64_t time = 5;
  EXPECT_TRUE(dbms->GetReportDataTime(L"analog", L"hour", &time));
  EXPECT_EQ(time, 0);
}

TEST_F(ReportWatermarks, AnUnknownKindLeavesTheTimeUntouched) {
  std::int64_t time = 5;
  EXPECT_TRUE(dbms->GetReportDataTime(L"text", L"minute", &time));
  EXPECT_EQ(time, 5);
  EXPECT_EQ(server.Statements(),
            Texts{L"select extract(epoch from minute) from report_data_time where type = 'text'"});
}

TEST_F(ReportWatermarks, AWatermarkIsSetInDecimalSeconds) {
  EXPECT_TRUE(dbms->SetReportDataTime(L"digital", L"month", 1700000000));
  EXPECT_TRUE(dbms->SetReportDataTime(L"analog", L"year", -1));
  EXPECT_TRUE(dbms->SetReportDataTime(L"analog", L"day", INT64_MIN));
  EXPECT_EQ(
      server.Statements(),
      (Texts{L"update report_data_time set month = to_timestamp(1700000000) where type = 'digital'",
             L"update report_data_time set year = to_timestamp(-1) where type = 'analog'",
             L"update report_data_time set day = to_timestamp(-9223372036854775808) where type = 'analog'"}));
  EXPECT_TRUE(server.sent[0].binds.empty());
}

TEST_F(ReportWatermarks, KeepsKindAndPeriodAsTheyAre) {
  EXPECT_TRUE(dbms->SetReportDataTime(L"it's", L"hour = null, day", 1));
  EXPECT_EQ(server.Statements(),
            Texts{L"update report_data_time set hour = null, day = to_timestamp(1) where type = 'it's'"});
}

TEST_F(ReportWatermarks, TheFirstTimeIsReadInWholeSeconds) {
  server.Answer(kFirstDigitalYear, {{L"1672531200.000000"}});
  std::int64_t time = 5;
  EXPECT_TRUE(dbms->GetReportDataFirstTime(L"digital", L"year", &time));
  EXPECT_EQ(time, 1672531200);
  EXPECT_EQ(server.Statements(), Texts{kFirstDigitalYear});
}

TEST_F(ReportWatermarks, AnEmptyTableLeavesTheFirstTimeUntouched) {
  std::int64_t time = 5;
  EXPECT_TRUE(dbms->GetReportDataFirstTime(L"analog", L"minute", &time));
  EXPECT_EQ(time, 5);
  EXPECT_EQ(server.Statements(),
            Texts{L"select extract(epoch from time) from report_data_analog_minute order by time limit 1"});
}

TEST_F(ReportWatermarks, AFailureLeavesTheTimeUntouched) {
  ASSERT_TRUE(dbms->Connect());
  server.FailStatement(1);
  server.FailStatement(2);
  std::int64_t time = 5;
  EXPECT_FALSE(dbms->GetReportDataTime(L"analog", L"hour", &time));
  EXPECT_FALSE(dbms->GetReportDataFirstTime(L"analog", L"hour", &time));
  EXPECT_EQ(time, 5);
}

}  // namespace
