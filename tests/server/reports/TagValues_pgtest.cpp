#include <SQLAPI.h>

#include "server/DbmsTest.h"

namespace {

using Lines = std::vector<std::string>;
using Records = std::vector<TagValueRecord>;
using Queue = std::deque<Records>;

constexpr std::int64_t kStart = 1700000000123;

Records ManyRecords(int count) {
  Records records;
  for (int i = 0; i < count; ++i) records.push_back({kStart + i, L"T", std::to_wstring(i)});
  return records;
}

class TagValues : public DbmsTest {
 protected:
  // An object with the tables of the page "page".
  std::shared_ptr<Dbms> NewPage(DbmsType type = DbmsType::TirelScada) {
    auto dbms = NewDbms(type);
    EXPECT_TRUE(dbms->CreateTagValueTable(L"page"));
    EXPECT_TRUE(dbms->CreatePageTimeListTable());
    return dbms;
  }

  std::string Count() { return Value("select count(*) from page"); }
};

// The isolation level of later transactions in the object's session.
std::wstring Level(Dbms& dbms) {
  SACommand command(dbms.GetConnection().get(), L"select current_setting('default_transaction_isolation')");
  command.Execute();
  command.FetchNext();
  return command.Field(1).asString().operator const SAChar*();
}

TEST_F(TagValues, TheTableHasItsLayout) {
  NewPage();
  EXPECT_EQ(Rows("select column_name, data_type, is_nullable from information_schema.columns where "
                 "table_name = 'page' order by ordinal_position"),
            (Lines{"time|timestamp with time zone|NO", "tag_name|text|NO", "tag_value|text|NO"}));
  EXPECT_EQ(Value("select pg_get_constraintdef(oid) from pg_constraint where conname = 'page_pkey'"),
            "PRIMARY KEY (\"time\", tag_name)");
}

TEST_F(TagValues, ATableThatExistsKeepsItsRows) {
  const auto dbms = NewPage();
  EXPECT_TRUE(dbms->InsertTagValues(L"page", ManyRecords(3)));
  EXPECT_TRUE(dbms->CreateTagValueTable(L"page"));
  EXPECT_EQ(Count(), "3");
}

TEST_F(TagValues, ManyValuesAreStoredInThreeCommittedStatements) {
  EXPECT_TRUE(NewPage()->InsertTagValues(L"page", ManyRecords(2500)));
  EXPECT_EQ(Rows("select count(*), min(tag_value::int), max(tag_value::int) from page group by xmin::text "
                 "order by 2"),
            (Lines{"1000|0|999", "1000|1000|1999", "500|2000|2499"}));
}

TEST_F(TagValues, ADuplicateRejectsItsStatementWhole) {
  const auto dbms = NewPage();
  EXPECT_FALSE(dbms->InsertTagValues(L"page", {{1, L"A", L"1"}, {2, L"A", L"2"}, {1, L"A", L"3"}}));
  EXPECT_NE(std::wstring(dbms->GetLastError()).find(L"page_pkey"), std::wstring::npos);
  EXPECT_EQ(Count(), "0");
  EXPECT_TRUE(dbms->InsertTagValues(L"page", {{1, L"A", L"1"}, {1, L"B", L"1"}}));
  EXPECT_EQ(Count(), "2");
}

TEST_F(TagValues, BatchesBeforeADuplicateStay) {
  Records records = ManyRecords(2500);
  records[1700].time = records[1600].time;
  EXPECT_FALSE(NewPage()->InsertTagValues(L"page", records));
  EXPECT_EQ(Value("select max(tag_value::int) from page"), "999");
  EXPECT_EQ(Count(), "1000");
}

TEST_F(TagValues, KeepsLosingTheLastBatchWhenTheLastRecordHasNoTag) {
  Records records = ManyRecords(1500);
  records.push_back({kStart, L"", L"lost"});
  EXPECT_TRUE(NewPage()->InsertTagValues(L"page", records));
  EXPECT_EQ(Count(), "1000");
}

TEST_F(TagValues, StoringRunsAtReadCommittedAndRestoresTheLevel) {
  const auto dbms = NewPage();
  Run("create function note() returns trigger language plpgsql as "
      "$$ begin new.tag_value := current_setting('transaction_isolation'); return new; end $$;"
      "create trigger note before insert on page for each row execute function note()");
  dbms->GetConnection()->setIsolationLevel(SA_Serializable);
  EXPECT_TRUE(dbms->InsertTagValues(L"page", ManyRecords(1)));
  EXPECT_EQ(Value("select tag_value from page"), "read committed");
  EXPECT_EQ(Level(*dbms), L"serializable");
  EXPECT_FALSE(dbms->InsertTagValues(L"page", ManyRecords(1)));
  EXPECT_EQ(Level(*dbms), L"serializable");
  EXPECT_EQ(dbms->GetConnection()->IsolationLevel(), SA_Serializable);
}

TEST_F(TagValues, KeepsReadCommittedWhereTheLevelIsUnknown) {
  Run("alter database " + Value("select current_database()") +
      " set default_transaction_isolation = serializable");
  const auto dbms = NewPage();
  EXPECT_EQ(Level(*dbms), L"serializable");
  EXPECT_TRUE(dbms->InsertTagValues(L"page", ManyRecords(1)));
  EXPECT_EQ(Level(*dbms), L"read committed");
}

TEST_F(TagValues, MillisecondsGoThereAndBack) {
  const std::vector<std::int64_t> times = {
      -62135596800000, -1, 0, 1, 999, 1700000000000, 1700000000123, 1700000000999, 253402300799999};
  Records records;
  Lines expected;
  for (const std::int64_t time : times) {
    records.push_back({time, L"T", L"v"});
    expected.push_back(std::to_string(time));
  }
  EXPECT_TRUE(NewPage()->InsertTagValues(L"page", records));
  EXPECT_EQ(Rows("select (extract(epoch from time) * 1000)::bigint from page order by time"), expected);
}

TEST_F(TagValues, TextsOfEveryPlaneAreStored) {
  const auto dbms = NewPage();
  Queue queue = {{{2, kEveryPlane, kEveryPlane}}};
  EXPECT_TRUE(dbms->InsertTagValues(L"page", {{1, kEveryPlane, kEveryPlane}}));
  EXPECT_TRUE(dbms->InsertTagValueQueue(L"page", queue));
  EXPECT_EQ(Value(std::string("select count(*) from page where tag_name = ") + kEveryPlaneSql +
                  " and tag_value = tag_name"),
            "2");
}

TEST_F(TagValues, TextsThatLookLikeParametersAreStoredAsTheyAre) {
  EXPECT_TRUE(NewPage()->InsertTagValues(L"page", {{1, L"A:1", L"12:30:00 :x ::text {} $1 \\ \" --"}}));
  EXPECT_EQ(Rows("select tag_name, tag_value from page"), Lines{"A:1|12:30:00 :x ::text {} $1 \\ \" --"});
}

TEST_F(TagValues, KeepsAQuoteBreakingItsStatement) {
  const auto dbms = NewPage();
  Queue queue = {{{1, L"it's", L"v"}}};
  EXPECT_FALSE(dbms->InsertTagValues(L"page", {{1, L"T", L"it's"}}));
  EXPECT_FALSE(dbms->InsertTagValueQueue(L"page", queue));
  EXPECT_EQ(Count(), "0");
}

TEST_F(TagValues, AQueueIsStoredWholeAndEmptied) {
  Queue queue = {ManyRecords(1500), {}, {{kStart, L"A", L"last"}}};
  EXPECT_TRUE(NewPage()->InsertTagValueQueue(L"page", queue));
  EXPECT_TRUE(queue.empty());
  EXPECT_EQ(Rows("select count(*), count(distinct xmin::text) from page"), Lines{"1501|1"});
}

TEST_F(TagValues, ADuplicateRejectsAQueueWhole) {
  const auto dbms = NewPage();
  Queue queue = {ManyRecords(2), ManyRecords(1)};
  EXPECT_FALSE(dbms->InsertTagValueQueue(L"page", queue));
  EXPECT_TRUE(queue.empty());
  EXPECT_EQ(Count(), "0");
}

TEST_F(TagValues, KeepsQueuesWithUntaggedRecordsRefused) {
  const auto dbms = NewPage();
  const TagValueRecord tagged = {1, L"A", L"v"};
  const TagValueRecord untagged = {2, L"", L"v"};
  const Queue refused[] = {{{tagged, untagged, tagged}}, {{tagged}, {untagged}}, {{untagged}}, {{}}};
  for (Queue queue : refused) {
    EXPECT_FALSE(dbms->InsertTagValueQueue(L"page", queue));
    EXPECT_NE(std::wstring(dbms->GetLastError()).find(L"syntax error"), std::wstring::npos);
    EXPECT_TRUE(queue.empty());
  }
  EXPECT_EQ(Count(), "0");
  Queue leading = {{untagged, tagged}};
  EXPECT_TRUE(dbms->InsertTagValueQueue(L"page", leading));
  EXPECT_EQ(Count(), "1");
}

TEST_F(TagValues, NothingToStoreIsRefused) {
  const auto dbms = NewPage();
  Queue queue;
  EXPECT_FALSE(dbms->InsertTagValueQueue(L"page", queue));
  EXPECT_FALSE(dbms->InsertTagValues(L"page", {}));
  EXPECT_STREQ(dbms->GetLastError(), L"");
}

TEST_F(TagValues, ThePurgeRemovesWhatIsOlderThanItsDays) {
  const auto dbms = NewPage(DbmsType::PostgreSQL);
  Run("insert into page select now() - interval '1 day' * n, 'T', n from generate_series(1, 40) n;"
      "insert into pr_timelist select 'page', now() - interval '1 day' * n from generate_series(1, 40) n;"
      "insert into pr_timelist select 'other', now() - interval '40 days'");
  EXPECT_TRUE(dbms->PurgeTagValueTable(L"page", 30));
  EXPECT_EQ(Value("select string_agg(tag_value, ',' order by time) from page where tag_value::int > 27"),
            "29,28");
  EXPECT_EQ(Rows("select page_name, count(*) from pr_timelist group by 1 order by 1"),
            (Lines{"other|1", "page|29"}));
}

TEST_F(TagValues, KeepsFoldingAPurgedNameToTheServer) {
  const auto dbms = NewPage(DbmsType::PostgreSQL);
  EXPECT_TRUE(dbms->CreateTagValueTable(L"PAGE_One"));
  EXPECT_EQ(Value("select count(*) from pg_class where relname = 'page_one'"), "1");
  EXPECT_TRUE(dbms->InsertTagValues(L"PAGE_One", ManyRecords(2)));
  Run("insert into pr_timelist values ('PAGE_One', now() - interval '9 days'), "
      "('page_one', now() - interval '9 days')");
  EXPECT_TRUE(dbms->PurgeTagValueTable(L"PAGE_One", 8));
  EXPECT_EQ(Value("select count(*) from page_one"), "0");
  EXPECT_EQ(Rows("select page_name from pr_timelist"), Lines{"page_one"});
}

TEST_F(TagValues, APurgeByChunksWithoutTheExtensionLeavesEverything) {
  const auto dbms = NewPage();
  EXPECT_TRUE(dbms->InsertTagValues(L"page", ManyRecords(2)));
  EXPECT_TRUE(dbms->InsertPageTimeList(L"page", kStart, {}));
  EXPECT_FALSE(dbms->PurgeTagValueTable(L"page", 1));
  EXPECT_NE(
      std::wstring(dbms->GetLastError()).find(L"function drop_chunks(unknown, interval) does not exist"),
      std::wstring::npos);
  EXPECT_EQ(Count(), "2");
  EXPECT_EQ(Value("select count(*) from pr_timelist"), "1");
}

TEST_F(TagValues, APurgeWithoutTheTimeListStillRemovesTheValues) {
  const auto dbms = NewPage(DbmsType::PostgreSQL);
  EXPECT_TRUE(dbms->InsertTagValues(L"page", ManyRecords(2)));
  Run("drop table pr_timelist");
  EXPECT_FALSE(dbms->PurgeTagValueTable(L"page", 1));
  EXPECT_EQ(Count(), "0");
}

}  // namespace
