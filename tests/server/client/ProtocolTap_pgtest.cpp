// The ProtocolTap itself, between two sockets of the test.

#include "server/ProtocolTap.h"

#include "ClientTest.h"

namespace {

TEST(ProtocolTap, StopsWhileItsClientDoesNotRead) {
  const platform::Socket listener = platform::Socket::Bound();
  listener.Listen();
  ProtocolTap tap("127.0.0.1", listener.Port());
  const platform::Socket client = platform::Socket::To("127.0.0.1", tap.Port());
  const platform::Socket server = listener.Accept();
  FillSocket(static_cast<int>(server.Get()));
  tap.Stop();

  char buffer[16384];
  std::size_t received = 0;
  while (const std::size_t count = client.Receive(buffer, sizeof buffer)) received += count;
  EXPECT_GT(received, 0u);
}

}  // namespace
