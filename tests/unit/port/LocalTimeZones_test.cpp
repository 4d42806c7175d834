// Local time in zones of choice, which the process can be put into by TZ.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "port/LocalTime.h"

namespace {

class LocalTimeZones : public ::testing::Test {
 protected:
  LocalTimeZones() {
    if (const char* zone = std::getenv("TZ")) former_ = zone;
    known_ = std::getenv("TZ") != nullptr;
  }
  ~LocalTimeZones() override {
    known_ ? ::setenv("TZ", former_.c_str(), 1) : ::unsetenv("TZ");
    ::tzset();
  }

  static void Enter(const char* zone) {
    ::setenv("TZ", zone, 1);
    ::tzset();
  }

  static std::int64_t Read(int year, int month, int day, int hour, int minute) {
    std::tm fields{};
    fields.tm_year = year - 1900;
    fields.tm_mon = month - 1;
    fields.tm_mday = day;
    fields.tm_hour = hour;
    fields.tm_min = minute;
    return port::LocalEpochSeconds(fields);
  }

 private:
  std::string former_;
  bool known_;
};

TEST_F(LocalTimeZones, OffsetsNeedNotBeWholeHours) {
  Enter("Asia/Kolkata");
  EXPECT_EQ(Read(2023, 11, 15, 3, 43), 1699999980);
  Enter("America/St_Johns");
  EXPECT_EQ(Read(2023, 11, 14, 18, 43), 1699999980);
}

TEST_F(LocalTimeZones, TheHourThatComesTwiceIsItsFirstTimeWhateverWasAskedBefore) {
  Enter("America/St_Johns");
  for (const int month : {1, 7}) {
    Read(2023, month, 1, 12, 0);
    EXPECT_EQ(Read(2023, 11, 5, 1, 30), 1699156800);
  }
  EXPECT_EQ(Read(2023, 11, 5, 0, 59), 1699156800 - 31 * 60);
  EXPECT_EQ(Read(2023, 11, 5, 2, 0), 1699156800 + 90 * 60);
}

TEST_F(LocalTimeZones, TheHourThatIsLeftOutReadsAsAnHourLater) {
  Enter("America/St_Johns");
  for (const int month : {1, 7}) {
    Read(2023, month, 1, 12, 0);
    EXPECT_EQ(Read(2023, 3, 12, 2, 30), Read(2023, 3, 12, 3, 30));
  }
  EXPECT_EQ(Read(2023, 3, 12, 3, 0) - Read(2023, 3, 12, 1, 59), 60);
}

TEST_F(LocalTimeZones, BeforeTheEpochIsATimeToo) {
  Enter("UTC");
  EXPECT_EQ(Read(1969, 12, 31, 23, 59), -60);
  EXPECT_EQ(Read(1901, 1, 1, 0, 0), -2177452800);
}

}  // namespace
