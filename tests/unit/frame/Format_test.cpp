#include "DbmsAPI/frame/Format.h"

#include <gtest/gtest.h>

#include <limits>

TEST(ShortestText, ReadsBackAndPrefersTheShorterForm) {
  EXPECT_EQ(ShortestText(1700000000.123), L"1700000000.123");
  EXPECT_EQ(ShortestText(1700000000.0), L"1.7e+09");
  EXPECT_EQ(ShortestText(1700000001.0), L"1700000001");
  EXPECT_EQ(ShortestText(0.0), L"0");
  EXPECT_EQ(ShortestText(-0.5), L"-0.5");
  EXPECT_EQ(ShortestText(std::numeric_limits<double>::max()), L"1.7976931348623157e+308");
}
