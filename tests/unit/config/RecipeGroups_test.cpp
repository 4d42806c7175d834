#include "scripted/ScriptedTest.h"

namespace {

constexpr wchar_t kInsert[] = L"insert into recipe_group values(:1,:2,:3)";

class RecipeGroups : public ScriptedTest {};

TEST_F(RecipeGroups, TheTableIsCreatedByOneStatement) {
  EXPECT_TRUE(dbms->CreateRecipeGroupTable());
  EXPECT_EQ(
      server.Statements(),
      Texts{
          L"create table if not exists recipe_group (model_name text not null,group_name text not null,fields json not null,primary key (model_name,group_name))"});
}

TEST_F(RecipeGroups, AllAreDeletedByOneStatement) {
  EXPECT_TRUE(dbms->DeleteAllRecipeGroups());
  EXPECT_EQ(server.Statements(), Texts{L"delete from recipe_group"});
}

TEST_F(RecipeGroups, EachIsInsertedByASeparateExecution) {
  EXPECT_TRUE(dbms->InsertRecipeGroups({{L"m", L"g", L"{\"a\": [1]}"}, {L"it's", L"", L"[]"}}));
  ASSERT_EQ(server.Statements(), (Texts{kInsert, kInsert}));
  EXPECT_EQ(server.sent[0].binds, (Texts{L"text m", L"text g", L"text {\"a\": [1]}"}));
  EXPECT_EQ(server.sent[1].binds, (Texts{L"text it's", L"text ", L"text []"}));
}

TEST_F(RecipeGroups, NoneSendNothing) {
  EXPECT_TRUE(dbms->InsertRecipeGroups({}));
  EXPECT_TRUE(server.sent.empty());
  EXPECT_EQ(server.connects.size(), 1u);
}

TEST_F(RecipeGroups, InsertingStopsAtTheFirstThatFails) {
  ASSERT_TRUE(dbms->Connect());
  server.FailStatement(2, {3, 7, L"ERROR:  invalid input syntax for type json"});
  EXPECT_FALSE(dbms->InsertRecipeGroups({{L"m", L"a", L"{}"}, {L"m", L"b", L"{"}, {L"m", L"c", L"{}"}}));
  EXPECT_EQ(server.Statements(), (Texts{kInsert, kInsert}));
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  invalid input syntax for type json");
}

}  // namespace
