#include "server/reports/ReportStoreTest.h"

namespace {

const Lines kWatermarkColumns = {
    "type|character varying|10|NO",           "minute|timestamp with time zone|\\N|YES",
    "hour|timestamp with time zone|\\N|YES",  "day|timestamp with time zone|\\N|YES",
    "month|timestamp with time zone|\\N|YES", "year|timestamp with time zone|\\N|YES",
};

const Lines kAnalogMinuteColumns = {
    "time|timestamp with time zone|NO",
    "tag_name|text|NO",
    "count|integer|NO",
    "sum|double precision|NO",
    "avg|double precision|NO",
    "diff|double precision|NO",
    "first|double precision|NO",
    "last|double precision|NO",
    "min|double precision|NO",
    "min_time|timestamp with time zone|NO",
    "max|double precision|NO",
    "max_time|timestamp with time zone|NO",
};
const Lines kDifferenceColumns = {
    "diff_sum|double precision|NO", "diff_avg|double precision|NO",
    "diff_min|double precision|NO", "diff_min_time|timestamp with time zone|NO",
    "diff_max|double precision|NO", "diff_max_time|timestamp with time zone|NO",
};
const Lines kDigitalMinuteColumns = {
    "time|timestamp with time zone|NO",
    "tag_name|text|NO",
    "count|integer|NO",
    "uptime|integer|NO",
    "uptime_avg|double precision|NO",
    "uptime_min|integer|NO",
    "uptime_min_time|timestamp with time zone|NO",
    "uptime_max|integer|NO",
    "uptime_max_time|timestamp with time zone|NO",
};
const Lines kCountColumns = {
    "count_avg|double precision|NO",
    "count_min|integer|NO",
    "count_min_time|timestamp with time zone|NO",
    "count_max|integer|NO",
    "count_max_time|timestamp with time zone|NO",
};

Lines operator+(Lines a, const Lines& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

class ReportStore : public ReportStoreTest {
 protected:
  Lines Columns(const std::string& table) {
    return Rows(
        "select column_name, data_type, is_nullable from information_schema.columns where table_name = '" +
        table + "' order by ordinal_position");
  }
  // The columns of the primary key in its order.
  std::string Key(const std::string& table) {
    return Value(
        "select string_agg(attname, ',' order by array_position(conkey, attnum)) from pg_constraint "
        "join pg_attribute on attrelid = conrelid and attnum = any(conkey) where contype = 'p' and "
        "conrelid = '" +
        table + "'::regclass");
  }
  // State that a second creation must not change.
  Lines Everything() {
    return Rows(
               "select oid, relname, relfilenode from pg_class where relname like 'report_data%' order by 1") +
           Rows("select type, extract(epoch from hour), xmin from report_data_time order by type") +
           Rows("select *, xmin from report_data_analog_hour");
  }
};

TEST_F(ReportStore, HasElevenTables) {
  EXPECT_EQ(Rows("select table_name from information_schema.tables where table_schema = 'public' order by 1"),
            (Lines{"report_data_analog_day", "report_data_analog_hour", "report_data_analog_minute",
                   "report_data_analog_month", "report_data_analog_year", "report_data_digital_day",
                   "report_data_digital_hour", "report_data_digital_minute", "report_data_digital_month",
                   "report_data_digital_year", "report_data_time"}));
}

TEST_F(ReportStore, MinutesLackTheFurtherColumns) {
  EXPECT_EQ(Columns("report_data_analog_minute"), kAnalogMinuteColumns);
  EXPECT_EQ(Columns("report_data_digital_minute"), kDigitalMinuteColumns);
}

TEST_F(ReportStore, LongerPeriodsHaveTheFurtherColumns) {
  for (const std::string period : {"hour", "day", "month", "year"}) {
    SCOPED_TRACE(period);
    EXPECT_EQ(Columns("report_data_analog_" + period), kAnalogMinuteColumns + kDifferenceColumns);
    EXPECT_EQ(Columns("report_data_digital_" + period), kDigitalMinuteColumns + kCountColumns);
  }
}

TEST_F(ReportStore, WatermarksHaveAColumnForEachPeriod) {
  EXPECT_EQ(
      Rows("select column_name, data_type, character_maximum_length, is_nullable from "
           "information_schema.columns where table_name = 'report_data_time' order by ordinal_position"),
      kWatermarkColumns);
  EXPECT_EQ(Key("report_data_time"), "type");
}

TEST_F(ReportStore, TimeAndTagAreTheKeyOfEveryPeriod) {
  for (const std::string kind : {"analog", "digital"}) {
    for (const std::string period : {"minute", "hour", "day", "month", "year"})
      EXPECT_EQ(Key("report_data_" + kind + "_" + period), "time,tag_name");
  }
}

TEST_F(ReportStore, KeepsFourNullsForFivePeriodsInTheFirstRows) {
  EXPECT_EQ(Rows("select * from report_data_time order by type"),
            (Lines{"analog|\\N|\\N|\\N|\\N|\\N", "digital|\\N|\\N|\\N|\\N|\\N"}));
}

TEST_F(ReportStore, ASecondCreationChangesNothing) {
  ASSERT_TRUE(dbms->SetReportDataTime(L"analog", L"hour", 1700000000));
  ASSERT_TRUE(dbms->InsertReportAnalogData(L"hour", {ReportAnalogData()})) << Error();
  const Lines before = Everything();
  EXPECT_TRUE(dbms->CreateReportDataTables(10)) << Error();
  EXPECT_TRUE(dbms->CreateReportDataTables(0)) << Error();
  EXPECT_EQ(Everything(), before);
}

TEST_F(ReportStore, AMissingRowIsNotRepaired) {
  Run("delete from report_data_time where type = 'digital'");
  EXPECT_TRUE(dbms->CreateReportDataTables(10));
  EXPECT_EQ(Rows("select type from report_data_time"), Lines{"analog"});
  Run("delete from report_data_time");
  EXPECT_TRUE(dbms->CreateReportDataTables(10));
  EXPECT_EQ(Rows("select type from report_data_time order by 1"), (Lines{"analog", "digital"}));
}

TEST_F(ReportStore, WhatWasMadeBeforeAFailureStays) {
  Run("drop table report_data_analog_day, report_data_analog_month, report_data_digital_minute");
  Run("create type report_data_analog_month as enum ('a')");  // prevents the table
  EXPECT_FALSE(dbms->CreateReportDataTables(10));
  EXPECT_TRUE(Failed("report_data_analog_month")) << Error();
  EXPECT_EQ(Value("select to_regclass('report_data_analog_day') is not null"), "t");
  EXPECT_EQ(Value("select to_regclass('report_data_digital_minute') is null"), "t");
  Run("drop type report_data_analog_month");
  EXPECT_TRUE(dbms->CreateReportDataTables(10));
  EXPECT_EQ(Value("select to_regclass('report_data_digital_minute') is not null"), "t");
}

}  // namespace
