#include "DbmsAPI/frame/Diagnostics.h"

#include <gtest/gtest.h>

#include "DbmsAPI/Diagnostics.h"

namespace {

class Diagnostics : public ::testing::Test {
 protected:
  Diagnostics() {
    SetDbmsDebugSink([this](const wchar_t* line) { lines.emplace_back(line); });
  }
  ~Diagnostics() override {
    SetDbmsDebugSink(nullptr);
    SetDbmsInvalidParameterHandler(nullptr);
  }
  std::vector<std::wstring> lines;
};

TEST_F(Diagnostics, TheSinkReceivesWholeLines) {
  WriteDebugLine(L"on exception(3, 7) - x\n");
  EXPECT_EQ(lines, std::vector<std::wstring>{L"on exception(3, 7) - x\n"});
}

TEST_F(Diagnostics, ASinkMayWriteALineItself) {
  SetDbmsDebugSink([this](const wchar_t* line) {
    lines.emplace_back(line);
    if (lines.size() == 1) WriteDebugLine(L"inner");
  });
  WriteDebugLine(L"outer");
  EXPECT_EQ(lines, (std::vector<std::wstring>{L"outer", L"inner"}));
}

TEST_F(Diagnostics, ATextThatFitsItsBufferIsGivenBack) {
  EXPECT_EQ(FitBuffer(4, L"abc"), L"abc");
  EXPECT_TRUE(lines.empty());
}

TEST_F(Diagnostics, ATextThatLeavesNoRoomForTheTerminatorIsReported) {
  EXPECT_EQ(FitBuffer(3, L"abc"), std::nullopt);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0], L"invalid parameter: 3 characters do not fit a buffer of 3\n");
}

TEST_F(Diagnostics, AnInvalidParameterHandlerReplacesTheLine) {
  std::vector<std::wstring> reasons;
  SetDbmsInvalidParameterHandler([&](const wchar_t* reason) { reasons.emplace_back(reason); });
  EXPECT_EQ(FitBuffer(1, L"abc"), std::nullopt);
  EXPECT_EQ(reasons.size(), 1u);
  EXPECT_TRUE(lines.empty());
}

}  // namespace
