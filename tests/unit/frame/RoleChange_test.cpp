#include <SQLAPI.h>

#include <stdexcept>

#include "DbmsAPI/frame/Registry.h"
#include "scripted/ScriptedTest.h"

namespace {

class RoleChange : public ScriptedTest {
 protected:
  // A selector that records its argument and returns a host.
  void Select(Dbms& object, const wchar_t* answer) {
    object.hostSelector = [this, answer](const wchar_t* current) {
      asked.push_back(current == nullptr ? L"(null)" : current);
      return answer;
    };
  }
  Texts asked;
};

TEST_F(RoleChange, TakesTheHostFromTheSelectorAndDropsTheConnection) {
  ASSERT_TRUE(dbms->Connect());
  Select(*dbms, L"standby");
  dbms->NotifyRoleChange();
  EXPECT_EQ(asked, Texts{L"(null)"});
  EXPECT_EQ(Access::Host(*dbms), L"standby");
  EXPECT_FALSE(dbms->GetConnection()->isConnected());

  ASSERT_TRUE(dbms->Connect());
  EXPECT_EQ(server.connects.back(), L"standby,5432@scada operator secret 10");
}

TEST_F(RoleChange, WithoutASelectorHostAndConnectionAreKept) {
  ASSERT_TRUE(dbms->Connect());
  dbms->NotifyRoleChange();
  Dbms::BroadcastRoleChange();
  EXPECT_EQ(Access::Host(*dbms), L"127.0.0.1");
  EXPECT_TRUE(dbms->GetConnection()->isConnected());
}

TEST_F(RoleChange, ThePlainVariantTakesNoPart) {
  const auto plain = NewDbms(DbmsType::PostgreSQL);
  ASSERT_TRUE(plain->Connect());
  Select(*plain, L"standby");
  plain->NotifyRoleChange();
  Dbms::BroadcastRoleChange();
  EXPECT_TRUE(asked.empty());
  EXPECT_EQ(Access::Host(*plain), L"127.0.0.1");
  EXPECT_TRUE(plain->GetConnection()->isConnected());
}

TEST_F(RoleChange, ABroadcastReachesTheLivingInTheirOrder) {
  const auto second = NewDbms();
  Select(*dbms, L"first host");
  Select(*second, L"second host");
  Dbms::BroadcastRoleChange();
  EXPECT_EQ(asked, (Texts{L"(null)", L"(null)"}));
  EXPECT_EQ(Access::Host(*dbms), L"first host");
  EXPECT_EQ(Access::Host(*second), L"second host");
}

TEST_F(RoleChange, ABroadcastSkipsTheDeadAndForgetsThem) {
  auto gone = NewDbms();
  Select(*gone, L"nowhere");
  const auto last = NewDbms();
  const std::size_t before = InstanceRegistry.size();
  gone.reset();
  EXPECT_EQ(InstanceRegistry.size(), before);
  Dbms::BroadcastRoleChange();
  EXPECT_TRUE(asked.empty());
  ASSERT_EQ(InstanceRegistry.size(), 2u);
  EXPECT_EQ(InstanceRegistry[0].lock(), dbms);
  EXPECT_EQ(InstanceRegistry[1].lock(), last);
}

TEST_F(RoleChange, ACopyIsReachedThroughTheConnectionItShares) {
  ASSERT_TRUE(dbms->Connect());
  Select(*dbms, L"standby");
  TirelScada copy(dynamic_cast<TirelScada&>(*dbms));
  Dbms::BroadcastRoleChange();
  EXPECT_EQ(asked.size(), 1u);
  EXPECT_EQ(Access::Host(copy), L"127.0.0.1");
  EXPECT_FALSE(copy.GetConnection()->isConnected());
}

TEST_F(RoleChange, ASelectorThatThrowsKeepsTheHostAndLosesTheConnection) {
  ASSERT_TRUE(dbms->Connect());
  dbms->hostSelector = [](const wchar_t*) -> const wchar_t* { throw std::runtime_error("no host"); };
  EXPECT_THROW(dbms->NotifyRoleChange(), std::runtime_error);
  EXPECT_EQ(Access::Host(*dbms), L"127.0.0.1");
  EXPECT_FALSE(dbms->GetConnection()->isConnected());
}

TEST_F(RoleChange, ABroadcastReachesTheObjectsAfterOneWhoseSelectorThrows) {
  dbms->hostSelector = [](const wchar_t*) -> const wchar_t* { throw std::runtime_error("first"); };
  const auto second = NewDbms();
  second->hostSelector = [](const wchar_t*) -> const wchar_t* { throw std::logic_error("second"); };
  const auto third = NewDbms();
  Select(*third, L"standby");
  EXPECT_THROW(Dbms::BroadcastRoleChange(), std::runtime_error);
  EXPECT_EQ(Access::Host(*third), L"standby");
}

TEST_F(RoleChange, ASelectorThatAnswersNullKeepsTheHost) {
  ASSERT_TRUE(dbms->Connect());
  Select(*dbms, nullptr);
  dbms->NotifyRoleChange();
  EXPECT_EQ(Access::Host(*dbms), L"127.0.0.1");
  EXPECT_FALSE(dbms->GetConnection()->isConnected());
}

TEST_F(RoleChange, ACallbackMayMakeAnObject) {
  std::shared_ptr<Dbms> made;
  dbms->hostSelector = [&](const wchar_t*) {
    made = NewDbms();
    return L"standby";
  };
  Dbms::BroadcastRoleChange();
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(InstanceRegistry.back().lock(), made);
}

}  // namespace
