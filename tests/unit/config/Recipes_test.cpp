#include "scripted/ScriptedTest.h"

namespace {

constexpr wchar_t kCount[] = L"select count(*) from recipe where model_name = :1 and name = :2";
constexpr wchar_t kUpdate[] =
    L"update recipe set fields = :3, description = :4 where model_name = :1 and name = :2";
constexpr wchar_t kInsert[] = L"insert into recipe values(:1,:2,:3,:4)";
constexpr wchar_t kAll[] = L"select name,fields,description from recipe where model_name = :1";
constexpr wchar_t kOne[] = L"select name,fields,description from recipe where model_name = :1 and name = :2";

using Recipe = std::vector<RecipeRecord>;

class Recipes : public ScriptedTest {
 protected:
  // The binds of a saved recipe, by parameter number; the recipe exists that many times.
  Texts SavedWith(const wchar_t* count, const wchar_t* description) {
    server.Forget();
    server.Answer(kCount, {{count}});
    EXPECT_TRUE(dbms->SaveRecipe(L"mixer", L"it's", L"{\"a\":1}", description));
    EXPECT_EQ(server.sent.size(), 2u);
    return server.sent.back().binds;
  }
};

TEST_F(Recipes, TheTableIsCreatedByOneStatement) {
  EXPECT_TRUE(dbms->CreateRecipeTable());
  EXPECT_EQ(
      server.Statements(),
      Texts{
          L"create table if not exists recipe (model_name text not null,name text not null,fields json not null,description text,primary key (model_name,name))"});
}

TEST_F(Recipes, ANewRecipeIsInserted) {
  EXPECT_EQ(SavedWith(L"0", L"slow"), (Texts{L"text mixer", L"text it's", L"text {\"a\":1}", L"text slow"}));
  EXPECT_EQ(server.Statements(), (Texts{kCount, kInsert}));
  EXPECT_EQ(server.sent[0].binds, (Texts{L"text mixer", L"text it's"}));
}

TEST_F(Recipes, AnExistingRecipeIsUpdated) {
  for (const wchar_t* count : {L"1", L"2", L"-1"}) {
    SavedWith(count, L"slow");
    EXPECT_EQ(server.Statements(), (Texts{kCount, kUpdate}));
  }
}

TEST_F(Recipes, NoRowOfTheCountIsANewRecipe) {
  EXPECT_TRUE(dbms->SaveRecipe(L"mixer", L"r", L"{}", L"d"));
  EXPECT_EQ(server.Statements(), (Texts{kCount, kInsert}));
}

TEST_F(Recipes, ParametersAreBoundByTheirNumbers) {
  const Texts binds = {L"text mixer", L"text it's", L"text {\"a\":1}", L"text slow"};
  EXPECT_EQ(SavedWith(L"0", L"slow"), binds);
  EXPECT_EQ(SavedWith(L"1", L"slow"), binds);
}

TEST_F(Recipes, ANullOrEmptyDescriptionIsNullOnInsertAndOnUpdate) {
  for (const wchar_t* count : {L"0", L"1"}) {
    for (const wchar_t* description : {static_cast<const wchar_t*>(nullptr), L""}) {
      EXPECT_EQ(SavedWith(count, description),
                (Texts{L"text mixer", L"text it's", L"text {\"a\":1}", L"null"}));
    }
  }
}

TEST_F(Recipes, KeepsTheRaceBetweenTheCountAndTheInsert) {
  const auto other = NewDbms();
  server.Answer(kCount, {{L"0"}});
  EXPECT_TRUE(dbms->SaveRecipe(L"mixer", L"r", L"{}", L"d"));
  server.FailStatement(2, {3, 7, L"ERROR:  duplicate key value violates unique constraint"});
  EXPECT_FALSE(other->SaveRecipe(L"mixer", L"r", L"{}", L"d"));
  EXPECT_EQ(server.Statements(), (Texts{kCount, kInsert, kCount, kInsert}));
  EXPECT_STREQ(other->GetLastError(), L"ERROR:  duplicate key value violates unique constraint");
}

TEST_F(Recipes, WithoutANameAllOfTheModelAreRead) {
  for (const wchar_t* name : {static_cast<const wchar_t*>(nullptr), L""}) {
    Recipe recipes;
    server.Forget();
    EXPECT_TRUE(dbms->GetRecipes(L"it's", name, recipes));
    EXPECT_EQ(server.Statements(), Texts{kAll});
    EXPECT_EQ(server.sent[0].binds, Texts{L"text it's"});
    EXPECT_TRUE(recipes.empty());
  }
}

TEST_F(Recipes, WithANameThatOneIsRead) {
  Recipe recipes;
  EXPECT_TRUE(dbms->GetRecipes(L"mixer", L"r", recipes));
  EXPECT_EQ(server.Statements(), Texts{kOne});
  EXPECT_EQ(server.sent[0].binds, (Texts{L"text mixer", L"text r"}));
}

TEST_F(Recipes, RowsAreAppendedAndANullDescriptionIsEmpty) {
  server.Answer(kAll, {{L"a", L"{\"x\": 1}", L"first"}, {L"b", L"[]", std::nullopt}});
  Recipe recipes = {{L"kept", L"{}", L"d"}};
  ASSERT_TRUE(dbms->GetRecipes(L"mixer", nullptr, recipes));
  ASSERT_EQ(recipes.size(), 3u);
  EXPECT_EQ(recipes[0].name, L"kept");
  EXPECT_EQ(recipes[1].name, L"a");
  EXPECT_EQ(recipes[1].fields, L"{\"x\": 1}");
  EXPECT_EQ(recipes[1].description, L"first");
  EXPECT_EQ(recipes[2].name, L"b");
  EXPECT_EQ(recipes[2].fields, L"[]");
  EXPECT_EQ(recipes[2].description, L"");
}

TEST_F(Recipes, RowsBeforeAFailureStay) {
  server.FailAfterRows(kAll, {{L"a", L"{}", L""}, {L"b", L"{}", L""}}, 1);
  Recipe recipes;
  EXPECT_FALSE(dbms->GetRecipes(L"mixer", nullptr, recipes));
  ASSERT_EQ(recipes.size(), 1u);
  EXPECT_EQ(recipes[0].name, L"a");
}

TEST_F(Recipes, OneIsDeletedByItsKey) {
  EXPECT_TRUE(dbms->DeleteRecipe(L"mixer", L"it's"));
  EXPECT_EQ(server.Statements(), Texts{L"delete from recipe where model_name = :1 and name = :2"});
  EXPECT_EQ(server.sent[0].binds, (Texts{L"text mixer", L"text it's"}));
}

}  // namespace
