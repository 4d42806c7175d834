#include "server/DbmsTest.h"

namespace {

using Lines = std::vector<std::string>;

constexpr char kColumns[] =
    "select column_name, data_type, is_nullable from information_schema.columns where table_name = "
    "'pr_timelist' order by ordinal_position";

// The versions of the table's description at the server: they change with each alteration.
constexpr char kDescription[] =
    "select string_agg(xmin::text, ',' order by attnum), pg_relation_filenode('pr_timelist') from "
    "pg_attribute where attrelid = 'pr_timelist'::regclass";

constexpr char kIntervals[] =
    "select page_name, (extract(epoch from start_time) * 1000)::bigint, "
    "(extract(epoch from end_time) * 1000)::bigint, user_list from pr_timelist order by 1, 2";

const Lines kCurrent = {"page_name|text|NO", "start_time|timestamp with time zone|NO",
                        "end_time|timestamp with time zone|YES", "user_list|ARRAY|YES"};

class PageTimeList : public DbmsTest {
 protected:
  std::shared_ptr<Dbms> NewList() {
    auto dbms = NewDbms();
    EXPECT_TRUE(dbms->CreatePageTimeListTable());
    return dbms;
  }

  // Makes the table of an older release, with one interval.
  void MakeOld(const std::string& timeType, const std::string& moreColumns = "") {
    Run("create table pr_timelist (page_name text NOT NULL,start_time " + timeType + " NOT NULL,end_time " +
        timeType + moreColumns + ",primary key (page_name,start_time))");
    Run("insert into pr_timelist (page_name, start_time) values ('Page', '2023-11-14 22:13:20.123')");
  }
};

TEST_F(PageTimeList, AFreshTableHasItsLayout) {
  NewList();
  EXPECT_EQ(Rows(kColumns), kCurrent);
  EXPECT_EQ(Value("select pg_get_constraintdef(oid) from pg_constraint where conname = 'pr_timelist_pkey'"),
            "PRIMARY KEY (page_name, start_time)");
}

TEST_F(PageTimeList, ACurrentTableIsLeftAsItIs) {
  const auto dbms = NewList();
  EXPECT_TRUE(dbms->InsertPageTimeList(L"Page", 1000, {L"op"}));
  const Lines description = Rows(kDescription);
  EXPECT_TRUE(dbms->CreatePageTimeListTable());
  EXPECT_EQ(Rows(kDescription), description);
  EXPECT_EQ(Rows(kIntervals), Lines{"Page|1000|\\N|{op}"});
}

TEST_F(PageTimeList, ATableWithoutUsersGetsThem) {
  MakeOld("timestamptz");
  EXPECT_TRUE(NewDbms()->CreatePageTimeListTable());
  EXPECT_EQ(Rows(kColumns), kCurrent);
  EXPECT_EQ(Rows("select page_name, user_list from pr_timelist"), Lines{"Page|\\N"});
}

TEST_F(PageTimeList, TimesWithoutAZoneAreConverted) {
  MakeOld("timestamp", ",user_list text[]");
  EXPECT_TRUE(NewDbms()->CreatePageTimeListTable());
  EXPECT_EQ(Rows(kColumns), kCurrent);
  EXPECT_EQ(Value("select start_time = '2023-11-14 22:13:20.123'::timestamptz from pr_timelist"), "t");
}

TEST_F(PageTimeList, TheOldestLayoutIsMigratedOnce) {
  MakeOld("timestamp without time zone");
  const auto dbms = NewDbms();
  EXPECT_TRUE(dbms->CreatePageTimeListTable());
  EXPECT_EQ(Rows(kColumns), kCurrent);
  const Lines description = Rows(kDescription);
  EXPECT_TRUE(dbms->CreatePageTimeListTable());
  EXPECT_EQ(Rows(kDescription), description);
  EXPECT_TRUE(dbms->InsertPageTimeList(L"Page", 1800000000000, {L"op"}));
  EXPECT_EQ(Value("select count(*) from pr_timelist"), "2");
}

TEST_F(PageTimeList, AFailedConversionKeepsTheUsersAndIsTriedAgain) {
  MakeOld("text");
  const auto dbms = NewDbms();
  EXPECT_FALSE(dbms->CreatePageTimeListTable());
  EXPECT_NE(std::wstring(dbms->GetLastError()).find(L"cannot be cast automatically"), std::wstring::npos);
  EXPECT_EQ(Rows(kColumns),
            (Lines{"page_name|text|NO", "start_time|text|NO", "end_time|text|YES", "user_list|ARRAY|YES"}));
  Run("alter table pr_timelist alter column start_time type timestamp using start_time::timestamp, "
      "alter column end_time type timestamp using end_time::timestamp");
  EXPECT_TRUE(dbms->CreatePageTimeListTable());
  EXPECT_EQ(Rows(kColumns), kCurrent);
}

TEST_F(PageTimeList, IntervalsOpenWithTheirUsers) {
  const auto dbms = NewList();
  EXPECT_TRUE(dbms->InsertPageTimeList(L"A", 1700000000123, {L"op", L"chief engineer", L""}));
  EXPECT_TRUE(dbms->InsertPageTimeList(L"B", 1700000000000, {L"op"}));
  EXPECT_TRUE(dbms->InsertPageTimeList(L"C", 1700000000000, {}));
  EXPECT_EQ(Rows(kIntervals), (Lines{"A|1700000000123|\\N|{op,\"chief engineer\",\"\"}",
                                     "B|1700000000000|\\N|{op}", "C|1700000000000|\\N|\\N"}));
}

TEST_F(PageTimeList, APageOpensOnceAtATime) {
  const auto dbms = NewList();
  EXPECT_TRUE(dbms->InsertPageTimeList(L"A", 1000, {L"op"}));
  EXPECT_FALSE(dbms->InsertPageTimeList(L"A", 1000, {L"other"}));
  EXPECT_NE(std::wstring(dbms->GetLastError()).find(L"pr_timelist_pkey"), std::wstring::npos);
  EXPECT_TRUE(dbms->InsertPageTimeList(L"B", 1000, {}));
  EXPECT_EQ(Rows(kIntervals), (Lines{"A|1000|\\N|{op}", "B|1000|\\N|\\N"}));
}

TEST_F(PageTimeList, EveryOpenIntervalOfAPageIsClosedAtOnce) {
  const auto dbms = NewList();
  EXPECT_TRUE(dbms->InsertPageTimeList(L"A", 1000, {}));
  EXPECT_TRUE(dbms->ClosePageTimeList(L"A", 1500));
  EXPECT_TRUE(dbms->InsertPageTimeList(L"A", 2000, {}));
  EXPECT_TRUE(dbms->InsertPageTimeList(L"A", 3000, {}));
  EXPECT_TRUE(dbms->InsertPageTimeList(L"B", 3000, {}));
  EXPECT_TRUE(dbms->ClosePageTimeList(L"A", 1700000000123));
  EXPECT_EQ(Rows(kIntervals), (Lines{"A|1000|1500|\\N", "A|2000|1700000000123|\\N",
                                     "A|3000|1700000000123|\\N", "B|3000|\\N|\\N"}));
}

TEST_F(PageTimeList, ClosingAPageThatIsNotOpenChangesNothing) {
  const auto dbms = NewList();
  EXPECT_TRUE(dbms->InsertPageTimeList(L"A", 1000, {}));
  EXPECT_TRUE(dbms->ClosePageTimeList(L"A", 2000));
  EXPECT_TRUE(dbms->ClosePageTimeList(L"A", 3000));
  EXPECT_TRUE(dbms->ClosePageTimeList(L"unknown", 3000));
  EXPECT_EQ(Rows(kIntervals), Lines{"A|1000|2000|\\N"});
}

TEST_F(PageTimeList, NamesOfEveryPlaneAreStored) {
  const auto dbms = NewList();
  EXPECT_TRUE(dbms->InsertPageTimeList(kEveryPlane, 1000, {kEveryPlane}));
  EXPECT_TRUE(dbms->ClosePageTimeList(kEveryPlane, 2000));
  EXPECT_EQ(
      Value(std::string("select count(*) from pr_timelist where end_time is not null and page_name = ") +
            kEveryPlaneSql + " and user_list = array[page_name]"),
      "1");
}

TEST_F(PageTimeList, KeepsAQuoteBreakingItsStatement) {
  const auto dbms = NewList();
  EXPECT_FALSE(dbms->InsertPageTimeList(L"it's", 1000, {}));
  EXPECT_FALSE(dbms->InsertPageTimeList(L"A", 1000, {L"o'p"}));
  EXPECT_FALSE(dbms->ClosePageTimeList(L"it's", 1000));
  EXPECT_EQ(Value("select count(*) from pr_timelist"), "0");
}

TEST_F(PageTimeList, TheTimestampTableHasItsLayout) {
  const auto dbms = NewDbms();
  EXPECT_TRUE(dbms->CreatePageTimestampTable());
  EXPECT_TRUE(dbms->CreatePageTimestampTable());
  EXPECT_EQ(Rows("select column_name, data_type, is_nullable from information_schema.columns where "
                 "table_name = 'pr_timestamp' order by ordinal_position"),
            (Lines{"page_name|text|NO", "time|timestamp with time zone|NO", "progresstime|integer|NO",
                   "comment|text|YES"}));
  EXPECT_EQ(Value("select pg_get_constraintdef(oid) from pg_constraint where conname = 'pr_timestamp_pkey'"),
            "PRIMARY KEY (page_name, \"time\", progresstime)");
}

}  // namespace
