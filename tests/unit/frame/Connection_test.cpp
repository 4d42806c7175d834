#include <SQLAPI.h>

#include <algorithm>
#include <stdexcept>

#include "DbmsAPI/Diagnostics.h"
#include "scripted/ScriptedTest.h"

namespace {

constexpr wchar_t kRefused[] = L"connection failed: Connection refused (0x0000274D/10061)";

class Connection : public ScriptedTest {
 protected:
  void SelectStandby() {
    dbms->hostSelector = [this](const wchar_t* current) {
      asked.push_back(current);
      return L"standby";
    };
  }
  void Handle(int errorClass, int nativeCode, const wchar_t* text) {
    Access::HandleDbException(*dbms, SAException(static_cast<SAErrorClass_t>(errorClass), nativeCode, text));
  }
  bool Destroyed() const {
    return std::find(server.events.begin(), server.events.end(), L"destroy") != server.events.end();
  }
  Texts asked;
};

TEST_F(Connection, ConnectsOnceWithTheParameters) {
  EXPECT_TRUE(dbms->Connect());
  EXPECT_TRUE(dbms->Connect());
  EXPECT_EQ(server.connects, Texts{L"127.0.0.1,5432@scada operator secret 10"});
}

TEST_F(Connection, AnOpenConnectionIsNotTestedForLife) {
  ASSERT_TRUE(dbms->Connect());
  server.alive = false;
  server.Forget();
  EXPECT_TRUE(dbms->Connect());
  EXPECT_EQ(server.events, Texts{L"connected?"});
}

TEST_F(Connection, ARefusedConnectionAsksForAnotherHost) {
  SelectStandby();
  server.RefuseConnections({3, 1, kRefused});
  EXPECT_FALSE(dbms->Connect());
  EXPECT_EQ(asked, Texts{L"127.0.0.1"});
  EXPECT_EQ(Access::Host(*dbms), L"standby");
  EXPECT_TRUE(Destroyed());
  EXPECT_STREQ(dbms->GetLastError(), kRefused);

  server.AcceptConnections();
  EXPECT_TRUE(dbms->Connect());
  EXPECT_EQ(server.connects.back(), L"standby,5432@scada operator secret 10");
}

TEST_F(Connection, ASelectorMayNotifyARoleChangeAndReturnTheTextItWasGiven) {
  const std::wstring nested(1000, L'n');
  dbms->hostSelector = [&](const wchar_t* current) {
    if (!current) return nested.c_str();
    dbms->NotifyRoleChange();
    EXPECT_EQ(Access::Host(*dbms), nested);
    return current;
  };
  server.RefuseConnections({3, 1, kRefused});
  EXPECT_FALSE(dbms->Connect());
  EXPECT_EQ(Access::Host(*dbms), L"127.0.0.1");
}

TEST_F(Connection, AnExceptionOfTheSelectorLeavesTheOperationAfterTheConnectionIsDropped) {
  ASSERT_TRUE(dbms->Connect());
  dbms->hostSelector = [](const wchar_t*) -> const wchar_t* { throw std::runtime_error("no host"); };
  server.alive = false;
  server.FailStatement(1, {3, 7, L"server closed the connection unexpectedly"});
  EXPECT_THROW(dbms->DeleteAllUsers(), std::runtime_error);
  EXPECT_FALSE(dbms->GetConnection()->isConnected());
  EXPECT_EQ(Access::Host(*dbms), L"127.0.0.1");
  EXPECT_STREQ(dbms->GetLastError(), L"server closed the connection unexpectedly");
}

TEST_F(Connection, ARefusedConnectionIsDroppedWithoutASelectorToo) {
  server.RefuseConnections({3, 1, kRefused});
  EXPECT_FALSE(dbms->Connect());
  EXPECT_EQ(Access::Host(*dbms), L"127.0.0.1");
  EXPECT_TRUE(Destroyed());
}

TEST_F(Connection, AnotherReasonNotToConnectChangesNothing) {
  SelectStandby();
  server.RefuseConnections({3, 1, L"password authentication failed"});
  EXPECT_FALSE(dbms->Connect());
  EXPECT_TRUE(asked.empty());
  EXPECT_EQ(Access::Host(*dbms), L"127.0.0.1");
  EXPECT_FALSE(Destroyed());
}

TEST_F(Connection, ATextShorterThanTheCodeIsNoLostServer) {
  SelectStandby();
  Handle(3, 1, L"1006");
  EXPECT_FALSE(Destroyed());
}

TEST_F(Connection, AnOrdinaryErrorLeavesTheConnectionOpen) {
  ASSERT_TRUE(dbms->Connect());
  SelectStandby();
  Handle(3, 7, L"syntax error");
  EXPECT_TRUE(asked.empty());
  EXPECT_FALSE(Destroyed());
  EXPECT_TRUE(dbms->GetConnection()->isConnected());
}

TEST_F(Connection, ALostServerIsAskedForLifeFirstAndThenAbandoned) {
  ASSERT_TRUE(dbms->Connect());
  SelectStandby();
  server.alive = false;
  server.Forget();
  Handle(3, 7, L"server closed the connection unexpectedly");
  EXPECT_EQ(server.events, (Texts{L"alive?", L"connected?", L"destroy"}));
  EXPECT_EQ(asked, Texts{L"127.0.0.1"});
  EXPECT_EQ(Access::Host(*dbms), L"standby");
}

TEST_F(Connection, AnUnconnectedObjectHasNothingToLose) {
  SelectStandby();
  Handle(3, 7, L"x");
  EXPECT_EQ(server.events, (Texts{L"alive?", L"connected?"}));
  EXPECT_TRUE(asked.empty());
}

TEST_F(Connection, OtherClassesAndCodesChangeNothing) {
  ASSERT_TRUE(dbms->Connect());
  SelectStandby();
  server.alive = false;
  server.Forget();
  for (const auto& [errorClass, nativeCode] :
       {std::pair{0, 7}, {1, 7}, {2, 7}, {2, 1}, {3, 0}, {3, 2}, {3, 8}}) {
    Handle(errorClass, nativeCode, kRefused);
    EXPECT_TRUE(server.events.empty()) << errorClass << ' ' << nativeCode;
  }
  EXPECT_TRUE(asked.empty());
}

TEST_F(Connection, TheDebugLineHasClassCodeAndText) {
  Handle(3, 7, L"x");
  EXPECT_EQ(debugLines, Texts{L"on exception(3, 7) - x\n"});
}

TEST_F(Connection, TheLastErrorStaysAfterASuccess) {
  Handle(2, 0, L"first");
  ASSERT_TRUE(dbms->Connect());
  EXPECT_STREQ(dbms->GetLastError(), L"first");
  Handle(2, 0, L"second");
  EXPECT_STREQ(dbms->GetLastError(), L"second");
}

TEST_F(Connection, TheServerVersionComesOverASeparateConnection) {
  std::wstring text;
  EXPECT_TRUE(dbms->GetServerVersion(text));
  EXPECT_EQ(text, L"PostgreSQL of the script");
  EXPECT_EQ(server.connects, Texts{L"127.0.0.1,5432@scada operator secret 10"});
  EXPECT_FALSE(dbms->GetConnection()->isConnected());
}

TEST_F(Connection, TheServerVersionOfAServerOutOfReachIsTheErrorsText) {
  server.RefuseConnections({3, 1, kRefused});
  std::wstring text;
  EXPECT_FALSE(dbms->GetServerVersion(text));
  EXPECT_EQ(text, kRefused);
  EXPECT_STREQ(dbms->GetLastError(), kRefused);
}

TEST_F(Connection, AFailureOfTheTemporaryConnectionDropsTheSharedOne) {
  ASSERT_TRUE(dbms->Connect());
  SelectStandby();
  server.RefuseConnections({3, 1, kRefused});
  std::wstring text;
  EXPECT_FALSE(dbms->GetServerVersion(text));
  EXPECT_EQ(Access::Host(*dbms), L"standby");
  EXPECT_FALSE(dbms->GetConnection()->isConnected());
}

TEST_F(Connection, KeepsTheSqlStateOfTheLastFailure) {
  EXPECT_EQ(LastSqlState(*dbms), "");
  Access::HandleDbException(*dbms, SAException(SA_DBMS_API_Error, 7, L"ERROR:  no such table", "42P01"));
  EXPECT_EQ(LastSqlState(*dbms), "42P01");
  EXPECT_TRUE(dbms->DeleteAllComments());
  EXPECT_EQ(LastSqlState(*dbms), "42P01") << "a success does not clear it, as it does not clear the text";
  EXPECT_EQ(LastSqlState(TirelScada(dynamic_cast<TirelScada&>(*dbms))), "42P01");
  Handle(2, 0, L"The parameter is not bound");
  EXPECT_EQ(LastSqlState(*dbms), "");
}

TEST_F(Connection, ARefusedConnectionHasNoSqlState) {
  server.FailStatement(1, {3, 7, L"ERROR:  no such table", "42P01"});
  EXPECT_FALSE(dbms->DeleteAllComments());
  EXPECT_EQ(LastSqlState(*dbms), "42P01");
  dbms->GetConnection()->Destroy();
  server.RefuseConnections({3, 1, kRefused});
  EXPECT_FALSE(dbms->DeleteAllComments());
  EXPECT_EQ(LastSqlState(*dbms), "");
}

}  // namespace
