#include <cstdlib>
#include <filesystem>

#include "server/ProtocolTap.h"
#include "server/client/ClientTest.h"

namespace {

class UnixSocket : public ClientTest {};

TEST_F(UnixSocket, IsFoundByItsFolder) {
  std::string folder = testing::TempDir() + "dbmsapi_XXXXXX";
  ASSERT_NE(::mkdtemp(folder.data()), nullptr);
  const std::wstring host = Host();
  {
    ProtocolTap tap(std::string(host.begin(), host.end()), Port(), folder);
    ConnectTo(connection, std::wstring(folder.begin(), folder.end()) + L"," + std::to_wstring(tap.Port()) +
                              L"@" + Database());
    EXPECT_EQ(Ask(L"select current_database()"), Database());
    EXPECT_EQ(tap.Take(), "Q");
  }
  std::filesystem::remove_all(folder);
}

}  // namespace
