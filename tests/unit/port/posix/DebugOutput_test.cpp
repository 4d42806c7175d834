#include <gtest/gtest.h>

#include "port/DebugOutput.h"

namespace {

TEST(DebugOutput, GoesToStandardErrorInUtf8) {
  testing::internal::CaptureStderr();
  sys::WriteDebugOutput(L"on exception(3, 7) - \u00e4 \U0001F600\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "on exception(3, 7) - \xC3\xA4 \xF0\x9F\x98\x80\n");
}

}  // namespace
