#include "scripted/ScriptedTest.h"

namespace {

constexpr wchar_t kInsert[] = L"insert into comment values(:1,:2,:3,:4,:5)";

class Comments : public ScriptedTest {};

TEST_F(Comments, TheTableIsCreatedByOneStatement) {
  EXPECT_TRUE(dbms->CreateCommentTable());
  EXPECT_EQ(
      server.Statements(),
      Texts{
          L"create table if not exists comment (group_id int not null,row int not null,col int not null,comment text not null,font text,primary key (group_id,row,col))"});
}

TEST_F(Comments, AllAreDeletedByOneStatement) {
  EXPECT_TRUE(dbms->DeleteAllComments());
  EXPECT_EQ(server.Statements(), Texts{L"delete from comment"});
}

TEST_F(Comments, EachIsInsertedByASeparateExecution) {
  EXPECT_TRUE(dbms->InsertComments({{1, 2, 3, L"it's", L"Arial,10"}, {-1, 0, INT32_MAX, L"b", L"Mono"}}));
  ASSERT_EQ(server.Statements(), (Texts{kInsert, kInsert}));
  EXPECT_EQ(server.sent[0].binds, (Texts{L"int4 1", L"int4 2", L"int4 3", L"text it's", L"text Arial,10"}));
  EXPECT_EQ(server.sent[1].binds,
            (Texts{L"int4 -1", L"int4 0", L"int4 2147483647", L"text b", L"text Mono"}));
}

TEST_F(Comments, AnEmptyFontIsNullAndAnEmptyTextIsEmpty) {
  EXPECT_TRUE(
      dbms->InsertComments({{1, 2, 3, L"", L"Arial"}, {1, 2, 4, L"", L""}, {1, 2, 5, L"c", L"Mono"}}));
  ASSERT_EQ(server.sent.size(), 3u);
  EXPECT_EQ(server.sent[0].binds, (Texts{L"int4 1", L"int4 2", L"int4 3", L"text ", L"text Arial"}));
  EXPECT_EQ(server.sent[1].binds, (Texts{L"int4 1", L"int4 2", L"int4 4", L"text ", L"null"}));
  EXPECT_EQ(server.sent[2].binds, (Texts{L"int4 1", L"int4 2", L"int4 5", L"text c", L"text Mono"}));
}

TEST_F(Comments, NoneSendNothing) {
  EXPECT_TRUE(dbms->InsertComments({}));
  EXPECT_TRUE(server.sent.empty());
  EXPECT_EQ(server.connects.size(), 1u);
}

TEST_F(Comments, InsertingStopsAtTheFirstThatFails) {
  ASSERT_TRUE(dbms->Connect());
  server.FailStatement(2, {3, 7, L"ERROR:  duplicate key"});
  EXPECT_FALSE(dbms->InsertComments({{1, 1, 1, L"a", L""}, {1, 1, 1, L"b", L""}, {2, 1, 1, L"c", L""}}));
  EXPECT_EQ(server.Statements(), (Texts{kInsert, kInsert}));
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  duplicate key");
}

}  // namespace
