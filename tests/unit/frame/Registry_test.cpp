#include <SQLAPI.h>

#include <algorithm>

#include "DbmsAPI/frame/Registry.h"
#include "scripted/ScriptedTest.h"

namespace {

class Factory : public ScriptedTest {};

TEST_F(Factory, AnUnknownTypeGivesNothingAndRegistersNothing) {
  const std::size_t before = InstanceRegistry.size();
  EXPECT_EQ(NewDbms(static_cast<DbmsType>(2)), nullptr);
  EXPECT_EQ(NewDbms(static_cast<DbmsType>(-1)), nullptr);
  EXPECT_EQ(InstanceRegistry.size(), before);
}

TEST_F(Factory, RegistersEveryObjectItHandsOut) {
  const std::size_t before = InstanceRegistry.size();
  const auto made = NewDbms();
  ASSERT_EQ(InstanceRegistry.size(), before + 1);
  EXPECT_EQ(InstanceRegistry.back().lock(), made);
}

TEST_F(Factory, MakesTheTypeAskedFor) {
  EXPECT_EQ(Access::Type(*dbms), DbmsType::TirelScada);
  EXPECT_TRUE(Access::TimescaleEnabled(*dbms));

  const auto plain = NewDbms(DbmsType::PostgreSQL);
  EXPECT_EQ(Access::Type(*plain), DbmsType::PostgreSQL);
  EXPECT_FALSE(Access::TimescaleEnabled(*plain));
}

TEST_F(Factory, ConnectsNothing) {
  EXPECT_TRUE(server.connects.empty());
  EXPECT_FALSE(dbms->GetConnection()->isConnected());
}

TEST_F(Factory, ANullTextIsTheEmptyText) {
  for (const DbmsType type : {DbmsType::TirelScada, DbmsType::PostgreSQL}) {
    const auto made = Dbms::GetDbms(type, nullptr, 5432, nullptr, nullptr, nullptr);
    ASSERT_NE(made, nullptr);
    EXPECT_TRUE(made->Connect());
    EXPECT_EQ(server.connects.back(), L",5432@   10");
  }
}

TEST_F(Factory, TheLastErrorOfAFreshObjectIsEmpty) { EXPECT_STREQ(dbms->GetLastError(), L""); }

TEST_F(Factory, ACopySharesTheConnectionAndIsNotRegistered) {
  dbms->hostSelector = [](const wchar_t*) { return L"other"; };
  const std::size_t before = InstanceRegistry.size();
  TirelScada copy(dynamic_cast<TirelScada&>(*dbms));
  EXPECT_EQ(copy.GetConnection(), dbms->GetConnection());
  EXPECT_EQ(Access::Host(copy), L"127.0.0.1");
  EXPECT_TRUE(copy.hostSelector);
  EXPECT_EQ(InstanceRegistry.size(), before);
}

TEST_F(Factory, AssignmentSharesTheConnectionToo) {
  TirelScada other(L"elsewhere", 1, L"d", L"u", L"p");
  const std::weak_ptr<SAConnection> former = other.GetConnection();
  other = dynamic_cast<TirelScada&>(*dbms);
  EXPECT_EQ(other.GetConnection(), dbms->GetConnection());
  EXPECT_EQ(Access::Host(other), L"127.0.0.1");
  EXPECT_TRUE(former.expired());

  const TirelScada& self = other;
  other = self;
  EXPECT_EQ(Access::Host(other), L"127.0.0.1");
}

}  // namespace
