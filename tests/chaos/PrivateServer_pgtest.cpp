// The whole server fails. Each test has a server of its own: private_server.sh.

#include <SQLAPI.h>

#include <algorithm>
#include <future>

#include "chaos/OperationsTest.h"
#include "platform/Process.h"
#include "server/PrivateServer.h"

namespace {

// An operation, and an object that calls it.
struct Client {
  const Operation* operation;
  std::shared_ptr<Dbms> dbms;
  bool Call() const { return operation->call(*dbms); }
};

class PrivateServer : public OperationsTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(OperationsTest::SetUp());
    const auto dbms = NewDbms(DbmsType::PostgreSQL);
    for (const Family& family : Families()) {
      ASSERT_TRUE(family.create(*dbms)) << family.name << ": " << LastMessage(*dbms);
      for (const Operation& operation : family.operations) {
        if (!operation.IsRead()) Run(operation.prepare);
        clients.push_back({&operation, NewDbms(DbmsType::PostgreSQL)});
      }
    }
  }

  void ForEachClient(const std::function<void(Client&)>& test) {
    for (Client& client : clients) {
      SCOPED_TRACE(client.operation->name);
      test(client);
    }
  }
  // As many objects as the server has places for, while each of them reconnects.
  void ForTheFirstWriteOfEachFamily(const std::function<void(Client&)>& test) {
    for (const Family& family : Families()) {
      const auto first = std::find_if(family.operations.begin(), family.operations.end(),
                                      [](const Operation& operation) { return !operation.IsRead(); });
      ForEachClient([&](Client& client) {
        if (client.operation == &*first) test(client);
      });
    }
  }
  void ConnectAll() {
    ForEachClient([](Client& client) { ASSERT_TRUE(client.dbms->Connect()) << LastMessage(*client.dbms); });
  }
  // Every write returns true.
  void WriteAll() {
    ForEachClient([&](Client& client) {
      if (client.operation->IsRead()) return;
      EXPECT_TRUE(client.Call()) << LastMessage(*client.dbms);
      ExpectHeld(client, true);
    });
  }
  // Each write is stored completely or not at all.
  void ExpectHeld(const Client& client, bool whole) {
    if (client.operation->IsRead()) return;
    EXPECT_EQ(Held(*client.operation),
              whole ? client.operation->holds.back() : client.operation->holds.front());
  }
  // Reads come last, because their preparation removes what the writes stored.
  void ExpectAllGoOn() {
    ForEachClient([&](Client& client) {
      if (!client.operation->IsRead()) ExpectItGoesOn(*client.dbms, *client.operation);
    });
    ForEachClient([&](Client& client) {
      if (!client.operation->IsRead()) return;
      Run(client.operation->prepare);
      ExpectItGoesOn(*client.dbms, *client.operation);
    });
  }
  void ExpectAllFail(const Texts& causes) {
    ForEachClient([&](Client& client) {
      EXPECT_FALSE(client.Call());
      EXPECT_TRUE(Says(*client.dbms, causes));
    });
  }
  // The server refuses, but it is there, so no other host is asked for.
  void ExpectAllRefused(const wchar_t* cause) {
    for (const Client& client : clients) client.dbms->hostSelector = KeepHost;
    ExpectAllFail({cause});
  }

  std::vector<Client> clients;
};

TEST_F(PrivateServer, StopsHard) {
  ConnectAll();
  WriteAll();
  ControlServer("stop");
  ForEachClient([](Client& client) {
    const bool asksTwice = client.operation->probes;
    EXPECT_FALSE(client.Call());
    EXPECT_TRUE(Says(*client.dbms, {asksTwice ? L"10061" : L"server closed the connection unexpectedly"}));
  });
  ExpectAllFail({L"10061"});
  ControlServer("start");
  Reconnect();
  ForEachClient([&](Client& client) { ExpectHeld(client, true); });
  ExpectAllGoOn();
}

TEST_F(PrivateServer, Restarts) {
  ConnectAll();
  WriteAll();
  ControlServer("restart");
  Reconnect();
  ForEachClient([&](Client& client) {
    EXPECT_EQ(client.Call(), client.operation->probes);
    EXPECT_TRUE(Says(*client.dbms, {L"terminating connection due to administrator command",
                                    L"server closed the connection unexpectedly"}));
    ExpectHeld(client, true);
  });
  ExpectAllGoOn();
}

TEST_F(PrivateServer, IsFrozen) {
  ConnectAll();
  ControlServer("freeze");
  const std::wstring limited = L"dbname=" + Database() + L" connect_timeout=2";
  const auto late = Dbms::GetDbms(DbmsType::PostgreSQL, Host().c_str(), Port(), limited.c_str(),
                                  User().c_str(), Password().c_str());
  EXPECT_FALSE(late->Connect());
  EXPECT_TRUE(Says(*late, {L"timeout expired"}));
  std::vector<std::future<bool>> calls;
  ForEachClient([&](Client& client) {
    if (client.operation->IsRead()) return;
    calls.push_back(std::async(std::launch::async, [&client] { return client.Call(); }));
  });
  for (auto& call : calls) EXPECT_EQ(call.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
  ControlServer("thaw");
  for (auto& call : calls) EXPECT_TRUE(call.get());
  EXPECT_TRUE(late->Connect()) << LastMessage(*late);
  ForEachClient([&](Client& client) { ExpectHeld(client, true); });
  ExpectAllGoOn();
}

TEST_F(PrivateServer, StaysFrozen) {
  platform::SetVariable("PGOPTIONS", "-c dbmsapi.silence_check=1");
  platform::SetVariable("PGCONNECT_TIMEOUT", "2");
  ConnectAll();
  for (const char* name : {"PGOPTIONS", "PGCONNECT_TIMEOUT"}) platform::SetVariable(name, nullptr);
  ControlServer("freeze");
  std::vector<std::pair<Client*, std::future<bool>>> calls;
  ForTheFirstWriteOfEachFamily([&](Client& client) {
    calls.emplace_back(&client, std::async(std::launch::async, [&client] { return client.Call(); }));
  });
  for (auto& [client, call] : calls) {
    SCOPED_TRACE(client->operation->name);
    EXPECT_FALSE(call.get());
    // An operation whose search for TimescaleDB failed goes on, and connects again.
    EXPECT_TRUE(Says(*client->dbms,
                     {client->operation->probes ? L"timeout expired" : L"The server did not answer for "}));
  }
  ControlServer("thaw");
  // The server executes what it has received: the first statement of each operation.
  Reconnect();
  for (auto& [client, call] : calls) {
    SCOPED_TRACE(client->operation->name);
    WaitUntil("select (" + client->operation->held + ") = " + std::to_string(client->operation->holds[1]));
  }
  ExpectAllGoOn();
}

TEST_F(PrivateServer, StartsUp) {
  ControlServer("stop");
  ControlServer("start-up");
  ExpectAllRefused(L"the database system is starting up");
  ControlServer("finish-start-up");
  Reconnect();
  ForEachClient([&](Client& client) { ExpectHeld(client, false); });
  ExpectAllGoOn();
}

TEST_F(PrivateServer, ShutsDown) {
  ControlServer("shut-down");  // the test's own connections keep the server from shutting down
  ExpectAllRefused(L"the database system is shutting down");
  ControlServer("stop");
  ControlServer("start");
  Reconnect();
  ForEachClient([&](Client& client) { ExpectHeld(client, false); });
  ExpectAllGoOn();
}

TEST_F(PrivateServer, HasTooManyClients) {
  std::vector<std::shared_ptr<Dbms>> others = {NewDbms()};
  while (others.back()->Connect()) others.push_back(NewDbms());
  ExpectAllRefused(L"sorry, too many clients already");
  others.clear();
  WaitUntil("select not exists " + std::string(kOtherBackends));
  ForEachClient([&](Client& client) { ExpectHeld(client, false); });
  ExpectAllGoOn();
}

}  // namespace
