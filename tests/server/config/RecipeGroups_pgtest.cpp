#include "server/config/ConfigTest.h"

namespace {

using Lines = std::vector<std::string>;

class RecipeGroups : public ConfigTest {
 protected:
  void SetUp() override {
    ConfigTest::SetUp();
    if (HasFatalFailure()) return;
    ASSERT_TRUE(dbms->CreateRecipeGroupTable());
  }

  Lines Stored() { return Rows("select * from recipe_group order by model_name, group_name"); }
};

TEST_F(RecipeGroups, TheTableMayExistAlready) {
  ASSERT_TRUE(dbms->InsertRecipeGroups({{L"m", L"g", L"{}"}}));
  EXPECT_TRUE(dbms->CreateRecipeGroupTable());
  EXPECT_EQ(Stored(), Lines{"m|g|{}"});
  EXPECT_EQ(Value("select pg_get_constraintdef(oid) from pg_constraint "
                  "where contype <> 'n' and conrelid = 'recipe_group'::regclass"),
            "PRIMARY KEY (model_name, group_name)");
}

TEST_F(RecipeGroups, JsonIsStoredAsGiven) {
  EXPECT_TRUE(dbms->InsertRecipeGroups(
      {{L"it's", L"", L"{ \"b\" : 1,\"a\":[ ] }"}, {L"m", L"g", L"[{\"n\": \"it's :1\"}]"}}));
  EXPECT_EQ(Stored(), (Lines{"it's||{ \"b\" : 1,\"a\":[ ] }", "m|g|[{\"n\": \"it's :1\"}]"}));
}

TEST_F(RecipeGroups, TextsOfEveryPlaneAreStored) {
  const std::wstring json = L"\"" + std::wstring(kEveryPlane) + L"\"";
  EXPECT_TRUE(dbms->InsertRecipeGroups({{kEveryPlane, kEveryPlane, json}}));
  const std::string planes = EveryPlane();
  EXPECT_EQ(Stored(), Lines{planes + "|" + planes + "|\"" + planes + "\""});
}

TEST_F(RecipeGroups, InsertingStopsAtTextThatIsNoJsonAndEarlierOnesStay) {
  for (const wchar_t* text : {L"", L"{", L"{'a': 1}", L"fields"}) {
    ASSERT_TRUE(dbms->DeleteAllRecipeGroups());
    EXPECT_FALSE(dbms->InsertRecipeGroups({{L"m", L"a", L"{}"}, {L"m", L"b", text}, {L"m", L"c", L"{}"}}));
    EXPECT_TRUE(LastErrorSays(L"invalid input syntax for type json"));
    EXPECT_EQ(Stored(), Lines{"m|a|{}"});
  }
}

TEST_F(RecipeGroups, InsertingStopsAtADuplicateAndEarlierOnesStay) {
  EXPECT_FALSE(dbms->InsertRecipeGroups({{L"m", L"a", L"{}"}, {L"m", L"a", L"[]"}, {L"m", L"b", L"{}"}}));
  EXPECT_TRUE(LastErrorSays(L"duplicate key"));
  EXPECT_EQ(Stored(), Lines{"m|a|{}"});
}

TEST_F(RecipeGroups, AllAreDeleted) {
  ASSERT_TRUE(dbms->InsertRecipeGroups({{L"m", L"a", L"{}"}, {L"n", L"a", L"{}"}}));
  EXPECT_TRUE(dbms->DeleteAllRecipeGroups());
  EXPECT_EQ(Stored(), Lines{});
}

}  // namespace
