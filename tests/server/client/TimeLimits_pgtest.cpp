// How long Connect, and a connection, wait for a server that does not answer.

#include <libpq-fe.h>

#include <map>
#include <thread>

#include "ClientTest.h"

namespace {

using Settings = std::map<std::string, std::string>;

class TimeLimits : public ClientTest {
 protected:
  // The limits that the connection uses.
  Settings Limits() {
    PGconn* const handle = static_cast<pgConnectionHandles&>(*connection.NativeHandles()).conn;
    PQconninfoOption* const options = PQconninfo(handle);
    Settings limits;
    for (const PQconninfoOption* option = options; option->keyword; ++option) {
      const std::string keyword = option->keyword;
      if (option->val && (keyword == "connect_timeout" || keyword.starts_with("keepalives_") ||
                          keyword == "tcp_user_timeout")) {
        limits[keyword] = option->val;
      }
    }
    PQconninfoFree(options);
    return limits;
  }

  Settings defaults = {{"connect_timeout", "10"},
                       {"keepalives_idle", "10"},
                       {"keepalives_interval", "5"},
                       {"keepalives_count", "3"},
                       {"tcp_user_timeout", "30000"}};
};

// A server that accepts a client, reports another date style, and then sends nothing more.
class SilentServer {
 public:
  SilentServer() {
    listener_.Listen();
    thread_ = std::thread([this] { Serve(); });
  }
  ~SilentServer() { thread_.join(); }

  std::wstring Port() const { return std::to_wstring(listener_.Port()); }

 private:
  // Until the client leaves.
  void Serve() {
    const platform::Socket client = listener_.Accept();
    char buffer[1024];
    if (client.Receive(buffer, sizeof buffer) == 0) return;
    const std::string answer(
        "R\0\0\0\x08\0\0\0\0"
        "S\0\0\0\x1A"
        "DateStyle\0German, DMY\0"
        "Z\0\0\0\x05I",
        9 + 27 + 6);
    client.SendAll(answer.data(), answer.size(), listener_);
    while (client.Receive(buffer, sizeof buffer) > 0) {
    }
  }

  platform::Socket listener_ = platform::Socket::Bound();
  std::thread thread_;
};

TEST_F(TimeLimits, HaveDefaults) {
  Connect();
  EXPECT_EQ(Limits(), defaults);
}

TEST_F(TimeLimits, AreTheOnesOfTheDatabaseText) {
  ConnectTo(connection, Server() + L"@dbname=" + Database() +
                            L" connect_timeout=60 keepalives_idle=61 keepalives_interval=62 "
                            L"keepalives_count=63 tcp_user_timeout=0");
  EXPECT_EQ(Limits(), (Settings{{"connect_timeout", "60"},
                                {"keepalives_idle", "61"},
                                {"keepalives_interval", "62"},
                                {"keepalives_count", "63"},
                                {"tcp_user_timeout", "0"}}));
}

TEST_F(TimeLimits, AreTheOnesOfTheEnvironment) {
  const EnvironmentVariable limit("PGCONNECT_TIMEOUT", "60");
  Connect();
  defaults["connect_timeout"] = "60";
  EXPECT_EQ(Limits(), defaults);
}

TEST_F(TimeLimits, EndTheWaitForAServerThatNeverAnswers) {
  const DeadPort silent(DeadPort::Silent);
  const SAException error = Thrown([&] { ConnectTo(connection, L"127.0.0.1," + silent.Number() + L"@db"); });
  EXPECT_EQ(error.ErrNativeCode(), 1);
  EXPECT_EQ(Wide(error.ErrText()),
            L"connection to server at \"127.0.0.1\", port " + silent.Number() + L" failed: timeout expired");
  EXPECT_FALSE(connection.isConnected());
}

TEST_F(TimeLimits, HoldForWhatTheLayerSetsOnceConnected) {
  const SilentServer server;
  const SAException error = Thrown([&] {
    ConnectTo(connection, L"127.0.0.1," + server.Port() +
                              L"@dbname=db connect_timeout=2 sslmode=disable gssencmode=disable");
  });
  EXPECT_EQ(error.ErrNativeCode(), 1);
  EXPECT_NE(Wide(error.ErrText()).find(L"timeout expired"), std::wstring::npos) << error.what();
  EXPECT_FALSE(connection.isConnected());
}

TEST_F(TimeLimits, ThatAreNoNumbersAreRefused) {
  const SAException error =
      Thrown([&] { ConnectTo(connection, Server() + L"@dbname=" + Database() + L" connect_timeout=soon"); });
  EXPECT_EQ(error.ErrNativeCode(), 1);
  EXPECT_NE(Wide(error.ErrText()).find(L"connect_timeout"), std::wstring::npos) << error.what();
}

// The test's own connection is the last one counted.
TEST_F(TimeLimits, MakeOneConnectionForEachConnect) {
  const platform::Socket listener = platform::Socket::Bound();
  listener.Listen();
  EXPECT_SA_ERROR(SA_DBMS_API_Error, 1,
                  ConnectTo(connection, L"127.0.0.1," + std::to_wstring(listener.Port()) +
                                            L"@dbname=db connect_timeout=2"));
  const platform::Socket last = platform::Socket::To("127.0.0.1", listener.Port());
  ASSERT_TRUE(last);
  ASSERT_TRUE(last.SendAll("!", 1, last));
  int connections = 0;
  for (char first = 0; first != '!'; ++connections) listener.Accept().Receive(&first, 1);
  EXPECT_EQ(connections - 1, 1);
}

}  // namespace
