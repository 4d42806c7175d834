#pragma once

#include <pgAPI.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/Process.h"
#include "platform/Socket.h"
#include "server/ServerTest.h"

// A fresh database and a connection that is not connected yet.
class ClientTest : public ServerTest {
 protected:
  // `host,port` of the server.
  std::wstring Server() const;

  // Connects to the test's database, or to a full `host,port@database`.
  void Connect(SAConnection& to);
  void ConnectTo(SAConnection& to, const std::wstring& connectionString);
  void Connect() { Connect(connection); }

  // Runs a statement and returns the first column of its first row, if any.
  std::wstring Ask(const std::wstring& statement) { return Ask(connection, statement); }
  static std::wstring Ask(SAConnection& on, const std::wstring& statement);

  // Fetches the remaining rows: the columns joined by '|', NULL written as \N.
  static std::vector<std::wstring> Fetch(SACommand& command);

  // The id of the connection's server process.
  std::string Pid() { return std::to_string(std::stol(Ask(L"select pg_backend_pid()"))); }

  // Makes the server end the connection's process, and waits until it has ended.
  void TerminateBackends();

  SAConnection connection;
};

std::wstring Wide(const SAString& text);

// Returns what an action throws; fails the test when it throws nothing.
template <class Action>
SAException Thrown(Action&& action) {
  try {
    std::forward<Action>(action)();
  } catch (const SAException& error) {
    return error;
  }
  ADD_FAILURE() << "nothing was thrown";
  return SAException(SA_No_Error, 0, L"");
}

// Checks what an action throws.
#define EXPECT_SA_ERROR(errorClass, nativeCode, ...)                  \
  do {                                                                \
    const SAException thrown_ = Thrown([&] { __VA_ARGS__; });         \
    EXPECT_EQ(thrown_.ErrClass(), errorClass) << thrown_.what();      \
    EXPECT_EQ(thrown_.ErrNativeCode(), nativeCode) << thrown_.what(); \
  } while (false)

// Sets an environment variable for a while.
class EnvironmentVariable {
 public:
  EnvironmentVariable(const char* name, const char* value) : name_(name) {
    platform::SetVariable(name, value);
  }
  ~EnvironmentVariable() { platform::SetVariable(name_.c_str(), nullptr); }

 private:
  std::string name_;
};

// A port of 127.0.0.1 without a server: connections are refused, or accepted and never answered.
class DeadPort {
 public:
  enum Manner { Refusing, Silent };
  explicit DeadPort(Manner manner) {
    if (manner == Silent) socket_.Listen();
  }
  std::wstring Number() const { return std::to_wstring(socket_.Port()); }

 private:
  // Always bound, so that no other program takes the port.
  platform::Socket socket_ = platform::Socket::Bound();
};

// Sends over a connection's socket, or another one, until the buffers to its receiver are full.
void FillSocket(const pgConnectionHandles& handles);
void FillSocket(int socket);
