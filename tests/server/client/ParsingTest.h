#pragma once

#include <memory>
#include <string>

#include "ClientTest.h"
#include "server/ProtocolTap.h"

// The letters of a statement's messages.
inline constexpr char kParsedAndRun[] = "PBDES";
inline constexpr char kRun[] = "BDES";
inline constexpr char kPreparedAndRun[] = "PSBDES";

// A table and a command that inserts into it, over a ProtocolTap.
class ParsingTest : public ClientTest {
 protected:
  void SetUp() override {
    ClientTest::SetUp();
    Run("create table t (a int, b text)");
    const std::wstring host = Host();
    tap = std::make_unique<ProtocolTap>(std::string(host.begin(), host.end()), ClientTest::Port());
    Reconnect();
  }

  void TearDown() override {
    connection.Destroy();
    tap.reset();
    ClientTest::TearDown();
  }

  void Reconnect() {
    ConnectTo(connection, L"127.0.0.1," + std::to_wstring(tap->Port()) + L"@dbname=" + Database() +
                              L" sslmode=disable gssencmode=disable");
    tap->Take();
  }

  void Insert(int a, const wchar_t* b) {
    insert << a << b;
    insert.Execute();
  }

  // The messages that executing sends.
  std::string Sent(int a, const wchar_t* b) {
    tap->Take();
    Insert(a, b);
    return tap->Take();
  }

  std::unique_ptr<ProtocolTap> tap;
  SACommand insert{&connection, L"insert into t values (:1, :2)"};
};
