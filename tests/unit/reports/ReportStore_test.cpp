#include <algorithm>
#include <iterator>

#include "DbmsAPI/frame/Timescale.h"
#include "HypertableTexts.h"
#include "scripted/ScriptedTest.h"

namespace {

constexpr wchar_t kCreateWatermarks[] =
    L"create table if not exists report_data_time (type varchar(10) not null primary key,minute timestamptz,hour timestamptz,day timestamptz,month timestamptz,year timestamptz)";
constexpr wchar_t kCount[] = L"select count(*) from report_data_time";
constexpr wchar_t kFirstRows[] =
    L"insert into report_data_time values('analog',null,null,null,null),('digital',null,null,null,null)";

// The ten tables in the order of their creation.
const Texts kTables = {
    L"report_data_analog_minute", L"report_data_analog_hour", L"report_data_analog_day",
    L"report_data_analog_month",  L"report_data_analog_year", L"report_data_digital_minute",
    L"report_data_digital_hour",  L"report_data_digital_day", L"report_data_digital_month",
    L"report_data_digital_year",
};
const Texts kCreates = {
    L"create table if not exists report_data_analog_minute (time timestamptz not null,tag_name text not null,count int not null,sum float8 not null,avg float8 not null,diff float8 not null,first float8 not null,last float8 not null,min float8 not null,min_time timestamptz not null,max float8 not null,max_time timestamptz not null,primary key (time, tag_name))",
    L"create table if not exists report_data_analog_hour (time timestamptz not null,tag_name text not null,count int not null,sum float8 not null,avg float8 not null,diff float8 not null,first float8 not null,last float8 not null,min float8 not null,min_time timestamptz not null,max float8 not null,max_time timestamptz not null,diff_sum float8 not null,diff_avg float8 not null,diff_min float8 not null,diff_min_time timestamptz not null,diff_max float8 not null,diff_max_time timestamptz not null,primary key (time, tag_name))",
    L"create table if not exists report_data_analog_day (time timestamptz not null,tag_name text not null,count int not null,sum float8 not null,avg float8 not null,diff float8 not null,first float8 not null,last float8 not null,min float8 not null,min_time timestamptz not null,max float8 not null,max_time timestamptz not null,diff_sum float8 not null,diff_avg float8 not null,diff_min float8 not null,diff_min_time timestamptz not null,diff_max float8 not null,diff_max_time timestamptz not null,primary key (time, tag_name))",
    L"create table if not exists report_data_analog_month (time timestamptz not null,tag_name text not null,count int not null,sum float8 not null,avg float8 not null,diff float8 not null,first float8 not null,last float8 not null,min float8 not null,min_time timestamptz not null,max float8 not null,max_time timestamptz not null,diff_sum float8 not null,diff_avg float8 not null,diff_min float8 not null,diff_min_time timestamptz not null,diff_max float8 not null,diff_max_time timestamptz not null,primary key (time, tag_name))",
    L"create table if not exists report_data_analog_year (time timestamptz not null,tag_name text not null,count int not null,sum float8 not null,avg float8 not null,diff float8 not null,first float8 not null,last float8 not null,min float8 not null,min_time timestamptz not null,max float8 not null,max_time timestamptz not null,diff_sum float8 not null,diff_avg float8 not null,diff_min float8 not null,diff_min_time timestamptz not null,diff_max float8 not null,diff_max_time timestamptz not null,primary key (time, tag_name))",
    L"create table if not exists report_data_digital_minute (time timestamptz not null,tag_name text not null,count int not null,uptime int not null,uptime_avg float8 not null,uptime_min int not null,uptime_min_time timestamptz not null,uptime_max int not null,uptime_max_time timestamptz not null,primary key (time, tag_name))",
    L"create table if not exists report_data_digital_hour (time timestamptz not null,tag_name text not null,count int not null,uptime int not null,uptime_avg float8 not null,uptime_min int not null,uptime_min_time timestamptz not null,uptime_max int not null,uptime_max_time timestamptz not null,count_avg float8 not null,count_min int not null,count_min_time timestamptz not null,count_max int not null,count_max_time timestamptz not null,primary key (time, tag_name))",
    L"create table if not exists report_data_digital_day (time timestamptz not null,tag_name text not null,count int not null,uptime int not null,uptime_avg float8 not null,uptime_min int not null,uptime_min_time timestamptz not null,uptime_max int not null,uptime_max_time timestamptz not null,count_avg float8 not null,count_min int not null,count_min_time timestamptz not null,count_max int not null,count_max_time timestamptz not null,primary key (time, tag_name))",
    L"create table if not exists report_data_digital_month (time timestamptz not null,tag_name text not null,count int not null,uptime int not null,uptime_avg float8 not null,uptime_min int not null,uptime_min_time timestamptz not null,uptime_max int not null,uptime_max_time timestamptz not null,count_avg float8 not null,count_min int not null,count_min_time timestamptz not null,count_max int not null,count_max_time timestamptz not null,primary key (time, tag_name))",
    L"create table if not exists report_data_digital_year (time timestamptz not null,tag_name text not null,count int not null,uptime int not null,uptime_avg float8 not null,uptime_min int not null,uptime_min_time timestamptz not null,uptime_max int not null,uptime_max_time timestamptz not null,count_avg float8 not null,count_min int not null,count_min_time timestamptz not null,count_max int not null,count_max_time timestamptz not null,primary key (time, tag_name))",
};

// The statements after the create statement of a minute or hour table.
using SetUp = Texts (*)(int version, const std::wstring& table);

Texts Nothing(int, const std::wstring&) { return {}; }

Texts FreshWith10Days(int version, const std::wstring& table) {
  return {hypertable::State(table),
          hypertable::Create(version, table),
          L"select add_retention_policy('" + table + L"', interval '10 days')",
          hypertable::Compression(version, table, L"tag_name"),
          hypertable::CompressionJob(table),
          hypertable::CompressionPolicy(version, table)};
}

Texts FreshWithoutDays(int version, const std::wstring& table) {
  return {hypertable::State(table), hypertable::Create(version, table),
          hypertable::Compression(version, table, L"tag_name"), hypertable::CompressionJob(table),
          hypertable::CompressionPolicy(version, table)};
}

Texts AdoptedWith10Days(int version, const std::wstring& table) {
  return {hypertable::State(table),
          hypertable::LegacyRetention(table),
          L"select add_retention_policy('" + table + L"', interval '10 days')",
          hypertable::Compression(version, table, L"tag_name"),
          hypertable::CompressionJob(table),
          hypertable::CompressionPolicy(version, table)};
}

Texts CompressedWithTheSameDays(int, const std::wstring& table) {
  return {hypertable::State(table), hypertable::LegacyRetention(table), hypertable::CompressionJob(table)};
}

Texts CompressedWith10DaysInsteadOf30(int, const std::wstring& table) {
  return {hypertable::State(table), hypertable::LegacyRetention(table),
          L"select remove_retention_policy('" + table + L"')",
          L"select add_retention_policy('" + table + L"', interval '10 days')",
          hypertable::CompressionJob(table)};
}

Texts CompressedLosingItsDays(int, const std::wstring& table) {
  return {hypertable::State(table), hypertable::LegacyRetention(table),
          L"select remove_retention_policy('" + table + L"')", hypertable::CompressionJob(table)};
}

bool IsMinuteOrHour(const std::wstring& table) {
  return table.ends_with(L"_minute") || table.ends_with(L"_hour");
}

// The statements that create the ten tables.
Texts TheTables(int version, SetUp setUp) {
  Texts all;
  for (std::size_t i = 0; i < kTables.size(); ++i) {
    all.push_back(kCreates[i]);
    if (!IsMinuteOrHour(kTables[i])) continue;
    const Texts further = setUp(version, kTables[i]);
    all.insert(all.end(), further.begin(), further.end());
  }
  return all;
}

Texts operator+(Texts a, const Texts& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

class ReportStore : public ScriptedTest {
 protected:
  Texts Create(int version, int days) {
    server.Forget();
    TimescaleVersion = version;
    EXPECT_TRUE(dbms->CreateReportDataTables(days));
    return server.Statements();
  }
  // Hypertables with this compression state, this age in their retention policy, and a compression policy.
  void Adopt(const wchar_t* state, const wchar_t* storedDays) {
    for (const std::wstring& table : kTables) {
      server.Answer(hypertable::State(table), {{state}});
      if (storedDays != nullptr) server.Answer(hypertable::LegacyRetention(table), {{storedDays}});
      if (*state == L'1') server.Answer(hypertable::CompressionJob(table), {{L"1001"}});
    }
  }
};

TEST_F(ReportStore, KeepsFourNullsForFivePeriodsInTheFirstRows) {
  server.Answer(kCount, {{L"0"}});
  EXPECT_EQ(Create(0, 10), (Texts{kCreateWatermarks, kCount, kFirstRows} + TheTables(0, Nothing)));
}

TEST_F(ReportStore, ExistingRowsAreNotRepaired) {
  for (const wchar_t* count : {L"1", L"2", L"3"}) {
    server.Answer(kCount, {{count}});
    EXPECT_EQ(Create(0, 10), (Texts{kCreateWatermarks, kCount} + TheTables(0, Nothing)));
  }
}

TEST_F(ReportStore, WithoutACountNoFirstRowsAreStored) {
  EXPECT_EQ(Create(0, 10), (Texts{kCreateWatermarks, kCount} + TheTables(0, Nothing)));
}

TEST_F(ReportStore, FreshMinutesAndHoursGetTheWholeSetupInEveryDialect) {
  server.Answer(kCount, {{L"0"}});
  for (const int version : hypertable::kVersions) {
    EXPECT_EQ(Create(version, 10),
              (Texts{kCreateWatermarks, kCount, kFirstRows} + TheTables(version, FreshWith10Days)));
  }
}

TEST_F(ReportStore, FreshTablesWithoutDaysGetNoRetention) {
  server.Answer(kCount, {{L"2"}});
  for (const int version : hypertable::kVersions) {
    for (const int days : {0, -1}) {
      EXPECT_EQ(Create(version, days),
                (Texts{kCreateWatermarks, kCount} + TheTables(version, FreshWithoutDays)));
    }
  }
}

TEST_F(ReportStore, AdoptedTablesGetTheirRetentionAndCompression) {
  server.Answer(kCount, {{L"2"}});
  Adopt(L"0", nullptr);
  for (const int version : hypertable::kVersions) {
    EXPECT_EQ(Create(version, 10),
              (Texts{kCreateWatermarks, kCount} + TheTables(version, AdoptedWith10Days)));
  }
}

TEST_F(ReportStore, ACompleteStoreIsLeftAsItIs) {
  server.Answer(kCount, {{L"2"}});
  Adopt(L"1", L"\"10 days\"");
  for (const int version : hypertable::kVersions) {
    EXPECT_EQ(Create(version, 10),
              (Texts{kCreateWatermarks, kCount} + TheTables(version, CompressedWithTheSameDays)));
  }
}

TEST_F(ReportStore, ACompleteStoreGetsAnotherRetention) {
  server.Answer(kCount, {{L"2"}});
  Adopt(L"1", L"\"30 days\"");
  for (const int version : hypertable::kVersions) {
    EXPECT_EQ(Create(version, 10),
              (Texts{kCreateWatermarks, kCount} + TheTables(version, CompressedWith10DaysInsteadOf30)));
    EXPECT_EQ(Create(version, 0),
              (Texts{kCreateWatermarks, kCount} + TheTables(version, CompressedLosingItsDays)));
  }
}

TEST_F(ReportStore, NothingFollowsACreateStatementThatFails) {
  TimescaleVersion = 217;
  server.Answer(kCount, {{L"0"}});
  const Texts all = Texts{kCreateWatermarks, kCount, kFirstRows} + TheTables(217, FreshWith10Days);
  const auto failing = std::find(all.begin(), all.end(), kCreates[6]);
  ASSERT_TRUE(dbms->Connect());
  server.FailStatement(static_cast<std::size_t>(failing - all.begin()) + 1);
  EXPECT_FALSE(dbms->CreateReportDataTables(10));
  EXPECT_EQ(server.Statements(), Texts(all.begin(), std::next(failing)));
}

}  // namespace
