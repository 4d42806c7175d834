// A server that answers everything, even the end of a COPY, by starting another COPY.

#include <string>
#include <thread>

#include "ClientTest.h"

namespace {

constexpr int kStatementFailed = 7;

// Lets a client in, then sends `answer` for whatever it receives, until the client leaves.
class CopyingServer {
 public:
  explicit CopyingServer(std::string answer) : answer_(std::move(answer)) {
    listener_.Listen();
    thread_ = std::thread([this] { Serve(); });
  }
  ~CopyingServer() { thread_.join(); }

  std::wstring ConnectionString() const {
    return L"127.0.0.1," + std::to_wstring(listener_.Port()) +
           L"@dbname=db sslmode=disable gssencmode=disable";
  }

 private:
  void Serve() {
    // Authentication succeeded, a parameter, ready for a query.
    const std::string welcome(
        "R\0\0\0\x08\0\0\0\0"
        "S\0\0\0\x12"
        "DateStyle\0ISO\0"
        "Z\0\0\0\x05I",
        34);
    const platform::Socket client = listener_.Accept();
    char buffer[1024];
    for (std::string next = welcome; client.Receive(buffer, sizeof buffer) != 0; next = answer_) {
      if (!client.SendAll(next.data(), next.size(), listener_)) return;
    }
  }

  platform::Socket listener_ = platform::Socket::Bound();
  std::string answer_;
  std::thread thread_;
};

// CopyInResponse, CopyOutResponse and CopyBothResponse of text format without columns, and CopyDone.
const std::string kCopyIn("G\0\0\0\x07\0\0\0", 8);
const std::string kCopyOut("H\0\0\0\x07\0\0\0", 8);
const std::string kCopyBoth("W\0\0\0\x07\0\0\0", 8);
const std::string kCopyDone("c\0\0\0\x04", 5);

class EndlessCopy : public ClientTest {
 protected:
  void ExpectDropped(const std::string& answer) {
    const CopyingServer server(answer);
    ConnectTo(connection, server.ConnectionString());
    SACommand command(&connection, L"copy t from stdin");
    EXPECT_SA_ERROR(SA_Library_Error, 0, command.Execute());
    ExpectDropped();
  }

  void ExpectDropped() {
    EXPECT_FALSE(connection.isConnected());
    connection.Destroy();  // if it was not, the server would wait for its end
  }
};

TEST_F(EndlessCopy, OfACommandDropsTheConnection) {
  ExpectDropped(kCopyIn);
  ExpectDropped(kCopyOut + kCopyDone + kCopyOut + kCopyDone);
  ExpectDropped(kCopyBoth + kCopyDone);
}

TEST_F(EndlessCopy, OfTheNativeConnectionFailsTheNextStatement) {
  const CopyingServer server(kCopyIn);
  ConnectTo(connection, server.ConnectionString());
  auto& api = static_cast<pgAPI&>(*connection.NativeAPI());
  api.PQclear(
      api.PQexec(static_cast<pgConnectionHandles&>(*connection.NativeHandles()).conn, "copy t from stdin"));
  SACommand command(&connection, L"select 1");
  const SAException error = Thrown([&] { command.Execute(); });
  EXPECT_EQ(error.ErrClass(), SA_DBMS_API_Error);
  EXPECT_EQ(error.ErrNativeCode(), kStatementFailed);
  EXPECT_EQ(error.ErrText(), L"The server answered the end of COPY by another COPY");
  ExpectDropped();
}

}  // namespace
