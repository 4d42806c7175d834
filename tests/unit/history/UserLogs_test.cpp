#include "DbmsAPI/Diagnostics.h"
#include "DbmsAPI/frame/Timescale.h"
#include "HypertableTexts.h"
#include "scripted/ScriptedTest.h"

namespace {

constexpr wchar_t kCount[] = L"select count(*) from pg_stat_user_tables where relname = lower('user_batch')";
constexpr wchar_t kColumns[] =
    L"select column_name, udt_name, character_maximum_length from information_schema.columns where table_catalog = 'scada' and table_name = lower('user_batch') order by ordinal_position";
constexpr wchar_t kDrop[] = L"drop table user_batch";
constexpr wchar_t kCreate[] =
    L"create table user_batch(time timestamptz not null primary key,n int2,x float8,label varchar(20))";
constexpr wchar_t kAddRetention[] = L"select add_retention_policy('user_batch', interval '30 days')";
constexpr wchar_t kState[] =
    L"select compression_state from _timescaledb_catalog.hypertable where table_name = 'user_batch'";
constexpr wchar_t kSegments[] = L"n, x, label";

const std::vector<UserLogColumn> kDefinition = {{L"n", 0, 0}, {L"x", 1, 0}, {L"label", 2, 20}};

// The columns of a stored table as the catalog lists them.
const scripted::Row kTime = {L"time", L"timestamptz", std::nullopt};
const scripted::Row kN = {L"n", L"int2", std::nullopt};
const scripted::Row kX = {L"x", L"float8", std::nullopt};
const scripted::Row kLabel = {L"label", L"varchar", L"20"};

class UserLogs : public ScriptedTest {
 protected:
  void Stored(scripted::Rows columns) {
    server.Answer(kCount, {{L"1"}});
    server.Answer(kColumns, std::move(columns));
  }
  Texts Create(int version, int days, const std::vector<UserLogColumn>& columns = kDefinition) {
    server.Forget();
    TimescaleVersion = version;
    EXPECT_TRUE(dbms->CreateUserLogTable(L"batch", columns, days));
    return server.Statements();
  }
};

TEST_F(UserLogs, KeepsAQuoteInTheNameOfTheDatabase) {
  server.Answer(kCount, {{L"1"}});
  server.FailStatement(2, {3, 7, L"ERROR:  syntax error"});
  const auto object = Dbms::GetDbms(DbmsType::TirelScada, L"h", 1, L"o'brien", L"u", L"p");
  EXPECT_FALSE(object->CreateUserLogTable(L"batch", kDefinition, 0));
  EXPECT_EQ(
      server.sent.back().statement,
      L"select column_name, udt_name, character_maximum_length from information_schema.columns where table_catalog = 'o'brien' and table_name = lower('user_batch') order by ordinal_position");
}

TEST_F(UserLogs, WithoutTheExtensionOnlyTheTableIsMade) {
  EXPECT_EQ(Create(0, 30), (Texts{kCount, kCreate}));
}

TEST_F(UserLogs, ANewTableGetsTheWholeSetupInEveryDialect) {
  server.Answer(kCount, {{L"0"}});
  server.Answer(kState, {{L"0"}});
  for (const int version : hypertable::kVersions) {
    EXPECT_EQ(Create(version, 30),
              (Texts{kCount, kCreate, hypertable::Create(version, L"user_batch"), kAddRetention, kState,
                     hypertable::Compression(version, L"user_batch", kSegments),
                     hypertable::CompressionJob(L"user_batch"),
                     hypertable::CompressionPolicy(version, L"user_batch")}));
  }
}

TEST_F(UserLogs, ANewTableWithoutDaysGetsNoRetention) {
  server.Answer(kState, {{L"0"}});
  for (const int days : {0, -1}) {
    EXPECT_EQ(Create(217, days), (Texts{kCount, kCreate, hypertable::Create(217, L"user_batch"), kState,
                                        hypertable::Compression(217, L"user_batch", kSegments),
                                        hypertable::CompressionJob(L"user_batch"),
                                        hypertable::CompressionPolicy(217, L"user_batch")}));
  }
}

TEST_F(UserLogs, AStoredTableThatMatchesIsKept) {
  Stored({kTime, kN, kX, kLabel});
  EXPECT_EQ(Create(0, 30), (Texts{kCount, kColumns}));
  server.Answer(kState, {{L"0"}});
  for (const int version : hypertable::kVersions) {
    EXPECT_EQ(Create(version, 30),
              (Texts{kCount, kColumns, hypertable::LegacyRetention(L"user_batch"), kAddRetention, kState,
                     hypertable::Compression(version, L"user_batch", kSegments),
                     hypertable::CompressionJob(L"user_batch"),
                     hypertable::CompressionPolicy(version, L"user_batch")}));
  }
}

TEST_F(UserLogs, ACompressedTableThatMatchesIsLeftAsItIs) {
  Stored({kTime, kN, kX, kLabel});
  server.Answer(kState, {{L"1"}});
  server.Answer(hypertable::LegacyRetention(L"user_batch"), {{L"\"30 days\""}});
  server.Answer(hypertable::CompressionJob(L"user_batch"), {{L"1001"}});
  for (const int version : hypertable::kVersions) {
    EXPECT_EQ(Create(version, 30), (Texts{kCount, kColumns, hypertable::LegacyRetention(L"user_batch"),
                                          kState, hypertable::CompressionJob(L"user_batch")}));
  }
}

TEST_F(UserLogs, OnlyAStateOfZeroTurnsCompressionOn) {
  Stored({kTime, kN, kX, kLabel});
  server.Answer(hypertable::LegacyRetention(L"user_batch"), {{L"\"30 days\""}});
  server.Answer(hypertable::CompressionJob(L"user_batch"), {{L"1001"}});
  server.Answer(kState, {{L"2"}});
  EXPECT_EQ(Create(217, 30), (Texts{kCount, kColumns, hypertable::LegacyRetention(L"user_batch"), kState,
                                    hypertable::CompressionJob(L"user_batch")}));
}

TEST_F(UserLogs, KeepsComparingWithoutRegardToCase) {
  Stored({{L"moment", L"date", std::nullopt},
          {L"N", L"INT2", std::nullopt},
          {L"X", L"Float8", std::nullopt},
          {L"LABEL", L"VARCHAR", L"20"}});
  EXPECT_EQ(Create(0, 30), (Texts{kCount, kColumns}));
}

TEST_F(UserLogs, ATableThatDiffersIsDroppedAndCreatedAgain) {
  const scripted::Rows tables[] = {
      {kTime},                                                           // none but the time
      {kTime, kN, kX},                                                   // one missing
      {kTime, kN, kX, kLabel, {L"more", L"int2", std::nullopt}},         // one too many
      {kTime, kX, kN, kLabel},                                           // another order
      {kTime, {L"m", L"int2", std::nullopt}, kX, kLabel},                // another name
      {kTime, {L"n", L"int4", std::nullopt}, kX, kLabel},                // another type
      {kTime, kN, {L"x", L"float4", std::nullopt}, kLabel},              // another type
      {kTime, kN, kX, {L"label", L"text", std::nullopt}},                // another type
      {kTime, kN, kX, {L"label", L"text", L"20"}},                       // another type
      {kTime, kN, kX, {L"label", L"varchar", L"21"}},                    // another length
      {kTime, kN, kX, {L"label", L"varchar", std::nullopt}},             // no length
      {kTime, kN, {L"x", L"float8", std::nullopt}, {L"labe", L"", L""}}  // a name that is shorter
  };
  for (const scripted::Rows& columns : tables) {
    Stored(columns);
    EXPECT_EQ(Create(0, 30), (Texts{kCount, kColumns, kDrop, kCreate}));
  }
}

TEST_F(UserLogs, ATableThatIsNotFoundUnderTheConnectionsNameIsLookedUpUnderTheServers) {
  const std::wstring columns =
      L"select column_name, udt_name, character_maximum_length from information_schema.columns where table_catalog = 'plant' and table_name = lower('user_batch') order by ordinal_position";
  Stored({});
  server.Answer(L"select current_database()", {{L"plant"}});
  server.Answer(columns, {kTime, kN, kX, kLabel});
  EXPECT_EQ(Create(0, 30), (Texts{kCount, kColumns, L"select current_database()", columns}));

  server.Answer(columns, {});
  EXPECT_EQ(Create(0, 30), (Texts{kCount, kColumns, L"select current_database()", columns, kDrop, kCreate}));
}

TEST_F(UserLogs, ATableCreatedAgainGetsTheSetupOfANewOne) {
  Stored({kTime, kN});
  server.Answer(kState, {{L"0"}});
  EXPECT_EQ(
      Create(218, 30),
      (Texts{kCount, kColumns, kDrop, kCreate, hypertable::Create(218, L"user_batch"), kAddRetention, kState,
             hypertable::Compression(218, L"user_batch", kSegments),
             hypertable::CompressionJob(L"user_batch"), hypertable::CompressionPolicy(218, L"user_batch")}));
}

TEST_F(UserLogs, ADroppedTableStaysDroppedWhenItCannotBeCreated) {
  Stored({kTime, kN});
  ASSERT_TRUE(dbms->Connect());
  server.FailStatement(4, {3, 7, L"ERROR:  disk full"});
  EXPECT_FALSE(dbms->CreateUserLogTable(L"batch", kDefinition, 30));
  EXPECT_EQ(server.Statements(), (Texts{kCount, kColumns, kDrop, kCreate}));
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  disk full");
}

TEST_F(UserLogs, ATableWithoutColumnsHasItsTime) {
  EXPECT_EQ(Create(0, 30, {}),
            (Texts{kCount, L"create table user_batch(time timestamptz not null primary key)"}));
  Stored({kTime});
  EXPECT_EQ(Create(0, 30, {}), (Texts{kCount, kColumns}));
}

TEST_F(UserLogs, ColumnNamesAreUsedUnchanged) {
  EXPECT_EQ(
      Create(0, 30, {{L"Speed", 1, 0}, {L"\"my text\"", 2, 5}}),
      (Texts{
          kCount,
          L"create table user_batch(time timestamptz not null primary key,Speed float8,\"my text\" varchar(5))"}));
}

TEST_F(UserLogs, KeepsColumnsOfAnotherTypeCodeWithoutAType) {
  EXPECT_EQ(Create(0, 30, {{L"n", 0, 0}, {L"odd", 3, 0}}),
            (Texts{kCount, L"create table user_batch(time timestamptz not null primary key,n int2,od)"}));
  EXPECT_EQ(Create(0, 30, {{L"odd", -1, 0}, {L"n", 0, 0}}),
            (Texts{kCount, L"create table user_batch(time timestamptz not null primary key,oddn int2)"}));
  Stored({kTime, {L"odd", L"jsonb", std::nullopt}});
  EXPECT_EQ(Create(0, 30, {{L"odd", 3, 0}}), (Texts{kCount, kColumns}));
}

TEST_F(UserLogs, TheTableNameIsLowerCase) {
  EXPECT_TRUE(dbms->CreateUserLogTable(L"BaTch_9Z", {{L"n", 0, 0}}, 0));
  EXPECT_EQ(server.Statements(),
            (Texts{L"select count(*) from pg_stat_user_tables where relname = lower('user_batch_9z')",
                   L"create table user_batch_9z(time timestamptz not null primary key,n int2)"}));
}

TEST_F(UserLogs, LettersBeyondAToZFoldAsTheServerFoldsThem) {
  EXPECT_TRUE(dbms->CreateUserLogTable(L"\xc4rger", {{L"n", 0, 0}}, 0));
  EXPECT_EQ(server.Statements(),
            (Texts{L"select count(*) from pg_stat_user_tables where relname = lower('user_\xc4rger')",
                   L"create table user_\xc4rger(time timestamptz not null primary key,n int2)"}));
}

TEST_F(UserLogs, ANameThatDoesNotFitEndsTheOperationAndNothingElse) {
  Texts reports;
  SetDbmsInvalidParameterHandler([&](const wchar_t* reason) { reports.emplace_back(reason); });
  EXPECT_TRUE(dbms->CreateUserLogTable(std::wstring(58, L'n').c_str(), kDefinition, 0));
  EXPECT_EQ(server.sent.size(), 2u);
  EXPECT_TRUE(reports.empty());

  server.Forget();
  EXPECT_FALSE(dbms->CreateUserLogTable(std::wstring(59, L'n').c_str(), kDefinition, 0));
  EXPECT_TRUE(server.sent.empty());
  EXPECT_EQ(reports.size(), 1u);
  EXPECT_TRUE(debugLines.empty());
  EXPECT_STREQ(dbms->GetLastError(), L"");
}

TEST_F(UserLogs, ADatabaseOfConnectionKeywordsIsComparedByItsOwnName) {
  const auto keywords =
      Dbms::GetDbms(DbmsType::TirelScada, L"h", 1, L"dbname=scada connect_timeout=3", L"u", L"p");
  server.Answer(L"select current_database()", {{L"scada"}});
  EXPECT_TRUE(keywords->CreateUserLogTable(L"batch", kDefinition, 0));
  EXPECT_EQ(server.Statements(), (Texts{kCount, kCreate}));

  server.Forget();
  Stored({kTime, kN, kX, kLabel});
  EXPECT_TRUE(keywords->CreateUserLogTable(L"batch", kDefinition, 0));
  EXPECT_EQ(server.Statements(), (Texts{kCount, L"select current_database()", kColumns}));
}

TEST_F(UserLogs, ADatabaseWhoseNameStaysUnknownDropsNothing) {
  const auto service = Dbms::GetDbms(DbmsType::TirelScada, L"h", 1, L"service=plant", L"u", L"p");
  ASSERT_TRUE(service->Connect());
  server.Answer(kCount, {{L"1"}});
  server.FailStatement(2);
  EXPECT_FALSE(service->CreateUserLogTable(L"batch", kDefinition, 0));
  EXPECT_EQ(server.Statements(), (Texts{kCount, L"select current_database()"}));
}

}  // namespace
