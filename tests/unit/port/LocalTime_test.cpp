#include "port/LocalTime.h"

#include <gtest/gtest.h>

#include "platform/Zone.h"

namespace {

TEST(LocalTime, GoesThereAndBack) {
  for (const std::time_t seconds : {std::time_t{1700000000}, std::time_t{86400}, std::time_t{951782400}}) {
    EXPECT_EQ(sys::LocalEpochSeconds(platform::LocalTime(seconds)), seconds);
  }
}

TEST(LocalTime, CarriesFieldsOutOfRangeOver) {
  std::tm fields = platform::LocalTime(1700000000);
  fields.tm_mday += 40;
  fields.tm_hour -= 3;
  std::tm other = platform::LocalTime(1700000000);
  other.tm_mon += 1;
  other.tm_mday += 10;
  other.tm_hour -= 3;
  EXPECT_EQ(sys::LocalEpochSeconds(fields), sys::LocalEpochSeconds(other));
}

}  // namespace
