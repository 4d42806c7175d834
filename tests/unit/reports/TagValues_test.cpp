#include "DbmsAPI/frame/Timescale.h"
#include "HypertableTexts.h"
#include "scripted/ScriptedTest.h"

namespace {

using Records = std::vector<TagValueRecord>;

constexpr wchar_t kCreate[] =
    L"create table if not exists page (time timestamptz NOT NULL,tag_name text NOT NULL,tag_value text NOT NULL,primary key (time,tag_name))";

// A record at a time in seconds, and its row.
TagValueRecord Record(int second) { return {second * 1000, L"T", L"v"}; }
std::wstring Row(int second) { return L"(to_timestamp(" + std::to_wstring(second) + L"), 'T', 'v')"; }

Records ManyRecords(int from, int to) {
  Records records;
  for (int second = from; second < to; ++second) records.push_back(Record(second));
  return records;
}

std::wstring Insert(int from, int to) {
  std::wstring statement = L"insert into Page values " + Row(from);
  for (int second = from + 1; second < to; ++second) statement += L", " + Row(second);
  return statement;
}

class TagValues : public ScriptedTest {
 protected:
  Texts Create(int version, const wchar_t* table = L"page") {
    server.Forget();
    TimescaleVersion = version;
    EXPECT_TRUE(dbms->CreateTagValueTable(table));
    return server.Statements();
  }

  bool Store(const Records& records) {
    EXPECT_TRUE(dbms->Connect());
    server.Forget();
    return dbms->InsertTagValues(L"Page", records);
  }

  // Events of the connection other than statements.
  Texts Events() const {
    Texts events = server.events;
    std::erase(events, L"connected?");
    return events;
  }
};

TEST_F(TagValues, WithoutTheExtensionOnlyTheTableIsMade) { EXPECT_EQ(Create(0), Texts{kCreate}); }

TEST_F(TagValues, AFreshTableIsSetUpWithoutRetentionInEveryDialect) {
  for (const int version : hypertable::kVersions) {
    EXPECT_EQ(Create(version),
              (Texts{kCreate, hypertable::State(L"page"), hypertable::Create(version, L"page"),
                     hypertable::Compression(version, L"page", L"tag_name"),
                     hypertable::CompressionJob(L"page"), hypertable::CompressionPolicy(version, L"page")}));
  }
}

TEST_F(TagValues, AnAdoptedTableIsCompressedInEveryDialect) {
  server.Answer(hypertable::State(L"page"), {{L"0"}});
  for (const int version : hypertable::kVersions) {
    EXPECT_EQ(
        Create(version),
        (Texts{kCreate, hypertable::State(L"page"), hypertable::Compression(version, L"page", L"tag_name"),
               hypertable::CompressionJob(L"page"), hypertable::CompressionPolicy(version, L"page")}));
  }
}

TEST_F(TagValues, ACompressedTableGetsItsPolicyOnly) {
  server.Answer(hypertable::State(L"page"), {{L"1"}});
  for (const int version : hypertable::kVersions) {
    EXPECT_EQ(Create(version),
              (Texts{kCreate, hypertable::State(L"page"), hypertable::CompressionJob(L"page"),
                     hypertable::CompressionPolicy(version, L"page")}));
  }
  server.Answer(hypertable::CompressionJob(L"page"), {{L"1001"}});
  EXPECT_EQ(Create(217), (Texts{kCreate, hypertable::State(L"page"), hypertable::CompressionJob(L"page")}));
}

TEST_F(TagValues, KeepsTheNameLoweredInEveryStepOfTheCreation) {
  EXPECT_EQ(Create(217, L"PAGE"), Create(217, L"page"));
  EXPECT_EQ(
      Create(0, L"AZ_az@[09\u00c4\u0130"),
      Texts{
          L"create table if not exists az_az@[09\u00c4\u0130 (time timestamptz NOT NULL,tag_name text NOT NULL,tag_value text NOT NULL,primary key (time,tag_name))"});
}

TEST_F(TagValues, ThePurgeDropsChunksWhereTheExtensionIs) {
  EXPECT_TRUE(dbms->PurgeTagValueTable(L"page", 30));
  EXPECT_EQ(
      server.Statements(),
      (Texts{L"select drop_chunks('page', INTERVAL '30 days')",
             L"delete from pr_timelist where start_time<NOW()- INTERVAL '30 days' and page_name='page'"}));
}

TEST_F(TagValues, ThePurgeDeletesRowsWhereItIsNot) {
  Access::TimescaleEnabled(*dbms) = false;
  EXPECT_TRUE(dbms->PurgeTagValueTable(L"page", 9223372036854775807));
  EXPECT_EQ(
      server.Statements(),
      (Texts{
          L"delete from page where time < now() - interval '9223372036854775807 days'",
          L"delete from pr_timelist where start_time<NOW()- INTERVAL '9223372036854775807 days' and page_name='page'"}));
}

TEST_F(TagValues, KeepsThePurgedNameUnchanged) {
  for (const bool enabled : {true, false}) {
    server.Forget();
    Access::TimescaleEnabled(*dbms) = enabled;
    EXPECT_TRUE(dbms->PurgeTagValueTable(L"PaGe", -1));
    EXPECT_EQ(
        server.Statements(),
        (Texts{enabled ? L"select drop_chunks('PaGe', INTERVAL '-1 days')"
                       : L"delete from PaGe where time < now() - interval '-1 days'",
               L"delete from pr_timelist where start_time<NOW()- INTERVAL '-1 days' and page_name='PaGe'"}));
  }
}

TEST_F(TagValues, AFailedPurgeOfTheValuesKeepsTheIntervals) {
  server.FailStatement(1);
  EXPECT_FALSE(dbms->PurgeTagValueTable(L"page", 30));
  EXPECT_EQ(server.Statements(), Texts{L"select drop_chunks('page', INTERVAL '30 days')"});
}

TEST_F(TagValues, AVectorIsStoredWithOneCommittedStatement) {
  EXPECT_TRUE(Store({{1700000000123, L"A", L"on"}, {1700000000000, L"B", L"12:30 :1 \u20ac"}}));
  EXPECT_EQ(
      server.Statements(),
      Texts{
          L"insert into Page values (to_timestamp(1700000000.123), 'A', 'on'), (to_timestamp(1.7e+09), 'B', '12:30 :1 \u20ac')"});
  EXPECT_TRUE(server.sent.at(0).binds.empty());
  EXPECT_EQ(Events(), (Texts{L"isolation 1", L"commit", L"isolation -1"}));
}

TEST_F(TagValues, TheLevelOfTheConnectionIsRestored) {
  ASSERT_TRUE(dbms->Connect());
  dbms->GetConnection()->setIsolationLevel(SA_Serializable);
  EXPECT_TRUE(Store(ManyRecords(0, 1)));
  EXPECT_EQ(Events(), (Texts{L"isolation 1", L"commit", L"isolation 3"}));
}

TEST_F(TagValues, AnEmptyVectorConnectsAndIsRefused) {
  EXPECT_FALSE(dbms->InsertTagValues(L"Page", {}));
  EXPECT_EQ(Events(), Texts{L"connect"});
  EXPECT_TRUE(server.sent.empty());
  EXPECT_STREQ(dbms->GetLastError(), L"");
}

TEST_F(TagValues, ThousandRowsMakeABatch) {
  EXPECT_TRUE(Store(ManyRecords(0, 1000)));
  EXPECT_EQ(server.Statements(), Texts{Insert(0, 1000)});
  EXPECT_TRUE(Store(ManyRecords(0, 1001)));
  EXPECT_EQ(server.Statements(), (Texts{Insert(0, 1000), Insert(1000, 1001)}));
  EXPECT_TRUE(Store(ManyRecords(0, 2500)));
  EXPECT_EQ(server.Statements(), (Texts{Insert(0, 1000), Insert(1000, 2000), Insert(2000, 2500)}));
  EXPECT_EQ(Events(), (Texts{L"isolation 1", L"commit", L"commit", L"commit", L"isolation -1"}));
}

TEST_F(TagValues, RecordsWithoutATagAreLeftOut) {
  Records records = ManyRecords(0, 1001);
  for (const std::ptrdiff_t place : {1000, 500, 500, 0}) {
    records.insert(records.begin() + place, {5000, L"", L"lost"});
  }
  EXPECT_TRUE(Store(records));
  EXPECT_EQ(server.Statements(), (Texts{Insert(0, 1000), Insert(1000, 1001)}));
}

TEST_F(TagValues, KeepsLosingTheLastBatchWhenTheLastRecordHasNoTag) {
  Records records = ManyRecords(0, 1500);
  records.push_back({1500000, L"", L"lost"});
  EXPECT_TRUE(Store(records));
  EXPECT_EQ(server.Statements(), Texts{Insert(0, 1000)});
  EXPECT_EQ(Events(), (Texts{L"isolation 1", L"commit", L"isolation -1"}));
}

TEST_F(TagValues, KeepsAnsweringTrueWhenNoRecordHasATag) {
  EXPECT_TRUE(Store({{1000, L"", L"a"}, {2000, L"", L"b"}}));
  EXPECT_TRUE(server.sent.empty());
  EXPECT_EQ(Events(), (Texts{L"isolation 1", L"isolation -1"}));
}

TEST_F(TagValues, KeepsQuotesInTextsAsTheyAre) {
  EXPECT_TRUE(Store({{1000, L"it's", L"'"}}));
  EXPECT_EQ(server.Statements(), Texts{L"insert into Page values (to_timestamp(1), 'it's', ''')"});
}

TEST_F(TagValues, BatchesBeforeAFailureStayCommitted) {
  ASSERT_TRUE(dbms->Connect());
  for (const std::size_t failing : {1u, 2u, 3u}) {
    server.FailStatement(failing, {3, 7, L"ERROR:  duplicate key"});
    EXPECT_FALSE(Store(ManyRecords(0, 2500)));
    EXPECT_EQ(server.sent.size(), failing);
    Texts events = {L"isolation 1"};
    events.insert(events.end(), failing - 1, L"commit");
    events.insert(events.end(), {L"alive?", L"isolation -1"});
    EXPECT_EQ(Events(), events);
    EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  duplicate key");
  }
}

TEST_F(TagValues, TheLevelIsLeftAloneOnALostConnection) {
  ASSERT_TRUE(dbms->Connect());
  server.alive = false;
  server.FailStatement(1);
  EXPECT_FALSE(Store(ManyRecords(0, 1)));
  EXPECT_EQ(Events(), (Texts{L"isolation 1", L"alive?", L"destroy"}));
}

}  // namespace
