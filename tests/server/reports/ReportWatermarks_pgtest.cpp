#include "server/reports/ReportStoreTest.h"

namespace {

constexpr std::int64_t kUntouched = -77;

class ReportWatermarks : public ReportStoreTest {
 protected:
  std::int64_t Watermark(const wchar_t* kind, const wchar_t* period) {
    std::int64_t time = kUntouched;
    EXPECT_TRUE(dbms->GetReportDataTime(kind, period, &time)) << Error();
    return time;
  }
};

TEST_F(ReportWatermarks, AWatermarkNeverSetReadsAsZero) {
  for (const wchar_t* kind : kKinds) {
    for (const wchar_t* period : kPeriods) EXPECT_EQ(Watermark(kind, period), 0);
  }
}

TEST_F(ReportWatermarks, EachWatermarkIsKeptSeparately) {
  std::int64_t time = 1700000000;
  for (const wchar_t* kind : kKinds) {
    for (const wchar_t* period : kPeriods)
      ASSERT_TRUE(dbms->SetReportDataTime(kind, period, ++time)) << Error();
  }
  EXPECT_EQ(
      Rows("select type, extract(epoch from minute)::int, extract(epoch from hour)::int, extract(epoch from "
           "day)::int, extract(epoch from month)::int, extract(epoch from year)::int from report_data_time "
           "order by type"),
      (Lines{"analog|1700000001|1700000002|1700000003|1700000004|1700000005",
             "digital|1700000006|1700000007|1700000008|1700000009|1700000010"}));
  EXPECT_EQ(Watermark(L"analog", L"year"), 1700000005);
  EXPECT_EQ(Watermark(L"digital", L"minute"), 1700000006);
}

TEST_F(ReportWatermarks, WatermarksGoBeyond32Bits) {
  for (const std::int64_t time :
       {INT64_C(-62135596800), INT64_C(-1), INT64_C(2147483648), INT64_C(253402300799)}) {
    ASSERT_TRUE(dbms->SetReportDataTime(L"analog", L"day", time));
    EXPECT_EQ(Watermark(L"analog", L"day"), time);
  }
}

TEST_F(ReportWatermarks, AWatermarkBeyondTheServersYearsIsRefused) {
  ASSERT_TRUE(dbms->SetReportDataTime(L"analog", L"day", 5));
  EXPECT_FALSE(dbms->SetReportDataTime(L"analog", L"day", INT64_MAX));
  EXPECT_TRUE(Failed("out of range")) << Error();
  EXPECT_EQ(Watermark(L"analog", L"day"), 5);
}

TEST_F(ReportWatermarks, FractionsOfAWatermarkAreDropped) {
  Run("update report_data_time set month = to_timestamp(1700000000.999999)");
  EXPECT_EQ(Watermark(L"digital", L"month"), 1700000000);
}

TEST_F(ReportWatermarks, AnUnknownKindIsNeitherReadNorSet) {
  EXPECT_TRUE(dbms->SetReportDataTime(L"text", L"hour", 1700000000));
  EXPECT_EQ(Watermark(L"text", L"hour"), kUntouched);
  EXPECT_EQ(Value("select count(*) from report_data_time where hour is not null"), "0");
}

TEST_F(ReportWatermarks, AnUnknownPeriodIsRefused) {
  std::int64_t time = kUntouched;
  EXPECT_FALSE(dbms->GetReportDataTime(L"analog", L"week", &time));
  EXPECT_TRUE(Failed("week")) << Error();
  EXPECT_FALSE(dbms->SetReportDataTime(L"analog", L"week", 1));
  EXPECT_FALSE(dbms->GetReportDataFirstTime(L"analog", L"week", &time));
  EXPECT_TRUE(Failed("report_data_analog_week")) << Error();
  EXPECT_EQ(time, kUntouched);
}

TEST_F(ReportWatermarks, TheFirstTimeIsThatOfTheOldestRow) {
  std::int64_t time = kUntouched;
  for (const wchar_t* period : kPeriods) {
    EXPECT_TRUE(dbms->GetReportDataFirstTime(L"analog", period, &time));
    EXPECT_TRUE(dbms->GetReportDataFirstTime(L"digital", period, &time));
    EXPECT_EQ(time, kUntouched);
  }
  ReportDigitalData row;
  for (const std::int64_t each : {1700003600, 1700000000, 1700007200}) {
    row.time = each;
    ASSERT_TRUE(dbms->InsertReportDigitalData(L"month", {row})) << Error();
  }
  EXPECT_TRUE(dbms->GetReportDataFirstTime(L"digital", L"month", &time));
  EXPECT_EQ(time, 1700000000);
}

}  // namespace
