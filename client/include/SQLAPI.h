#pragma once

// The client layer: connections, commands and values over PostgreSQL's own client library.
//
// Text is wide here (UTF-32 or UTF-16, depending on the platform's wchar_t) and UTF-8 at the server. Every
// failure throws SAException.

#include <memory>

#include "SQLAPITypes.h"

// Bases of what NativeAPI() and NativeHandles() return; see pgAPI.h.
class SQLAPI_EXPORT saAPI {
 public:
  virtual ~saAPI();
};
class SQLAPI_EXPORT saConnectionHandles {
 public:
  virtual ~saConnectionHandles();
};

using saConnectionHandler_t = void (*)(class SAConnection& connection, int stage);

// A connection to a server. One thread at a time may use it and the commands on it.
class SQLAPI_EXPORT SAConnection {
 public:
  SAConnection();
  ~SAConnection();  // disconnects
  SAConnection(const SAConnection&) = delete;
  SAConnection& operator=(const SAConnection&) = delete;

  // Connects to `[server@][database][;options]`: server is `host[,port]` or the path of a Unix socket's
  // directory, options go to the server process, and the database part may hold connection keywords
  // (`dbname=scada connect_timeout=3`; a hostaddr counts only where no server is named). The server ends at
  // the first '@', the options begin at the first ';' after it that is not in a quoted value
  // (`password='a;b'`). What is missing comes from libpq's environment, but the client encoding is always
  // UTF-8. The handler is called before connecting (stage 0) and after (stage 1).
  //
  // All waiting is limited: connect_timeout=10 (seconds), keepalives_idle=10, keepalives_interval=5,
  // keepalives_count=3, tcp_user_timeout=30000 (milliseconds; not on Windows), unless the database part,
  // libpq's environment or a service says otherwise; 0 removes a limit. A statement may take any time while
  // the server works on it, unless `-c dbmsapi.silence_limit=SECONDS` ends it. Every 20 seconds without an
  // answer (`-c dbmsapi.silence_check=20`; 0: never) the server is asked over a second connection whether it
  // does. If it twice does not, or does not reply, the statement fails: "The server did not answer for ...".
  // Dates come in ISO style, even after a client has set another; numbers with all their digits
  // (extra_float_digits=1, unless the options say otherwise); a backslash in a string is an ordinary
  // character (standard_conforming_strings=on). Notices and notifications are discarded. Throws class 3,
  // native code 1, when no connection can be made; class 2 when already connected and for a text with a NUL.
  void Connect(const SAString& dbString, const SAString& user, const SAString& password,
               SAClient_t client = SA_Client_NotSpecified, saConnectionHandler_t handler = nullptr);

  // Whether Connect has succeeded and neither Disconnect nor Destroy has run since. Sends nothing.
  bool isConnected() const;
  // Whether the server answers: one round trip, none when the connection is known to be lost. Unread
  // rows of a command are discarded.
  bool isAlive() const;

  // Both close the connection; it may be opened again. Commands on it lose their unread rows, and may be
  // executed again afterwards.
  void Disconnect();  // in an orderly way; class 2 when not connected
  void Destroy();     // without sending anything; never blocks, never throws

  SAString ServerVersionString();  // what `select version()` returns

  // Inside a transaction these end it; outside they do nothing. A commit that the server turns into
  // a rollback, because a statement has failed, is a class 3 error.
  void Commit();
  void Rollback();

  // Commits an open transaction and sets the level of later transactions. SA_LevelUnknown sends
  // nothing: the server does not report the level that a session starts with, so it cannot be
  // restored.
  void setIsolationLevel(SAIsolationLevel_t level);
  SAIsolationLevel_t IsolationLevel() const;  // last set on this connection, SA_LevelUnknown before

  // Native access: cast the results to pgAPI and pgConnectionHandles. NativeHandles discards unread rows of a
  // command; the connection in the handles is null while there is none.
  saAPI* NativeAPI() const;
  saConnectionHandles* NativeHandles();

 private:
  friend class SACommand;
  class Impl;
  std::unique_ptr<Impl> impl_;
};

// A statement on a connection, with its parameters and its result.
//
// Markers are `:1`, `:2`, ... or `:name`; the same marker may occur several times. Colons inside strings,
// quoted identifiers, dollar quotes, comments and casts (`::type`) are not markers.
class SQLAPI_EXPORT SACommand {
 public:
  explicit SACommand(SAConnection* connection, const SAString& text = SAString());
  ~SACommand();
  SACommand(const SACommand&) = delete;
  SACommand& operator=(const SACommand&) = delete;

  // Drops the parameters and the result of the previous text.
  void setCommandText(const SAString& text) { setCommandText(SAString(text)); }
  void setCommandText(SAString&& text);
  void setCommandText(const SAChar* text);  // null reads as the empty text
  SAString CommandText() const;

  int ParamCount() const;
  SAParam& Param(int number);  // marker `:number`; class 2 error when the text has no such marker
  SAParam& Param(const SAString& name);

  // Bind the next parameter, in the order of their numbers (names: of their first appearance),
  // starting over after Execute and after a new text. Class 2 error past the last one.
  SACommand& operator<<(bool value);
  SACommand& operator<<(short value);
  SACommand& operator<<(int value);
  SACommand& operator<<(long value);  // 32 or 64 bits, as the platform's long
  SACommand& operator<<(long long value);
  SACommand& operator<<(double value);
  SACommand& operator<<(const SAChar* value);
  SACommand& operator<<(SAString value);
  SACommand& operator<<(const SANull& null);
  SACommand& operator<<(const char* value) = delete;  // would read as bool

  // An extension of this layer: from the next Execute on, requests rows in the server's binary format, which
  // is faster to write and to read. The values read the same.
  //
  // Use it for queries only, because a statement may be executed twice: if a column has a type other than
  // bool, int2, int4, int8, float8, numeric, text, varchar, char, name and timestamptz, the result is
  // requested again as text. `withTimes` says that columns of type timestamptz are expected. Such rows are
  // requested as text at once, unless the session is in UTC, or process and session have a time zone of the
  // same name ("Europe/Berlin"; on Windows the process has no such name).
  void setBinaryResults(bool withTimes);

  // Sends the statement with the values bound, which stay bound.
  //
  // A statement with parameters is sent unnamed the first time and prepared the second time. From then on all
  // commands of the connection with this text use the prepared statement. The connection remembers the 64
  // texts used last, each of up to 2,000 characters. After a failure, and for values of other types, this
  // starts over. If the server has forgotten a prepared statement, or its result has other columns now, the
  // statement is parsed and executed again; inside a transaction this is an error instead (SQLSTATE 26000,
  // 0A000).
  //
  // Without parameters a text may hold several statements; the rows are those of the first result.
  // Throws class 2 for a parameter never bound, class 3 for what the server refuses, even when the error
  // comes directly after the first row.
  void Execute();

  // Fetches the next row; false after the last one and where the statement returns no rows. Rows are
  // streamed: memory does not grow with their number. A failure midway is thrown after the rows before
  // it. Rows left unread are discarded when something else is executed on the connection and when it is
  // closed; fetching a discarded row is a class 2 error.
  bool FetchNext();

  // Columns of the result, valid until the next Execute; NULL while there is no current row. Class 2 error
  // for a column that the result does not have.
  int FieldCount() const;
  SAField& Field(int number);  // from 1
  SAField& Field(const SAString& name);

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};
