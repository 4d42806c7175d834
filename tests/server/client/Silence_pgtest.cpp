// A proxy keeps a connection open and swallows what goes over it: nothing on the level of TCP notices.

#include "ClientTest.h"
#include "server/TcpGate.h"

namespace {

using testing::AssertionResult;

constexpr wchar_t kOptions[] = L" sslmode=disable gssencmode=disable connect_timeout=2";
constexpr wchar_t kAfterASecond[] = L";-c dbmsapi.silence_check=1";

class Silence : public ClientTest {
 protected:
  void SetUp() override {
    ClientTest::SetUp();
    Run("create table t (a int, b text)");
    const std::wstring host = Host();
    gate = std::make_unique<TcpGate>(std::string(host.begin(), host.end()), Port());
  }
  void TearDown() override {
    connection.Destroy();
    gate.reset();
    ClientTest::TearDown();
  }

  std::wstring Gate(const std::wstring& options = kAfterASecond) const {
    return L"127.0.0.1," + std::to_wstring(gate->Port()) + L"@dbname=" + Database() + kOptions + options;
  }
  void ConnectThroughGate(const std::wstring& options = kAfterASecond) {
    ConnectTo(connection, Gate(options));
  }

  static AssertionResult SaysWhy(const std::wstring& text) {
    const bool says =
        text.starts_with(L"The server did not answer for ") &&
        text.find(L" seconds, and its process ") != text.npos &&
        text.ends_with(L" for this connection waits for the client: the network loses what is sent");
    return (says ? testing::AssertionSuccess() : testing::AssertionFailure()) << testing::PrintToString(text);
  }
  static AssertionResult SaysWhy(const SAException& error) {
    EXPECT_EQ(error.ErrClass(), SA_DBMS_API_Error);
    EXPECT_EQ(error.ErrNativeCode(), 7);
    return SaysWhy(Wide(error.ErrText()));
  }
  static AssertionResult SaysWhy(const char* text) {
    return SaysWhy(std::wstring(text, text + std::char_traits<char>::length(text)));
  }

  void ExpectItConnectsAgain() {
    EXPECT_TRUE(connection.isConnected());
    EXPECT_FALSE(connection.isAlive());
    connection.Destroy();
    ConnectThroughGate();
    EXPECT_EQ(Ask(L"select 1"), L"1");
  }

  PGconn* Link() { return static_cast<pgConnectionHandles*>(connection.NativeHandles())->conn; }
  // The status and the text of a result, which it frees.
  std::pair<int, std::string> Take(PGresult* result) {
    const std::pair taken(api.PQresultStatus(result), std::string(api.PQresultErrorMessage(result)));
    api.PQclear(result);
    return taken;
  }
  void StartCopy() { EXPECT_EQ(Take(api.PQexec(Link(), "copy t from stdin")).first, 4); }

  const pgAPI& api = static_cast<const pgAPI&>(*connection.NativeAPI());
  std::unique_ptr<TcpGate> gate;
};

TEST_F(Silence, OfALostStatementEnds) {
  ConnectThroughGate();
  gate->SwallowAfter(1);
  EXPECT_TRUE(SaysWhy(Thrown([&] { Ask(L"select 1"); })));
  ExpectItConnectsAgain();
}

TEST_F(Silence, OfALostAnswerEnds) {
  ConnectThroughGate();
  gate->SwallowAnswers();
  EXPECT_TRUE(SaysWhy(Thrown([&] { Ask(L"insert into t values (1)"); })));
  ExpectItConnectsAgain();
  EXPECT_EQ(Value("select count(*) from t"), "1");
}

TEST_F(Silence, OfALostCommitEnds) {
  ConnectThroughGate();
  Ask(L"begin; insert into t values (1)");
  gate->SwallowAfter(1);
  EXPECT_TRUE(SaysWhy(Thrown([&] { connection.Commit(); })));
  ExpectItConnectsAgain();
}

TEST_F(Silence, WithinRowsEnds) {
  ConnectThroughGate();
  SACommand command(&connection, L"select i, repeat('x', 1000) from generate_series(1, 100000) i");
  command.Execute();
  ASSERT_TRUE(command.FetchNext());
  gate->SwallowAnswers();
  EXPECT_TRUE(SaysWhy(Thrown([&] { Fetch(command); })));
  ExpectItConnectsAgain();
}

TEST_F(Silence, OfALostPingEnds) {
  ConnectThroughGate();
  gate->SwallowAfter(1);
  EXPECT_FALSE(connection.isAlive());
  ExpectItConnectsAgain();
}

TEST_F(Silence, OfALostNativeStatementEnds) {
  ConnectThroughGate();
  gate->SwallowAfter(1);
  const auto [status, text] = Take(api.PQexec(Link(), "select 1"));
  EXPECT_EQ(status, 7);
  EXPECT_TRUE(SaysWhy(text.c_str()));
  EXPECT_TRUE(SaysWhy(api.PQerrorMessage(Link())));
  ExpectItConnectsAgain();
}

TEST_F(Silence, OfLostRowsOfACopyEnds) {
  ConnectThroughGate();
  StartCopy();
  gate->SwallowAfter(1);
  EXPECT_EQ(api.PQputCopyData(Link(), "1\tx\n", 4), 1);
  EXPECT_EQ(api.PQputCopyEnd(Link(), nullptr), 1);
  const auto [status, text] = Take(api.PQgetResult(Link()));
  EXPECT_EQ(status, 7);
  EXPECT_TRUE(SaysWhy(text.c_str()));
  EXPECT_EQ(api.PQgetResult(Link()), nullptr);
  ExpectItConnectsAgain();
}

// Nobody reads what is sent: the buffers fill, and sending waits.
TEST_F(Silence, OfACopyThatNobodyReadsEnds) {
  ConnectThroughGate();
  StartCopy();
  gate->StallAfter(1);
  const std::string rows(std::size_t{64} << 20, '\n');
  EXPECT_EQ(api.PQputCopyData(Link(), rows.data(), static_cast<int>(rows.size())), -1);
  EXPECT_TRUE(SaysWhy(api.PQerrorMessage(Link())));
  api.PQputCopyEnd(Link(), "cancelled");
  EXPECT_EQ(Take(api.PQgetResult(Link())).first, 7);
  ExpectItConnectsAgain();
}

TEST_F(Silence, OfAStatementThatNobodyReadsEnds) {
  ConnectThroughGate();
  gate->StallAfter(1);
  const std::wstring statement = L"select length('" + std::wstring(std::size_t{64} << 20, L'x') + L"')";
  EXPECT_TRUE(SaysWhy(Thrown([&] { Ask(statement); })));
  ExpectItConnectsAgain();
}

// The connection's process has ended, and the client was not notified.
TEST_F(Silence, OfAProcessThatIsGoneEnds) {
  ConnectThroughGate();
  gate->SwallowAnswers();
  TerminateBackends();
  const std::wstring text = Wide(Thrown([&] { Ask(L"select 1"); }).ErrText());
  EXPECT_TRUE(text.ends_with(L" for this connection is gone")) << testing::PrintToString(text);
}

TEST_F(Silence, OfAServerThatCannotBeReachedEnds) {
  ConnectThroughGate();
  gate->SwallowAnswers();
  gate->TurnAway();
  const std::wstring text = Wide(Thrown([&] { Ask(L"select 1"); }).ErrText());
  EXPECT_NE(text.find(L" seconds, and a second connection to it failed: connection to server at "), text.npos)
      << testing::PrintToString(text);
  EXPECT_EQ(text.find(Password()), text.npos);
}

TEST_F(Silence, OfAWorkingServerIsTolerated) {
  ConnectThroughGate();
  EXPECT_EQ(Ask(L"select 'done' from pg_sleep(6)"), L"done");
  EXPECT_GE(gate->Connections(), 2) << "nobody has asked whether the server works";
}

TEST_F(Silence, OfAServerAtWorkEndsAtTheLimit) {
  ConnectThroughGate(L";-c dbmsapi.silence_check=1 -c dbmsapi.silence_limit=4");
  const std::wstring text = Wide(Thrown([&] { Ask(L"select pg_sleep(1000)"); }).ErrText());
  EXPECT_TRUE(text.starts_with(L"The server did not answer for ") &&
              text.ends_with(L" seconds, and dbmsapi.silence_limit allows no more"))
      << testing::PrintToString(text);
  EXPECT_GE(gate->Connections(), 2) << "nobody has asked whether the server works";
  TerminateBackends();
  ExpectItConnectsAgain();
}

TEST_F(Silence, IsLimitedWithoutAQuestionToo) {
  ConnectThroughGate(L";-c dbmsapi.silence_check=0 -c dbmsapi.silence_limit=1");
  const std::wstring text = Wide(Thrown([&] { Ask(L"select pg_sleep(1000)"); }).ErrText());
  EXPECT_TRUE(text.ends_with(L" dbmsapi.silence_limit allows no more")) << testing::PrintToString(text);
  EXPECT_EQ(gate->Connections(), 1);
  TerminateBackends();
}

TEST_F(Silence, OfAServerWithTooManyConnectionsIsTolerated) {
  const std::wstring name = L"role_of_" + Database();
  const std::string role(name.begin(), name.end());
  Run("create role " + role + " login password 'secret' connection limit 1");
  connection.Connect(Gate().c_str(), name.c_str(), L"secret", SA_PostgreSQL_Client);
  EXPECT_EQ(Ask(L"select 'done' from pg_sleep(6)"), L"done");
  EXPECT_GE(gate->Connections(), 2);
  connection.Destroy();
  WaitUntil("select not exists " + std::string(kOtherBackends));
  Run("drop role " + role);
}

// Everything takes longer than the silence limit: when the second connection has its answer, the statement
// has its answer as well.
TEST_F(Silence, OfASlowNetworkIsTolerated) {
  const std::wstring options = L" connect_timeout=60" + std::wstring(kAfterASecond);
  ConnectThroughGate(options);
  gate->Delay(std::chrono::milliseconds(700));
  EXPECT_EQ(Ask(L"select 'done'"), L"done");
  EXPECT_GE(gate->Connections(), 2);
}

TEST_F(Silence, IsNotCheckedWhenTheCheckIsOff) {
  ConnectThroughGate(L";-c dbmsapi.silence_check=0");
  EXPECT_EQ(Ask(L"select 'done' from pg_sleep(3)"), L"done");
  EXPECT_EQ(gate->Connections(), 1);
}

TEST_F(Silence, IsNotCheckedAtOnce) {
  ConnectThroughGate(L"");
  EXPECT_EQ(Ask(L"select 'done' from pg_sleep(3)"), L"done");
  EXPECT_EQ(gate->Connections(), 1);
}

TEST_F(Silence, IsLimitedByTheEnvironmentToo) {
  const EnvironmentVariable options("PGOPTIONS", "-c dbmsapi.silence_check=1");
  ConnectThroughGate(L"");
  gate->SwallowAfter(1);
  EXPECT_TRUE(SaysWhy(Thrown([&] { Ask(L"select 1"); })));
}

}  // namespace
