// Objects on different threads that reach no server. Each reports its own failure.

#include <DbmsAPI/Dbms.h>
#include <DbmsAPI/Diagnostics.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include "threads/Parallel.h"

namespace {

constexpr int kRounds = 50;
constexpr int kThreads = 4;

class Failures : public testing::Test {
 protected:
  ~Failures() override { SetDbmsDebugSink(nullptr); }
};

// Tries a port where nothing listens; returns the number of tries that failed as expected.
int TryInVain() {
  int asked = 0;
  int good = 0;
  const auto dbms = Dbms::GetDbms(DbmsType::TirelScada, L"127.0.0.1", 1, L"scada", L"operator", L"secret");
  dbms->hostSelector = [&](const wchar_t* current) {
    if (std::wstring(current) == L"127.0.0.1") ++asked;
    return L"127.0.0.1";
  };
  std::vector<UserRecord> users;
  for (int i = 0; i < kRounds; ++i) {
    const bool refused =
        !dbms->GetUsers(users) && std::wstring(dbms->GetLastError()).find(L"10061") != std::wstring::npos;
    if (refused && asked == i + 1) ++good;
  }
  return good;
}

TEST_F(Failures, EachObjectReportsItsOwn) {
  std::atomic<int> lines{0};
  SetDbmsDebugSink([&](const wchar_t*) { ++lines; });
  std::atomic<int> good{0};
  const auto body = [&] { good += TryInVain(); };
  InParallel(std::vector<std::function<void()>>(kThreads, body));
  EXPECT_EQ(good, kThreads * kRounds);
  EXPECT_EQ(lines, kThreads * kRounds);
}

TEST_F(Failures, TheDebugSinkMayBeReplacedMeanwhile) {
  std::atomic<int> first{0};
  std::atomic<int> second{0};
  const auto toFirst = [&](const wchar_t*) { ++first; };
  const auto toSecond = [&](const wchar_t*) { ++second; };
  SetDbmsDebugSink(toFirst);
  std::atomic<int> good{0};
  const auto body = [&] { good += TryInVain(); };
  const auto replace = [&] {
    for (int i = 0; i < 20 * kRounds; ++i) {
      SetDbmsDebugSink(toSecond);
      SetDbmsDebugSink(toFirst);
    }
  };
  InParallel({body, replace, body});
  EXPECT_EQ(good, 2 * kRounds);
  EXPECT_EQ(first + second, 2 * kRounds);
}

}  // namespace
