#pragma once

#include <memory>

#include "ClientTest.h"
#include "server/ProtocolTap.h"

// Runs queries for binary rows and checks their messages.
inline constexpr char kInBinary[] = "PBDES";
inline constexpr char kInText[] = "Q";

// A connection over a ProtocolTap.
class BinaryFormat : public ClientTest {
 protected:
  void SetUp() override {
    ClientTest::SetUp();
    const std::wstring host = Host();
    tap = std::make_unique<ProtocolTap>(std::string(host.begin(), host.end()), ClientTest::Port());
    ConnectTo(connection, L"127.0.0.1," + std::to_wstring(tap->Port()) + L"@dbname=" + Database() +
                              L" sslmode=disable gssencmode=disable");
  }
  void TearDown() override {
    connection.Destroy();
    tap.reset();
    ClientTest::TearDown();
  }

  // The messages for a query that requests binary rows, and its first value.
  std::string Sent(const std::wstring& query, bool withTimes, const std::wstring& expected) {
    SACommand command(&connection, query.c_str());
    command.setBinaryResults(withTimes);
    tap->Take();
    command.Execute();
    EXPECT_TRUE(command.FetchNext());
    EXPECT_EQ(Wide(command.Field(1).asString()), expected);
    EXPECT_FALSE(command.FetchNext());
    return tap->Take();
  }

  std::unique_ptr<ProtocolTap> tap;
};
