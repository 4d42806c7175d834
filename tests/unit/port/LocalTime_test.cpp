#include "port/LocalTime.h"

#include <gtest/gtest.h>

TEST(LocalTime, GoesThereAndBack) {
  for (const std::time_t seconds : {std::time_t{1700000000}, std::time_t{0}, std::time_t{951782400}}) {
    std::tm fields = *std::localtime(&seconds);
    fields.tm_isdst = -1;
    EXPECT_EQ(port::LocalEpochSeconds(fields), seconds);
  }
}
