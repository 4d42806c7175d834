// The fixture itself.

#include "server/ServerTest.h"

#include <stdexcept>

namespace {

using Lines = std::vector<std::string>;

// Two tests that would conflict in one database.
TEST_F(ServerTest, GivesEachTestItsOwnDatabase) {
  Run("create table t (a int); insert into t values (1)");
  EXPECT_EQ(Rows("select a from t"), (Lines{"1"}));
}

TEST_F(ServerTest, GivesEachTestAFreshDatabase) {
  EXPECT_EQ(Rows("select to_regclass('t')"), (Lines{"\\N"}));
  Run("create table t (b int)");
}

TEST_F(ServerTest, WritesRowsAsText) {
  EXPECT_EQ(Rows("values (1, 'a', null), (2, '', 'b')"), (Lines{"1|a|\\N", "2||b"}));
  EXPECT_EQ(Rows("select 1 where false"), Lines());
  EXPECT_EQ(Value("select 'one'"), "one");
}

TEST_F(ServerTest, ThrowsWhatTheServerRefuses) {
  EXPECT_THROW(Run("select 1 / 0"), std::runtime_error);
  EXPECT_THROW(Rows("select from nowhere"), std::runtime_error);
  EXPECT_THROW(Value("select 1 where false"), std::runtime_error);
}

TEST_F(ServerTest, DoesNotCountItselfAmongOtherBackends) {
  EXPECT_EQ(Value("select count(*) from " + std::string(kOtherBackends) + " others"), "0");
}

}  // namespace
