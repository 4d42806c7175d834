// The time limits as the socket reports them.

#include <libpq-fe.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include "server/client/ClientTest.h"

namespace {

class SocketLimits : public ClientTest {
 protected:
  int Option(int level, int name) {
    PGconn* const handle = static_cast<pgConnectionHandles&>(*connection.NativeHandles()).conn;
    int value = 0;
    socklen_t size = sizeof value;
    EXPECT_EQ(getsockopt(PQsocket(handle), level, name, &value, &size), 0);
    return value;
  }
};

TEST_F(SocketLimits, ArriveAtTheOperatingSystem) {
  Connect();
  EXPECT_EQ(Option(SOL_SOCKET, SO_KEEPALIVE), 1);
  EXPECT_EQ(Option(IPPROTO_TCP, TCP_KEEPIDLE), 10);
  EXPECT_EQ(Option(IPPROTO_TCP, TCP_KEEPINTVL), 5);
  EXPECT_EQ(Option(IPPROTO_TCP, TCP_KEEPCNT), 3);
  EXPECT_EQ(Option(IPPROTO_TCP, TCP_USER_TIMEOUT), 30000);
}

}  // namespace
