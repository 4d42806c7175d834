#include <algorithm>
#include <future>

#include "server/config/ConfigTest.h"

namespace {

using Lines = std::vector<std::string>;

class Recipes : public ConfigTest {
 protected:
  void SetUp() override {
    ConfigTest::SetUp();
    if (HasFatalFailure()) return;
    ASSERT_TRUE(dbms->CreateRecipeTable());
  }

  Lines Stored() { return Rows("select * from recipe order by model_name, name"); }

  std::vector<RecipeRecord> Read(const wchar_t* model, const wchar_t* name) {
    std::vector<RecipeRecord> recipes;
    EXPECT_TRUE(dbms->GetRecipes(model, name, recipes));
    std::sort(recipes.begin(), recipes.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
    return recipes;
  }
};

TEST_F(Recipes, TheTableMayExistAlready) {
  ASSERT_TRUE(dbms->SaveRecipe(L"m", L"n", L"{}", L"d"));
  EXPECT_TRUE(dbms->CreateRecipeTable());
  EXPECT_EQ(Stored(), Lines{"m|n|{}|d"});
  EXPECT_EQ(
      Value(
          "select pg_get_constraintdef(oid) from pg_constraint where contype <> 'n' and conrelid = 'recipe'::regclass"),
      "PRIMARY KEY (model_name, name)");
}

TEST_F(Recipes, ANewRecipeIsInsertedAndAnExistingOneIsUpdated) {
  EXPECT_TRUE(dbms->SaveRecipe(L"m", L"it's", L"{ \"a\" : 1 }", L"first"));
  EXPECT_TRUE(dbms->SaveRecipe(L"m", L"other", L"[]", L":1"));
  EXPECT_EQ(Stored(), (Lines{"m|it's|{ \"a\" : 1 }|first", "m|other|[]|:1"}));
  EXPECT_TRUE(dbms->SaveRecipe(L"m", L"it's", L"{\"a\":2}", L"second"));
  EXPECT_EQ(Stored(), (Lines{"m|it's|{\"a\":2}|second", "m|other|[]|:1"}));
}

TEST_F(Recipes, ANullOrEmptyDescriptionIsStoredAsNull) {
  for (const wchar_t* description : {static_cast<const wchar_t*>(nullptr), L""}) {
    Run("delete from recipe");
    EXPECT_TRUE(dbms->SaveRecipe(L"m", L"n", L"{}", description));
    EXPECT_EQ(Stored(), Lines{"m|n|{}|\\N"});
    ASSERT_TRUE(dbms->SaveRecipe(L"m", L"n", L"{}", L"d"));
    EXPECT_EQ(Stored(), Lines{"m|n|{}|d"});
    EXPECT_TRUE(dbms->SaveRecipe(L"m", L"n", L"[]", description));
    EXPECT_EQ(Stored(), Lines{"m|n|[]|\\N"});
  }
}

TEST_F(Recipes, TextThatIsNoJsonIsRefused) {
  EXPECT_FALSE(dbms->SaveRecipe(L"m", L"n", L"{", L"d"));
  EXPECT_TRUE(LastErrorSays(L"invalid input syntax for type json"));
  EXPECT_EQ(Stored(), Lines{});
  ASSERT_TRUE(dbms->SaveRecipe(L"m", L"n", L"{}", L"d"));
  EXPECT_FALSE(dbms->SaveRecipe(L"m", L"n", L"", L"e"));
  EXPECT_EQ(Stored(), Lines{"m|n|{}|d"});
}

// A third session lets both writers count, but blocks their inserts until both wait.
TEST_F(Recipes, KeepsTheRaceOfTwoWritersOfTheSameNewRecipe) {
  const auto other = NewDbms();
  ASSERT_TRUE(dbms->Connect());
  ASSERT_TRUE(other->Connect());
  const auto save = [](Dbms& writer) { return writer.SaveRecipe(L"m", L"n", L"{}", L"d"); };
  std::future<bool> first, second;
  {
    Run("begin; lock table recipe in share mode");
    const std::shared_ptr<void> release(nullptr, [&](void*) { Run("commit"); });
    first = std::async(std::launch::async, save, std::ref(*dbms));
    second = std::async(std::launch::async, save, std::ref(*other));
    WaitUntil("select count(*) = 2 from pg_locks where relation = 'recipe'::regclass and not granted");
  }
  const bool firstSaved = first.get();
  const bool secondSaved = second.get();
  EXPECT_NE(firstSaved, secondSaved);
  EXPECT_TRUE(
      Says(firstSaved ? *other : *dbms, L"duplicate key value violates unique constraint \"recipe_pkey\""));
  EXPECT_STREQ((firstSaved ? *dbms : *other).GetLastError(), L"");
  EXPECT_EQ(Stored(), Lines{"m|n|{}|d"});
}

TEST_F(Recipes, AllOfAModelOrOneAreRead) {
  ASSERT_TRUE(dbms->SaveRecipe(L"m", L"a", L"{ }", L"first"));
  ASSERT_TRUE(dbms->SaveRecipe(L"m", L"b", L"[1]", nullptr));
  ASSERT_TRUE(dbms->SaveRecipe(L"other", L"a", L"{}", L""));
  for (const wchar_t* name : {static_cast<const wchar_t*>(nullptr), L""}) {
    const auto all = Read(L"m", name);
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].name, L"a");
    EXPECT_EQ(all[0].fields, L"{ }");
    EXPECT_EQ(all[0].description, L"first");
    EXPECT_EQ(all[1].name, L"b");
    EXPECT_EQ(all[1].fields, L"[1]");
    EXPECT_EQ(all[1].description, L"");
  }
  const auto one = Read(L"m", L"b");
  ASSERT_EQ(one.size(), 1u);
  EXPECT_EQ(one[0].name, L"b");
}

TEST_F(Recipes, WhatIsReadIsAppended) {
  ASSERT_TRUE(dbms->SaveRecipe(L"m", L"a", L"{}", L"d"));
  std::vector<RecipeRecord> recipes = {{L"before", L"", L""}};
  EXPECT_TRUE(dbms->GetRecipes(L"m", nullptr, recipes));
  EXPECT_TRUE(dbms->GetRecipes(L"none", nullptr, recipes));
  ASSERT_EQ(recipes.size(), 2u);
  EXPECT_EQ(recipes[0].name, L"before");
  EXPECT_EQ(recipes[1].name, L"a");
}

TEST_F(Recipes, OneIsDeletedAndAMissingOneIsNoFailure) {
  ASSERT_TRUE(dbms->SaveRecipe(L"m", L"it's", L"{}", L"d"));
  ASSERT_TRUE(dbms->SaveRecipe(L"m", L"b", L"{}", L"d"));
  EXPECT_TRUE(dbms->DeleteRecipe(L"m", L"it's"));
  EXPECT_TRUE(dbms->DeleteRecipe(L"m", L"it's"));
  EXPECT_EQ(Stored(), Lines{"m|b|{}|d"});
}

TEST_F(Recipes, TextsOfEveryPlaneAreStoredFoundAndDeleted) {
  const std::wstring json = L"[\"" + std::wstring(kEveryPlane) + L"\"]";
  const std::string planes = EveryPlane();
  for (const wchar_t* before : {L"[]", L"{}"}) {
    ASSERT_TRUE(dbms->SaveRecipe(kEveryPlane, kEveryPlane, before, nullptr));
    ASSERT_TRUE(dbms->SaveRecipe(kEveryPlane, kEveryPlane, json.c_str(), kEveryPlane));
    EXPECT_EQ(Stored(), Lines{planes + "|" + planes + "|[\"" + planes + "\"]|" + planes});
  }
  const auto read = Read(kEveryPlane, kEveryPlane);
  ASSERT_EQ(read.size(), 1u);
  EXPECT_EQ(read[0].name, kEveryPlane);
  EXPECT_EQ(read[0].fields, json);
  EXPECT_EQ(read[0].description, kEveryPlane);
  EXPECT_TRUE(dbms->DeleteRecipe(kEveryPlane, kEveryPlane));
  EXPECT_EQ(Stored(), Lines{});
}

}  // namespace
