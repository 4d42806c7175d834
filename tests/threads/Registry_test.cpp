#include <DbmsAPI/Dbms.h>
#include <gtest/gtest.h>

#include <atomic>

#include "threads/Parallel.h"

namespace {

constexpr int kRounds = 500;

std::shared_ptr<Dbms> NewDbms(DbmsType type = DbmsType::TirelScada) {
  return Dbms::GetDbms(type, L"127.0.0.1", 1, L"scada", L"operator", L"secret");
}

TEST(Registry, ObjectsComeAndGoWhileRoleChangesAreBroadcast) {
  std::atomic<int> made{0};
  const auto make = [&] {
    for (int i = 0; i < kRounds; ++i) {
      const auto dbms = NewDbms(i % 2 == 0 ? DbmsType::TirelScada : DbmsType::PostgreSQL);
      const auto other = NewDbms();
      if (dbms && other && dbms->GetConnection() != other->GetConnection()) ++made;
    }
  };
  const auto broadcast = [] {
    for (int i = 0; i < kRounds; ++i) Dbms::BroadcastRoleChange();
  };
  InParallel({make, make, broadcast, broadcast, make});
  EXPECT_EQ(made, 3 * kRounds);
}

TEST(Registry, ABroadcastReachesItsObjectsWhileOthersAreMade) {
  std::vector<std::shared_ptr<Dbms>> objects;
  std::vector<int> asked(20);
  for (int& count : asked) {
    objects.push_back(NewDbms());
    objects.back()->hostSelector = [&count](const wchar_t* current) {
      if (current == nullptr) ++count;
      return L"127.0.0.1";
    };
  }
  const auto make = [] {
    for (int i = 0; i < kRounds; ++i) NewDbms();
  };
  const auto broadcast = [] {
    for (int i = 0; i < kRounds; ++i) Dbms::BroadcastRoleChange();
  };
  InParallel({broadcast, make, make});
  EXPECT_EQ(asked, std::vector<int>(20, kRounds));
}

TEST(Registry, CallbacksMayMakeObjectsAndBroadcastersMayMeetThem) {
  std::vector<std::shared_ptr<Dbms>> fromCallbacks;
  const auto dbms = NewDbms();
  dbms->hostSelector = [&](const wchar_t*) {
    fromCallbacks.push_back(NewDbms());
    return L"127.0.0.1";
  };
  const auto make = [] {
    for (int i = 0; i < kRounds; ++i) NewDbms();
  };
  const auto broadcast = [] {
    for (int i = 0; i < kRounds; ++i) Dbms::BroadcastRoleChange();
  };
  InParallel({broadcast, make, make});
  EXPECT_EQ(fromCallbacks.size(), static_cast<std::size_t>(kRounds));
}

TEST(Registry, TheLastOwnerMayBeABroadcast) {
  const auto broadcast = [] {
    for (int i = 0; i < kRounds; ++i) Dbms::BroadcastRoleChange();
  };
  std::atomic<int> released{0};
  const auto release = [&] {
    for (int i = 0; i < kRounds; ++i) {
      auto dbms = NewDbms();
      const std::weak_ptr<SAConnection> connection = dbms->GetConnection();
      dbms.reset();
      // A broadcast that holds the object releases it soon.
      while (!connection.expired()) std::this_thread::yield();
      ++released;
    }
  };
  InParallel({broadcast, release, release});
  EXPECT_EQ(released, 2 * kRounds);
}

}  // namespace
