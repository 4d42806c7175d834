#include "pq/DateTimeText.h"

#include <array>

#include "Caught.h"

namespace {

using Fields = std::array<long, 7>;

Fields Read(const char* text) {
  const SADateTime date = pq::ParseDateTime(text);
  return {date.GetYear(),
          date.GetMonth(),
          date.GetDay(),
          date.GetHour(),
          date.GetMinute(),
          date.GetSecond(),
          static_cast<long>(date.Fraction())};
}

TEST(DateTimeText, IsRead) {
  EXPECT_EQ(Read("2024-02-29"), (Fields{2024, 2, 29, 0, 0, 0, 0}));
  EXPECT_EQ(Read("2024-12-31 23:59:58"), (Fields{2024, 12, 31, 23, 59, 58, 0}));
  EXPECT_EQ(Read("2024-12-31T23:59:58"), (Fields{2024, 12, 31, 23, 59, 58, 0}));
}

TEST(DateTimeText, HasDecimalsOfTheSecond) {
  EXPECT_EQ(Read("2024-01-02 03:04:05.1"), (Fields{2024, 1, 2, 3, 4, 5, 100000000}));
  EXPECT_EQ(Read("2024-01-02 03:04:05.123456"), (Fields{2024, 1, 2, 3, 4, 5, 123456000}));
  EXPECT_EQ(Read("2024-01-02 03:04:05.000001+02"), (Fields{2024, 1, 2, 3, 4, 5, 1000}));
  EXPECT_EQ(Read("2024-01-02 03:04:05.123456789"), (Fields{2024, 1, 2, 3, 4, 5, 123456789}));
  EXPECT_EQ(Read("2024-01-02 03:04:05.1234567899"), (Fields{2024, 1, 2, 3, 4, 5, 123456789}));
}

TEST(DateTimeText, KeepsItsFieldsWhateverTheZone) {
  for (const char* zone : {"+00", "-03", "+05:30", "-00:25:21", "Z"}) {
    EXPECT_EQ(Read((std::string("2024-01-02 03:04:05") + zone).c_str()), (Fields{2024, 1, 2, 3, 4, 5, 0}))
        << zone;
  }
}

TEST(DateTimeText, ReachesFarBackAndAhead) {
  EXPECT_EQ(Read("0001-01-01"), (Fields{1, 1, 1, 0, 0, 0, 0}));
  EXPECT_EQ(Read("10000-01-01 00:00:00+00"), (Fields{10000, 1, 1, 0, 0, 0, 0}));
  EXPECT_EQ(Read("294276-12-31 23:59:59.999999"), (Fields{294276, 12, 31, 23, 59, 59, 999999000}));
  EXPECT_EQ(Read("5874897-12-31"), (Fields{5874897, 12, 31, 0, 0, 0, 0}));
  EXPECT_EQ(Read("0001-12-31 BC"), (Fields{0, 12, 31, 0, 0, 0, 0}));
  EXPECT_EQ(Read("0044-03-15 12:30:00+00 BC"), (Fields{-43, 3, 15, 12, 30, 0, 0}));
}

TEST(DateTimeText, ThatIsInvalidIsAnError) {
  EXPECT_EQ(UsageErrorText([] { pq::ParseDateTime("infinity"); }), L"\"infinity\" is no date");
  for (const char* text : {"",
                           "-infinity",
                           "2024",
                           "2024-01",
                           "2024-01-",
                           "2024-13-01",
                           "2024-00-01",
                           "2024-01-32",
                           "2024-01-00",
                           "0000-01-01",
                           "01.02.2024",
                           "01/02/2024",
                           "2024-01-02 ",
                           "2024-01-02 03",
                           "2024-01-02 03:04",
                           "2024-01-02 25:00:00",
                           "2024-01-02 03:60:00",
                           "2024-01-02 03:04:61",
                           "2024-01-02 03:04:05.",
                           "2024-01-02 03:04:05 CET",
                           "2024-01-02 03:04:05+",
                           "2024-01-02x",
                           "10:20:30",
                           "99999999999-01-01",
                           " BC",
                           "-2024-01-02"}) {
    EXPECT_NE(UsageErrorText([&] { pq::ParseDateTime(text); }), L"") << text;
  }
}

}  // namespace
