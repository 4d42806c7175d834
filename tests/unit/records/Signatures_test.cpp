#include "DbmsAPI/frame/Timescale.h"
#include "scripted/ScriptedTest.h"

namespace {

constexpr wchar_t kCount[] =
    L"select count(*) from information_schema.tables where table_schema = 'public' and table_name = 'signinfo_table'";
constexpr wchar_t kHasUser[] =
    L"select column_name from information_schema.columns where table_name = 'signinfo_table' and column_name = 'user_id'";
constexpr wchar_t kDrop[] = L"drop table signinfo_table";
constexpr wchar_t kCreate[] =
    L"create table if not exists signinfo_table (time timestamptz not null,user_id text not null,two_factor text not null,req_id int not null,comment text not null,data jsonb not null,primary key(time,user_id))";

class Signatures : public ScriptedTest {
 protected:
  Texts Create() {
    EXPECT_TRUE(dbms->CreateSignatureTable());
    return server.Statements();
  }
};

TEST_F(Signatures, AFreshTableIsCreatedWithoutLookingAtColumns) {
  server.Answer(kCount, {{L"0"}});
  EXPECT_EQ(Create(), (Texts{kCount, kCreate}));
}

TEST_F(Signatures, ACurrentTableIsNotDropped) {
  server.Answer(kCount, {{L"1"}});
  server.Answer(kHasUser, {{L"user_id"}});
  EXPECT_EQ(Create(), (Texts{kCount, kHasUser, kCreate}));
}

TEST_F(Signatures, ATableWithoutUserIsDroppedAndRecreated) {
  server.Answer(kCount, {{L"1"}});
  EXPECT_EQ(Create(), (Texts{kCount, kHasUser, kDrop, kCreate}));
}

TEST_F(Signatures, KeepsLookingForTheUserOnlyWhenTheCountIsOne) {
  server.Answer(kCount, {{L"2"}});
  EXPECT_EQ(Create(), (Texts{kCount, kCreate}));
}

TEST_F(Signatures, TheTableIsNoHypertable) {
  TimescaleVersion = 218;
  server.Answer(kCount, {{L"0"}});
  EXPECT_EQ(Create(), (Texts{kCount, kCreate}));
}

TEST_F(Signatures, ADropThatFailsLeavesTheTableUncreated) {
  server.Answer(kCount, {{L"1"}});
  server.FailStatement(3, {3, 7, L"ERROR:  must be owner of table signinfo_table"});
  EXPECT_FALSE(dbms->CreateSignatureTable());
  EXPECT_EQ(server.Statements(), (Texts{kCount, kHasUser, kDrop}));
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  must be owner of table signinfo_table");
}

}  // namespace
