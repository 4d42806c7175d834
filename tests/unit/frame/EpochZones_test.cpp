// Local time with the process in several zones.

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <string>

#include "DbmsAPI/frame/Epoch.h"
#include "platform/Zone.h"

namespace {

class LocalEpochZones : public ::testing::Test {
 protected:
  LocalEpochZones() {
    if (const char* zone = std::getenv("TZ")) former_ = zone;
  }
  ~LocalEpochZones() override { platform::SetZone(former_ ? former_->c_str() : nullptr); }

  static std::int64_t Read(int year, int month, int day, int hour, int minute) {
    std::tm fields{};
    fields.tm_year = year - 1900;
    fields.tm_mon = month - 1;
    fields.tm_mday = day;
    fields.tm_hour = hour;
    fields.tm_min = minute;
    return LocalEpochSeconds(fields);
  }

 private:
  std::optional<std::string> former_;
};

TEST_F(LocalEpochZones, OffsetsNeedNotBeWholeHours) {
  platform::SetZone("Asia/Kolkata");
  EXPECT_EQ(Read(2023, 11, 15, 3, 43), 1699999980);
  platform::SetZone("America/St_Johns");
  EXPECT_EQ(Read(2023, 11, 14, 18, 43), 1699999980);
}

TEST_F(LocalEpochZones, TheRepeatedHourMeansItsFirstOccurrenceWhateverWasReadBefore) {
  platform::SetZone("America/St_Johns");
  for (const int month : {1, 7}) {
    Read(2023, month, 1, 12, 0);
    EXPECT_EQ(Read(2023, 11, 5, 1, 30), 1699156800);
  }
  EXPECT_EQ(Read(2023, 11, 5, 0, 59), 1699156800 - 31 * 60);
  EXPECT_EQ(Read(2023, 11, 5, 2, 0), 1699156800 + 90 * 60);
}

TEST_F(LocalEpochZones, TheHourThatIsLeftOutReadsAsAnHourLater) {
  platform::SetZone("America/St_Johns");
  for (const int month : {1, 7}) {
    Read(2023, month, 1, 12, 0);
    EXPECT_EQ(Read(2023, 3, 12, 2, 30), Read(2023, 3, 12, 3, 30));
  }
  EXPECT_EQ(Read(2023, 3, 12, 3, 0) - Read(2023, 3, 12, 1, 59), 60);
}

TEST_F(LocalEpochZones, BeforeTheEpochIsATimeToo) {
  platform::SetZone("UTC");
  EXPECT_EQ(Read(1969, 12, 31, 23, 59), -60);
  EXPECT_EQ(Read(1901, 1, 1, 0, 0), -2177452800);
  platform::SetZone("America/St_Johns");
  EXPECT_EQ(Read(1969, 12, 31, 20, 30), 0);
}

TEST_F(LocalEpochZones, IsKnownAsFarAsTheServersTimesGo) {
  platform::SetZone("Asia/Kolkata");
  EXPECT_EQ(Read(2400, 2, 29, 5, 30), 13574563200);
  EXPECT_EQ(Read(9999, 12, 31, 23, 59), 253402280940);
  EXPECT_EQ(Read(294276, 12, 31, 23, 59), 9224318015940 - 19800);
  platform::SetZone("UTC");
  EXPECT_EQ(Read(-4712, 1, 1, 0, 0), -210863520000);
}

}  // namespace
