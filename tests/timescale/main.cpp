#include <gtest/gtest.h>

#include <iostream>

#include "DbmsAPI/Diagnostics.h"
#include "TimescaleTest.h"

// The exit status that ctest counts as skipped.
constexpr int kNotRun = 77;

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  // Tests read failures from GetLastError.
  SetDbmsDebugSink([](const wchar_t*) {});
  if (ReleaseUnderTest().empty()) {
    std::cout << "TimescaleDB is not available on this server: "
              << ::testing::UnitTest::GetInstance()->total_test_count() << " tests not run" << std::endl;
    return kNotRun;
  }
  std::cout << "TimescaleDB " << ReleaseUnderTest() << std::endl;
  return RUN_ALL_TESTS();
}
