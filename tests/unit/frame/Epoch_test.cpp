#include "DbmsAPI/frame/Epoch.h"

#include <gtest/gtest.h>

#include "platform/Zone.h"

namespace {

TEST(LocalEpoch, GoesThereAndBack) {
  for (const std::time_t seconds : {std::time_t{1700000000}, std::time_t{86400}, std::time_t{951782400}}) {
    EXPECT_EQ(LocalEpochSeconds(platform::LocalTime(seconds)), seconds);
  }
}

TEST(LocalEpoch, CarriesFieldsOutOfRangeOver) {
  std::tm fields = platform::LocalTime(1700000000);
  fields.tm_mday += 40;
  fields.tm_hour -= 3;
  std::tm other = platform::LocalTime(1700000000);
  other.tm_mon += 1;
  other.tm_mday += 10;
  other.tm_hour -= 3;
  EXPECT_EQ(LocalEpochSeconds(fields), LocalEpochSeconds(other));
}

}  // namespace
