// What happens when the connection to the server is lost.

#include <chrono>
#include <future>

#include "ClientTest.h"
#include "server/ProtocolTap.h"

namespace {

constexpr auto kLongEnough = std::chrono::minutes(2);

class LostLink : public ClientTest {
 protected:
  // Makes the server send a signal to one of its processes.
  void Signal(const char* signal, const std::string& pid) {
    Run("copy (select 1) to program 'cat > /dev/null; kill -" + std::string(signal) + " " + pid + "'");
  }

  static testing::AssertionResult NamesTheReason(const SAException& error) {
    const bool names =
        error.ErrClass() == SA_DBMS_API_Error && error.ErrNativeCode() == 7 &&
        Wide(error.ErrText()).starts_with(L"FATAL:  terminating connection due to administrator command");
    return (names ? testing::AssertionSuccess() : testing::AssertionFailure()) << error.what();
  }
};

TEST_F(LostLink, BetweenStatementsShowsInTheNextOne) {
  Connect();
  TerminateBackends();
  EXPECT_TRUE(connection.isConnected());
  const SAException error = Thrown([&] { Ask(L"select 1"); });
  EXPECT_TRUE(NamesTheReason(error));
  EXPECT_FALSE(Wide(error.ErrText()).ends_with(L'\n'));
  EXPECT_TRUE(connection.isConnected());
  EXPECT_FALSE(connection.isAlive());
  EXPECT_SA_ERROR(SA_DBMS_API_Error, 7, Ask(L"select 1"));
}

TEST_F(LostLink, BetweenStatementsShowsInIsAlive) {
  Connect();
  TerminateBackends();
  EXPECT_FALSE(connection.isAlive());
  EXPECT_TRUE(connection.isConnected());
}

TEST_F(LostLink, BetweenStatementsShowsInACommandWithParameters) {
  Connect();
  SACommand command(&connection, L"select :1::int");
  command << 1;
  command.Execute();
  TerminateBackends();
  command << 2;
  EXPECT_TRUE(NamesTheReason(Thrown([&] { command.Execute(); })));
  connection.Destroy();
  Connect();
  command.Execute();
  EXPECT_EQ(Fetch(command), (std::vector<std::wstring>{L"2"}));
}

TEST_F(LostLink, BetweenStatementsShowsInAStatementOfTheLayer) {
  Connect();
  TerminateBackends();
  EXPECT_TRUE(NamesTheReason(Thrown([&] { connection.setIsolationLevel(SA_ReadCommitted); })));
  EXPECT_FALSE(connection.isAlive());
}

TEST_F(LostLink, UnderAStatementFailsIt) {
  Connect();
  auto waiting =
      std::async(std::launch::async, [&] { return Thrown([&] { Ask(L"select pg_sleep(3600)"); }); });
  WaitUntil(
      "select count(*) = 1 from pg_stat_activity where query = 'select pg_sleep(3600)' and state = 'active'");
  TerminateBackends();
  const SAException error = waiting.get();
  EXPECT_EQ(error.ErrClass(), SA_DBMS_API_Error);
  EXPECT_EQ(error.ErrNativeCode(), 7);
  EXPECT_NE(Wide(error.ErrText()).find(L"terminating connection"), std::wstring::npos) << error.what();
  EXPECT_FALSE(connection.isAlive());
}

TEST_F(LostLink, WithoutAMessageIsNamedToo) {
  const std::wstring host = Host();
  ProtocolTap tap(std::string(host.begin(), host.end()), Port());
  ConnectTo(connection, L"127.0.0.1," + std::to_wstring(tap.Port()) + L"@dbname=" + Database() +
                            L" sslmode=disable gssencmode=disable");
  SACommand command(&connection, L"select i, repeat('x', 1000) from generate_series(1, 100000) i");
  command.Execute();
  ASSERT_TRUE(command.FetchNext());
  tap.Stop();
  const SAException error = Thrown([&] { Fetch(command); });
  EXPECT_EQ(error.ErrClass(), SA_DBMS_API_Error);
  EXPECT_EQ(error.ErrNativeCode(), 7);
  EXPECT_TRUE(Wide(error.ErrText()).starts_with(L"server closed the connection unexpectedly"))
      << error.what();
  EXPECT_FALSE(command.FetchNext());
  const SAException next = Thrown([&] { command.Execute(); });
  EXPECT_EQ(next.ErrNativeCode(), 7);
  EXPECT_EQ(Wide(next.ErrText()), L"no connection to the server");
}

TEST_F(LostLink, WithinRowsIsReportedAfterTheRowsReceived) {
  Connect();
  SACommand command(&connection, L"select i, repeat('x', 1000) from generate_series(1, 1000000) i");
  command.Execute();
  TerminateBackends();
  int rows = 0;
  EXPECT_SA_ERROR(
      SA_DBMS_API_Error, 7, while (command.FetchNext()) { ASSERT_EQ(command.Field(1).asLong(), ++rows); });
  EXPECT_GT(rows, 1);
  EXPECT_LT(rows, 1000000);
}

TEST_F(LostLink, LeavesTheConnectionToBeUsedAgain) {
  Connect();
  TerminateBackends();
  EXPECT_SA_ERROR(SA_DBMS_API_Error, 7, Ask(L"select 1"));
  connection.Destroy();
  EXPECT_FALSE(connection.isConnected());
  EXPECT_FALSE(connection.isAlive());
  Connect();
  EXPECT_EQ(Ask(L"select 1"), L"1");
  TerminateBackends();
  connection.Disconnect();
  EXPECT_FALSE(connection.isConnected());
}

TEST_F(LostLink, LeavesCommandsDeadButSafe) {
  Connect();
  SACommand reading(&connection, L"select i from generate_series(1, 1000) i");
  reading.Execute();
  ASSERT_TRUE(reading.FetchNext());
  SACommand bound(&connection, L"select :1::int");
  connection.Destroy();
  EXPECT_EQ(reading.Field(1).asLong(), 1);
  EXPECT_SA_ERROR(SA_Library_Error, 0, reading.FetchNext());
  EXPECT_FALSE(reading.FetchNext());
  EXPECT_SA_ERROR(SA_Library_Error, 0, reading.Execute());
  Connect();
  reading.Execute();
  EXPECT_EQ(Fetch(reading).size(), 1000u);
  bound << 5;
  bound.Execute();
  EXPECT_EQ(Fetch(bound), (std::vector<std::wstring>{L"5"}));
}

TEST_F(LostLink, MayEndBeforeItsCommands) {
  auto going = std::make_unique<SAConnection>();
  Connect(*going);
  SACommand command(going.get(), L"select :1::int");
  command << 1;
  command.Execute();
  going.reset();
  EXPECT_SA_ERROR(SA_Library_Error, 0, command.FetchNext());
  EXPECT_SA_ERROR(SA_Library_Error, 0, command.Execute());
}

// The server's process is frozen and the buffers to it are full: a Terminate message would wait forever.
TEST_F(LostLink, IsDroppedWithoutWaitingForAFrozenServer) {
  Connect();
  const std::string pid = Pid();
  Signal("STOP", pid);
  WaitUntil("select pg_read_file('/proc/" + pid + "/stat') like '%) T %'");
  FillSocket(*static_cast<pgConnectionHandles*>(connection.NativeHandles()));
  auto destroyed = std::async(std::launch::async, [&] { connection.Destroy(); });
  const bool returned = destroyed.wait_for(kLongEnough) == std::future_status::ready;
  Signal("CONT", pid);
  EXPECT_TRUE(returned) << "while the server's process stood still";
  EXPECT_FALSE(connection.isConnected());
  Connect();
  EXPECT_EQ(Ask(L"select 1"), L"1");
}

TEST_F(LostLink, IsDroppedWithoutReadingWhatIsUnread) {
  Connect();
  SACommand command(&connection, L"select i, repeat('x', 1000) from generate_series(1, 1000000) i");
  command.Execute();
  const std::string pid = Value("select pid from " + std::string(kOtherBackends) + " others");
  Signal("STOP", pid);
  auto destroyed = std::async(std::launch::async, [&] { connection.Destroy(); });
  const bool returned = destroyed.wait_for(kLongEnough) == std::future_status::ready;
  Signal("CONT", pid);
  EXPECT_TRUE(returned) << "while the server's process stood still";
  EXPECT_SA_ERROR(SA_Library_Error, 0, command.FetchNext());
  WaitUntil("select count(*) = 0 from " + std::string(kOtherBackends) + " others");
}

}  // namespace
