#include "server/DbmsTest.h"

namespace {

using Lines = std::vector<std::string>;

constexpr char kLayout[] =
    "select column_name, data_type, is_nullable from information_schema.columns "
    "where table_schema = 'public' and table_name = 'signinfo_table' order by ordinal_position";
const Lines kCurrentLayout = {"time|timestamp with time zone|NO",
                              "user_id|text|NO",
                              "two_factor|text|NO",
                              "req_id|integer|NO",
                              "comment|text|NO",
                              "data|jsonb|NO"};

// The table of older releases.
constexpr char kOldTable[] =
    "create table signinfo_table (time timestamptz not null, signer text not null, comment text not null)";
constexpr char kOldRow[] = "insert into signinfo_table values (now(), 'op', 'done')";

class Signatures : public DbmsTest {
 protected:
  std::shared_ptr<Dbms> dbms;
  void SetUp() override {
    DbmsTest::SetUp();
    dbms = NewDbms();
  }
};

TEST_F(Signatures, TheTableIsMadeAndTakesASignatureOncePerUserAndTime) {
  EXPECT_TRUE(dbms->CreateSignatureTable());
  EXPECT_EQ(Rows(kLayout), kCurrentLayout);
  const char* signature =
      "insert into signinfo_table values (to_timestamp(1700000000), 'op', 'card', 7, 'ok', '{\"a\": 1}')";
  Run(signature);
  EXPECT_THROW(Run(signature), std::runtime_error);
}

TEST_F(Signatures, ACurrentTableKeepsItsRows) {
  ASSERT_TRUE(dbms->CreateSignatureTable());
  Run("insert into signinfo_table values (now(), 'op', 'card', 7, 'ok', '{}')");
  EXPECT_TRUE(dbms->CreateSignatureTable());
  EXPECT_EQ(Value("select count(*) from signinfo_table"), "1");
}

TEST_F(Signatures, AnOldTableIsReplacedByAnEmptyOne) {
  Run(kOldTable);
  Run(kOldRow);
  EXPECT_TRUE(dbms->CreateSignatureTable());
  EXPECT_EQ(Rows(kLayout), kCurrentLayout);
  EXPECT_EQ(Value("select count(*) from signinfo_table"), "0");
}

TEST_F(Signatures, ATableThatHasTheUserAndIsOtherwiseOldIsLeftAsItIs) {
  Run("create table signinfo_table (user_id text, note text)");
  Run("insert into signinfo_table values ('op', 'n')");
  EXPECT_TRUE(dbms->CreateSignatureTable());
  EXPECT_EQ(Rows("select * from signinfo_table"), Lines{"op|n"});
}

TEST_F(Signatures, KeepsTakingAUserOfAnotherSchemaForItsOwn) {
  Run("create schema other");
  Run("create table other.signinfo_table (user_id text)");
  Run(kOldTable);
  Run(kOldRow);
  EXPECT_TRUE(dbms->CreateSignatureTable());
  EXPECT_EQ(Value("select count(*) from public.signinfo_table"), "1");
  EXPECT_EQ(Rows(kLayout).size(), 3u);
}

TEST_F(Signatures, ATableOfAnotherSchemaAloneIsNoTable) {
  Run("create schema other");
  Run("create table other.signinfo_table (signer text)");
  EXPECT_TRUE(dbms->CreateSignatureTable());
  EXPECT_EQ(Rows(kLayout), kCurrentLayout);
  EXPECT_EQ(Value("select count(*) from information_schema.tables where table_name = 'signinfo_table'"), "2");
}

TEST_F(Signatures, ADropThatIsRefusedLeavesTheOldTable) {
  Run(kOldTable);
  Run("create view reader as select signer from signinfo_table");
  EXPECT_FALSE(dbms->CreateSignatureTable());
  EXPECT_NE(std::wstring(dbms->GetLastError()).find(L"cannot drop table signinfo_table"), std::wstring::npos);
  EXPECT_EQ(Rows(kLayout).size(), 3u);
}

}  // namespace
