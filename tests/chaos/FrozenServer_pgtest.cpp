// The server's processes are stopped, while its machine still acknowledges what it receives. Each test has a
// server of its own: private_server.sh.

#include <pgAPI.h>

#include <chrono>
#include <future>

#include "server/PrivateServer.h"
#include "server/ServerTest.h"

namespace {

constexpr std::chrono::minutes kLimit{1};  // for every operation, with default settings
constexpr wchar_t kAfterASecond[] = L" connect_timeout=2;-c dbmsapi.silence_check=1";
constexpr wchar_t kReason[] = L" seconds, and a second connection to it failed: connection to server at ";

std::wstring TextOf(const SAString& text) { return {text, text.GetLength()}; }

class FrozenServer : public ServerTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(ServerTest::SetUp());
    Run("create table t (a int)");
  }

  void Connect(const std::wstring& settings = kAfterASecond) {
    const std::wstring text = Host() + L"," + std::to_wstring(Port()) + L"@dbname=" + Database() + settings;
    connection.Connect(text.c_str(), User().c_str(), Password().c_str(), SA_PostgreSQL_Client);
  }
  void Execute(const wchar_t* statement) { SACommand(&connection, statement).Execute(); }

  // Freezes the server during an action, which must fail, and returns its error text.
  template <class Action>
  std::wstring TextWhileFrozen(Action action) {
    ControlServer("freeze");
    auto done = std::async(std::launch::async, [&]() -> std::wstring {
      try {
        action();
      } catch (const SAException& error) {
        return TextOf(error.ErrText());
      }
      return L"nothing was thrown";
    });
    EXPECT_EQ(done.wait_for(kLimit), std::future_status::ready) << "it still waits";
    ControlServer("thaw");
    return done.get();
  }
  static void ExpectReason(const std::wstring& text) {
    EXPECT_TRUE(text.starts_with(L"The server did not answer for ") && text.find(kReason) != text.npos &&
                text.ends_with(L"timeout expired"))
        << testing::PrintToString(text);
  }
  void ExpectItConnectsAgain() {
    EXPECT_FALSE(connection.isAlive());
    connection.Destroy();
    Connect();
    EXPECT_TRUE(connection.isAlive());
  }

  SAConnection connection;
};

TEST_F(FrozenServer, EndsAStatement) {
  Connect();
  ExpectReason(TextWhileFrozen([&] { Execute(L"select 1"); }));
  ExpectItConnectsAgain();
}

TEST_F(FrozenServer, EndsAStatementWithDefaultSettings) {
  Connect(L"");
  ExpectReason(TextWhileFrozen([&] { Execute(L"select 1"); }));
  ExpectItConnectsAgain();
}

TEST_F(FrozenServer, EndsACommit) {
  Connect();
  Execute(L"begin");
  Execute(L"insert into t values (1)");
  ExpectReason(TextWhileFrozen([&] { connection.Commit(); }));
  ExpectItConnectsAgain();
}

TEST_F(FrozenServer, EndsACopyWhoseBuffersAreFull) {
  Connect();
  const auto& api = static_cast<const pgAPI&>(*connection.NativeAPI());
  PGconn* const link = static_cast<pgConnectionHandles*>(connection.NativeHandles())->conn;
  api.PQclear(api.PQexec(link, "copy t from stdin"));
  const std::string rows(std::size_t{64} << 20, '\n');
  int sent = 0;
  TextWhileFrozen([&] { sent = api.PQputCopyData(link, rows.data(), static_cast<int>(rows.size())); });
  EXPECT_EQ(sent, -1);
  const std::string text = api.PQerrorMessage(link);
  ExpectReason({text.begin(), text.end()});
  ExpectItConnectsAgain();
}

TEST_F(FrozenServer, EndsTheEndOfACopy) {
  Connect();
  const auto& api = static_cast<const pgAPI&>(*connection.NativeAPI());
  PGconn* const link = static_cast<pgConnectionHandles*>(connection.NativeHandles())->conn;
  api.PQclear(api.PQexec(link, "copy t from stdin"));
  std::string text;
  TextWhileFrozen([&] {
    EXPECT_EQ(api.PQputCopyData(link, "1\n", 2), 1);
    api.PQputCopyEnd(link, nullptr);
    PGresult* const result = api.PQgetResult(link);
    text = api.PQresultErrorMessage(result);
    api.PQclear(result);
  });
  ExpectReason({text.begin(), text.end()});
  ExpectItConnectsAgain();
}

TEST_F(FrozenServer, EndsAnAttemptToConnect) {
  const std::wstring text = TextWhileFrozen([&] { Connect(); });
  EXPECT_TRUE(text.ends_with(L"timeout expired")) << testing::PrintToString(text);
  Connect();
  EXPECT_TRUE(connection.isAlive());
}

// A wait that has just begun succeeds when the server goes on.
TEST_F(FrozenServer, GoesOnInTime) {
  Connect(L"");
  ControlServer("freeze");
  auto done = std::async(std::launch::async, [&] { Execute(L"insert into t values (1)"); });
  EXPECT_EQ(done.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
  ControlServer("thaw");
  EXPECT_NO_THROW(done.get());
  EXPECT_EQ(Value("select count(*) from t"), "1");
}

}  // namespace
