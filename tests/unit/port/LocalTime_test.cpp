#include "port/LocalTime.h"

#include <gtest/gtest.h>

#include "platform/Zone.h"

namespace {

std::tm Fields(int year, int month, int day, int hour, int minute, int second) {
  std::tm fields = {};
  fields.tm_year = year - 1900;
  fields.tm_mon = month - 1;
  fields.tm_mday = day;
  fields.tm_hour = hour;
  fields.tm_min = minute;
  fields.tm_sec = second;
  return fields;
}

class ZoneOfProcess : public testing::Test {
 protected:
  ~ZoneOfProcess() override { platform::SetZone(nullptr); }
};

TEST(LocalTime, GoesThereAndBack) {
  for (const std::time_t seconds : {std::time_t{1700000000}, std::time_t{86400}, std::time_t{951782400}}) {
    EXPECT_EQ(port::LocalEpochSeconds(platform::LocalTime(seconds)), seconds);
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
  EXPECT_EQ(port::LocalEpochSeconds(fields), port::LocalEpochSeconds(other));
}

TEST_F(ZoneOfProcess, IsKnownBefore1970Too) {
  platform::SetZone("UTC");
  EXPECT_EQ(port::LocalEpochSeconds(Fields(1969, 7, 20, 20, 17, 40)), -14182940);
  EXPECT_EQ(port::LocalEpochSeconds(Fields(1901, 12, 13, 20, 45, 52)), INT32_MIN);
  EXPECT_EQ(port::LocalEpochSeconds(Fields(1970, 1, 1, 0, 0, 0)), 0);
  platform::SetZone("America/St_Johns");
  EXPECT_EQ(port::LocalEpochSeconds(Fields(1969, 12, 31, 20, 30, 0)), 0);
}

TEST_F(ZoneOfProcess, IsKnownAsFarAsTheServersTimesGo) {
  platform::SetZone("Asia/Kolkata");
  EXPECT_EQ(port::LocalEpochSeconds(Fields(2400, 2, 29, 5, 30, 0)), 13574563200);
  EXPECT_EQ(port::LocalEpochSeconds(Fields(9999, 12, 31, 23, 59, 59)), 253402280999);
  EXPECT_EQ(port::LocalEpochSeconds(Fields(294276, 12, 31, 23, 59, 59)), 9224318015999 - 19800);
  platform::SetZone("UTC");
  EXPECT_EQ(port::LocalEpochSeconds(Fields(-4712, 1, 1, 0, 0, 0)), -210863520000);
}

TEST_F(ZoneOfProcess, DecidesBetweenTheHourThatComesTwiceAndFillsTheOneLeftOut) {
  platform::SetZone("America/St_Johns");
  EXPECT_EQ(port::LocalEpochSeconds(Fields(2024, 7, 1, 9, 29, 59)), 1719835199);
  EXPECT_EQ(port::LocalEpochSeconds(Fields(2024, 11, 3, 1, 30, 0)), 1730606400);  // 02:30 before UTC
  EXPECT_EQ(port::LocalEpochSeconds(Fields(2024, 3, 10, 2, 30, 0)), 1710050400);  // as 03:30
}

}  // namespace
