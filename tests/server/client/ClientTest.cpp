#include "ClientTest.h"

#include <libpq-fe.h>

#include <chrono>
#include <thread>

std::wstring ClientTest::Server() const { return Host() + L"," + std::to_wstring(Port()); }

void ClientTest::Connect(SAConnection& to) { ConnectTo(to, Server() + L"@" + Database()); }

void ClientTest::ConnectTo(SAConnection& to, const std::wstring& connectionString) {
  to.Connect(connectionString.c_str(), User().c_str(), Password().c_str(), SA_PostgreSQL_Client);
}

std::wstring ClientTest::Ask(SAConnection& on, const std::wstring& statement) {
  SACommand command(&on, statement.c_str());
  command.Execute();
  return command.FetchNext() ? Wide(command.Field(1).asString()) : std::wstring();
}

std::vector<std::wstring> ClientTest::Fetch(SACommand& command) {
  std::vector<std::wstring> rows;
  while (command.FetchNext()) {
    std::wstring row;
    for (int column = 1; column <= command.FieldCount(); ++column) {
      if (column > 1) row += L'|';
      const SAField& field = command.Field(column);
      row += field.isNull() ? L"\\N" : Wide(field.asString());
    }
    rows.push_back(row);
  }
  return rows;
}

void ClientTest::TerminateBackends() {
  Run("select pg_terminate_backend(pid) from " + std::string(kOtherBackends) + " others");
  WaitUntil("select count(*) = 0 from " + std::string(kOtherBackends) + " others");
}

std::wstring Wide(const SAString& text) { return {text, text.GetLength()}; }

void FillSocket(const pgConnectionHandles& handles) { FillSocket(PQsocket(handles.conn)); }

void FillSocket(int socket) {
  const std::vector<char> bytes(1 << 16);
  // The buffers may grow while they are filled, so they only count as full after they were full twice, a
  // while apart.
  for (int refusals = 0; refusals < 2;) {
    if (platform::SendWithoutWaiting(socket, bytes.data(), bytes.size())) {
      refusals = 0;
    } else {
      ++refusals;
      std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
  }
}
