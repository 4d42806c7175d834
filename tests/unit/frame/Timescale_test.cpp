#include "DbmsAPI/frame/Timescale.h"

#include "HypertableTexts.h"
#include "scripted/ScriptedTest.h"

namespace {

constexpr wchar_t kVersionQuery[] = L"select extversion from pg_extension where extname = 'timescaledb'";

class Timescale : public ScriptedTest {
 protected:
  Timescale() { dbms->Connect(); }

  int Detect(const wchar_t* version) {
    TimescaleVersion = 0;
    server.Answer(kVersionQuery, {{version}});
    DetectTimescaleVersion(dbms->GetConnection().get());
    return TimescaleVersion;
  }
};

TEST_F(Timescale, TheVersionIsMajorTimesHundredPlusMinor) {
  EXPECT_EQ(Detect(L"2.12.2"), 212);
  EXPECT_EQ(Detect(L"2.13.0"), 213);
  EXPECT_EQ(Detect(L"2.13.1"), 213);
  EXPECT_EQ(Detect(L"2.17.9"), 217);
  EXPECT_EQ(Detect(L"2.18.0"), 218);
  EXPECT_EQ(Detect(L"2.28.3"), 228);
  EXPECT_EQ(Detect(L"2.9"), 209);
  EXPECT_EQ(Detect(L"2.14.0-dev"), 214);
}

TEST_F(Timescale, AVersionWithoutAPointServesAsMajorAndMinor) { EXPECT_EQ(Detect(L"3"), 303); }

TEST_F(Timescale, AVersionWithoutNumbersIsUnknown) { EXPECT_EQ(Detect(L"dev"), 0); }

TEST_F(Timescale, TheNumbersOfAVersionAreWhatItsPartsBeginWith) {
  EXPECT_EQ(Detect(L"13.1"), 1301);
  EXPECT_EQ(Detect(L"  42rest.  3rest"), 4203);
  EXPECT_EQ(Detect(L"+7.+8"), 708);
  EXPECT_EQ(Detect(L"-7.0"), -700);
  EXPECT_EQ(Detect(L"0-dev.0-dev"), 0);
  EXPECT_EQ(Detect(L"."), 0);
  EXPECT_EQ(Detect(L"+-3.+-3"), 0);
}

TEST_F(Timescale, NumbersTooLargeForAVersionAreLimited) {
  EXPECT_EQ(Detect(L"99999999999999999999.99999999999999999999"), 9999 * 100 + 9999);
}

TEST_F(Timescale, WithoutTheExtensionTheVersionStaysAsItWas) {
  DetectTimescaleVersion(dbms->GetConnection().get());
  EXPECT_EQ(TimescaleVersion, 0);
  TimescaleVersion = 217;
  DetectTimescaleVersion(dbms->GetConnection().get());
  EXPECT_EQ(TimescaleVersion, 217);
  EXPECT_EQ(server.Statements(), (Texts{kVersionQuery, kVersionQuery}));
}

TEST_F(Timescale, HypertablesAreMadeInTheDialectOfTheVersion) {
  SACommand command(dbms->GetConnection().get());
  for (const int version : {212, 213}) {
    TimescaleVersion = version;
    CreateHypertable(command, L"alarm");
  }
  EXPECT_EQ(server.Statements(),
            (Texts{L"SELECT create_hypertable('alarm', 'time', chunk_time_interval => INTERVAL '1 day')",
                   L"SELECT create_hypertable('alarm', by_range('time', INTERVAL '1 day'))"}));
}

TEST_F(Timescale, CompressionIsSetInTheDialectOfTheVersion) {
  SACommand command(dbms->GetConnection().get());
  for (const int version : {217, 218}) {
    TimescaleVersion = version;
    SetCompression(command, L"datalog", L"tag_name");
  }
  EXPECT_EQ(
      server.Statements(),
      (Texts{
          L"ALTER TABLE datalog SET (timescaledb.compress, timescaledb.compress_orderby = 'time', timescaledb.compress_segmentby = 'tag_name')",
          L"ALTER TABLE datalog SET (timescaledb.enable_columnstore,timescaledb.orderby = 'time',timescaledb.segmentby = 'tag_name')"}));
}

TEST_F(Timescale, ACompressionPolicyIsAddedInTheDialectOfTheVersion) {
  SACommand command(dbms->GetConnection().get());
  for (const int version : {217, 218}) {
    TimescaleVersion = version;
    AddCompressionPolicy(command, L"alarm");
  }
  EXPECT_EQ(
      server.Statements(),
      (Texts{
          L"SELECT * FROM timescaledb_information.jobs WHERE proc_name = 'policy_compression' AND hypertable_name = 'alarm'",
          L"SELECT add_compression_policy('alarm', INTERVAL '1 day')",
          L"SELECT * FROM timescaledb_information.jobs WHERE proc_name = 'policy_compression' AND hypertable_name = 'alarm'",
          L"CALL add_columnstore_policy('alarm', INTERVAL '1 day')"}));
}

TEST_F(Timescale, APresentCompressionPolicyIsKept) {
  SACommand command(dbms->GetConnection().get());
  server.Answer(hypertable::CompressionJob(L"alarm"), {{L"1001"}});
  AddCompressionPolicy(command, L"alarm");
  EXPECT_EQ(server.Statements(), Texts{hypertable::CompressionJob(L"alarm")});
}

class LegacyRetention : public Timescale {
 protected:
  Texts Set(int days) {
    server.Forget();
    Access::SetRetentionPolicyLegacy(*dbms, L"alarm", days);
    return server.Statements();
  }
  const std::wstring query =
      L"with hypertable as (\tselect id\tfrom _timescaledb_catalog.hypertable\twhere table_name = lower('alarm')), retention as (\tselect config->'hypertable_id' a, config->'drop_after' b\tfrom _timescaledb_config.bgw_job\twhere application_name like 'Retention Policy%') select b from hypertable, retention where a::integer = id";
};

TEST_F(LegacyRetention, TheSameDaysRunTheQueryAlone) {
  server.Answer(query, {{L"\"10 days\""}});
  EXPECT_EQ(Set(10), Texts{query});
}

TEST_F(LegacyRetention, OtherDaysReplaceThePolicy) {
  server.Answer(query, {{L"\"10 days\""}});
  EXPECT_EQ(Set(20), (Texts{query, L"select remove_retention_policy('alarm')",
                            L"select add_retention_policy('alarm', interval '20 days')"}));
}

TEST_F(LegacyRetention, NoDaysRemoveThePolicy) {
  server.Answer(query, {{L"\"10 days\""}});
  EXPECT_EQ(Set(0), (Texts{query, L"select remove_retention_policy('alarm')"}));
  EXPECT_EQ(Set(-1), (Texts{query, L"select remove_retention_policy('alarm')"}));
}

TEST_F(LegacyRetention, WithoutAPolicyOneIsAdded) {
  EXPECT_EQ(Set(1), (Texts{query, L"select add_retention_policy('alarm', interval '1 days')"}));
}

TEST_F(LegacyRetention, WithoutAPolicyAndDaysTheQueryRunsAlone) {
  EXPECT_EQ(Set(0), Texts{query});
  EXPECT_EQ(Set(-5), Texts{query});
}

TEST_F(LegacyRetention, KeepsComparingForEqualityWithTheQuotes) {
  // A day is stored as "1 day": never equal to "1 days", so the policy is replaced at every call.
  server.Answer(query, {{L"\"1 day\""}});
  EXPECT_EQ(Set(1), (Texts{query, L"select remove_retention_policy('alarm')",
                           L"select add_retention_policy('alarm', interval '1 days')"}));
  server.Answer(query, {{L"\"110 days\""}});
  EXPECT_EQ(Set(10).size(), 3u);
  server.Answer(query, {{L"10 days"}});
  EXPECT_EQ(Set(10).size(), 3u);
}

class ViewRetention : public Timescale {
 protected:
  Texts Set(int days) {
    server.Forget();
    Access::SetRetentionPolicy(*dbms, L"datalog_1m", days);
    return server.Statements();
  }
  const std::wstring query =
      L"SELECT config->>'drop_after' FROM timescaledb_information.jobs WHERE hypertable_name = lower('datalog_1m') AND proc_name = 'policy_retention'";
};

TEST_F(ViewRetention, TheSameDaysRunTheQueryAlone) {
  server.Answer(query, {{L"30 days"}});
  EXPECT_EQ(Set(30), Texts{query});
}

TEST_F(ViewRetention, OtherDaysReplaceThePolicy) {
  server.Answer(query, {{L"30 days"}});
  EXPECT_EQ(Set(40), (Texts{query, L"SELECT remove_retention_policy('datalog_1m', if_exists => true)",
                            L"SELECT add_retention_policy('datalog_1m', INTERVAL '40 days')"}));
}

TEST_F(ViewRetention, NoDaysRemoveThePolicy) {
  server.Answer(query, {{L"31 days"}});
  EXPECT_EQ(Set(0), (Texts{query, L"SELECT remove_retention_policy('datalog_1m', if_exists => true)"}));
}

TEST_F(ViewRetention, WithoutAPolicyOneIsAddedForDaysAboveZero) {
  EXPECT_EQ(Set(30), (Texts{query, L"SELECT add_retention_policy('datalog_1m', INTERVAL '30 days')"}));
  EXPECT_EQ(Set(0), Texts{query});
  EXPECT_EQ(Set(-1), Texts{query});
}

TEST_F(ViewRetention, KeepsComparingForContainment) {
  // "40 days" contains "0 days", so the policy stays although it is no longer wanted.
  server.Answer(query, {{L"40 days"}});
  EXPECT_EQ(Set(0), Texts{query});
  server.Answer(query, {{L"130 days"}});
  EXPECT_EQ(Set(30), Texts{query});
}

TEST_F(LegacyRetention, ANameTooLongForTheStatementEndsTheOperationThere) {
  TimescaleVersion = 217;
  const std::wstring name(240, L'x');
  server.Answer(hypertable::LegacyRetention(name), {{L"\"10 days\""}});
  std::vector<std::wstring> reasons;
  bool finished = false;
  try {
    Access::SetRetentionPolicyLegacy(*dbms, name.c_str(), 20);
    finished = true;
  } catch (...) {
  }
  EXPECT_FALSE(finished);
  EXPECT_EQ(server.Statements(), Texts{hypertable::LegacyRetention(name)});
  EXPECT_STREQ(dbms->GetLastError(), L"");
  ASSERT_EQ(debugLines.size(), 1u);
  EXPECT_EQ(debugLines[0].substr(0, 17), L"invalid parameter");
}

}  // namespace
