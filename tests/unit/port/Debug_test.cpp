#include "port/Debug.h"

#include <gtest/gtest.h>

#include "port/InvalidParameter.h"

namespace {

class Debug : public ::testing::Test {
 protected:
  Debug() {
    sys::SetDebugSink([this](const wchar_t* line) { lines.emplace_back(line); });
  }
  ~Debug() override {
    sys::SetDebugSink(nullptr);
    sys::SetInvalidParameterHandler(nullptr);
  }
  std::vector<std::wstring> lines;
};

TEST_F(Debug, TheSinkReceivesWholeLines) {
  sys::WriteDebugLine(L"on exception(3, 7) - x\n");
  EXPECT_EQ(lines, std::vector<std::wstring>{L"on exception(3, 7) - x\n"});
}

TEST_F(Debug, ASinkMayWriteALineItself) {
  sys::SetDebugSink([this](const wchar_t* line) {
    lines.emplace_back(line);
    if (lines.size() == 1) sys::WriteDebugLine(L"inner");
  });
  sys::WriteDebugLine(L"outer");
  EXPECT_EQ(lines, (std::vector<std::wstring>{L"outer", L"inner"}));
}

TEST_F(Debug, ATextThatFitsItsBufferIsGivenBack) {
  EXPECT_EQ(sys::FitBuffer(4, L"abc"), L"abc");
  EXPECT_TRUE(lines.empty());
}

TEST_F(Debug, ATextThatLeavesNoRoomForTheTerminatorIsReported) {
  EXPECT_EQ(sys::FitBuffer(3, L"abc"), std::nullopt);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0], L"invalid parameter: 3 characters do not fit a buffer of 3\n");
}

TEST_F(Debug, AnInvalidParameterHandlerReplacesTheLine) {
  std::vector<std::wstring> reasons;
  sys::SetInvalidParameterHandler([&](const wchar_t* reason) { reasons.emplace_back(reason); });
  EXPECT_EQ(sys::FitBuffer(1, L"abc"), std::nullopt);
  EXPECT_EQ(reasons.size(), 1u);
  EXPECT_TRUE(lines.empty());
}

}  // namespace
