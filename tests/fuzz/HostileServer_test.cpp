// Operations against servers whose hostile changes are derived from a number.

#include "HostileServer.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

constexpr int kPerTest = 50;

class HostileServer : public testing::TestWithParam<int> {};

TEST_P(HostileServer, NeverKeepsAnObjectFromWorkingAgain) {
  for (int i = 0; i < kPerTest; ++i) {
    const int number = GetParam() * kPerTest + i;
    std::printf("number %d\n", number);
    std::fflush(stdout);
    std::mt19937 random(static_cast<unsigned>(number));
    std::string decisions;
    for (int byte = 0; byte < 400; ++byte) decisions += static_cast<char>(random() & 0xFF);
    fuzz::RunHostileServer(decisions);
  }
}

INSTANTIATE_TEST_SUITE_P(Numbers, HostileServer, testing::Range(0, 4));

}  // namespace
