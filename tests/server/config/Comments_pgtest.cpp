#include "server/config/ConfigTest.h"

namespace {

using Lines = std::vector<std::string>;

class Comments : public ConfigTest {
 protected:
  void SetUp() override {
    ConfigTest::SetUp();
    if (HasFatalFailure()) return;
    ASSERT_TRUE(dbms->CreateCommentTable());
  }

  Lines Stored() { return Rows("select * from comment order by group_id, row, col"); }
};

TEST_F(Comments, TheTableMayExistAlready) {
  ASSERT_TRUE(dbms->InsertComments({{1, 2, 3, L"c", L"f"}}));
  EXPECT_TRUE(dbms->CreateCommentTable());
  EXPECT_EQ(Stored(), Lines{"1|2|3|c|f"});
  EXPECT_EQ(
      Value(
          "select pg_get_constraintdef(oid) from pg_constraint where contype <> 'n' and conrelid = 'comment'::regclass"),
      "PRIMARY KEY (group_id, \"row\", col)");
}

TEST_F(Comments, AnEmptyFontIsNullAndAnEmptyTextIsEmpty) {
  EXPECT_TRUE(dbms->InsertComments({{1, 1, 1, L"", L""},
                                    {1, 1, 2, L"it's", L"Arial"},
                                    {1, 1, 3, L"", L""},
                                    {INT32_MIN, -1, INT32_MAX, L":1", L"x"}}));
  EXPECT_EQ(Stored(),
            (Lines{"-2147483648|-1|2147483647|:1|x", "1|1|1||\\N", "1|1|2|it's|Arial", "1|1|3||\\N"}));
}

TEST_F(Comments, TextsOfEveryPlaneAreStored) {
  EXPECT_TRUE(dbms->InsertComments({{1, 1, 1, kEveryPlane, kEveryPlane}}));
  EXPECT_EQ(Stored(), Lines{"1|1|1|" + EveryPlane() + "|" + EveryPlane()});
}

TEST_F(Comments, InsertingStopsAtADuplicateAndEarlierOnesStay) {
  EXPECT_FALSE(
      dbms->InsertComments({{1, 1, 1, L"first", L""}, {1, 1, 1, L"second", L""}, {2, 1, 1, L"third", L""}}));
  EXPECT_TRUE(LastErrorSays(L"duplicate key"));
  EXPECT_EQ(Stored(), Lines{"1|1|1|first|\\N"});
}

TEST_F(Comments, AListIsReplacedByDeletingAllAndInserting) {
  ASSERT_TRUE(dbms->InsertComments({{1, 1, 1, L"old", L""}, {1, 1, 2, L"old", L""}}));
  EXPECT_TRUE(dbms->DeleteAllComments());
  EXPECT_TRUE(dbms->InsertComments({}));
  EXPECT_EQ(Stored(), Lines{});
  EXPECT_TRUE(dbms->InsertComments({{1, 1, 1, L"new", L""}}));
  EXPECT_EQ(Stored(), Lines{"1|1|1|new|\\N"});
}

}  // namespace
