#pragma once

// A small wrapper of SQLite for the spool. Every failure is thrown as a SqliteFailure.

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "historian/Error.h"

struct sqlite3;
struct sqlite3_stmt;

namespace historian::recorder {

class SqliteFailure : public Error {
 public:
  SqliteFailure(int code, std::string text) : Error("spool", std::move(text)), code_(code) {}

  bool IsBusy() const;
  bool IsFull() const;     // no space is left, or the file has reached a size limit
  bool IsDamaged() const;  // the file is not as SQLite wrote it

 private:
  int code_;
};

// One prepared statement. As in SQLite, columns count from 0 and parameters from 1.
class SqliteStatement {
 public:
  SqliteStatement(sqlite3* database, const char* text);

  // Resets the statement and binds new values, in the order of the parameters.
  template <class... Values>
  SqliteStatement& With(const Values&... values) {
    Reset();
    int parameter = 0;
    (Bind(++parameter, values), ...);
    return *this;
  }

  bool Step();  // returns true when there is a row
  void Run();   // runs to the end and resets
  void Reset();

  bool IsNull(int column) const;
  std::int64_t Integer(int column) const;
  std::string_view Bytes(int column) const;  // a text or a blob; valid until the next step

 private:
  struct Blob {
    std::string_view bytes;
  };
  friend Blob AsBlob(std::string_view);

  void Bind(int parameter, std::int64_t value);
  void Bind(int parameter, std::string_view text);
  void Bind(int parameter, Blob blob);
  void Bind(int parameter, std::nullptr_t);
  void Check(int code) const;

  struct Finalize {
    void operator()(sqlite3_stmt* statement) const;
  };
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

SqliteStatement::Blob AsBlob(std::string_view bytes);

class SqliteDatabase {
 public:
  enum class Access { ReadOnly, ReadWrite, Create };
  SqliteDatabase(const std::filesystem::path& file, Access access);

  void Run(const char* statements);
  SqliteStatement Prepare(const char* text) { return {database_.get(), text}; }
  std::int64_t Value(const char* query);  // the result of a query with one row

  std::int64_t LastId() const;
  std::int64_t Changes() const;  // rows changed by the last statement
  bool InTransaction() const;
  // Moves the log into the file and empties it, as far as possible while others read.
  void Checkpoint();

 private:
  struct Close {
    void operator()(sqlite3* database) const;
  };
  std::unique_ptr<sqlite3, Close> database_;
};

// A transaction that is rolled back unless it was committed.
class SqliteTransaction {
 public:
  explicit SqliteTransaction(SqliteDatabase& database);
  ~SqliteTransaction();
  SqliteTransaction(const SqliteTransaction&) = delete;
  SqliteTransaction& operator=(const SqliteTransaction&) = delete;

  void Commit();

 private:
  SqliteDatabase& database_;
};

}  // namespace historian::recorder
