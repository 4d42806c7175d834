#include "historian/Error.h"

#include <gtest/gtest.h>

namespace historian {
namespace {

TEST(ErrorTest, CarriesOperationTextAndSqlState) {
  const Error error("backfill", "ERROR:  division by zero", "22012");
  EXPECT_EQ(error.Operation(), "backfill");
  EXPECT_EQ(error.Text(), "ERROR:  division by zero");
  EXPECT_EQ(error.SqlState(), "22012");
  EXPECT_STREQ(error.what(), "backfill: ERROR:  division by zero");
}

TEST(ErrorTest, HasNoSqlStateWhenTheServerDidNotAnswer) {
  EXPECT_EQ(Error("backfill", "could not connect").SqlState(), "");
}

}  // namespace
}  // namespace historian
