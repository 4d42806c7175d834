#include "historian/recorder/Sqlite.h"

#include <sqlite3.h>

namespace historian::recorder {
namespace {

constexpr int kBusyMs = 5000;  // wait for other programs that read the spool

[[noreturn]] void Throw(sqlite3* database, int code) {
  throw SqliteFailure(code, database ? sqlite3_errmsg(database) : sqlite3_errstr(code));
}

int Flags(SqliteDatabase::Access access) {
  switch (access) {
    case SqliteDatabase::Access::ReadOnly: return SQLITE_OPEN_READONLY;
    case SqliteDatabase::Access::ReadWrite: return SQLITE_OPEN_READWRITE;
    case SqliteDatabase::Access::Create: break;
  }
  return SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
}

}  // namespace

bool SqliteFailure::IsBusy() const {
  return (code_ & 0xFF) == SQLITE_BUSY || (code_ & 0xFF) == SQLITE_LOCKED;
}

bool SqliteFailure::IsFull() const { return (code_ & 0xFF) == SQLITE_FULL || code_ == SQLITE_IOERR_WRITE; }

bool SqliteFailure::IsDamaged() const {
  const int kind = code_ & 0xFF;
  return kind == SQLITE_CORRUPT || kind == SQLITE_NOTADB || code_ == SQLITE_IOERR_SHORT_READ;
}

void SqliteStatement::Finalize::operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }

SqliteStatement::SqliteStatement(sqlite3* database, const char* text) {
  sqlite3_stmt* statement = nullptr;
  const int code = sqlite3_prepare_v3(database, text, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
  if (code != SQLITE_OK) Throw(database, code);
  statement_.reset(statement);
}

void SqliteStatement::Check(int code) const {
  if (code == SQLITE_OK) return;
  sqlite3* const database = sqlite3_db_handle(statement_.get());
  const int extended = sqlite3_extended_errcode(database);
  const SqliteFailure failure(extended, sqlite3_errmsg(database));
  sqlite3_reset(statement_.get());
  throw failure;
}

bool SqliteStatement::Step() {
  const int code = sqlite3_step(statement_.get());
  if (code == SQLITE_ROW) return true;
  Check(code == SQLITE_DONE ? SQLITE_OK : code);
  return false;
}

void SqliteStatement::Run() {
  while (Step()) {
  }
  Reset();
}

void SqliteStatement::Reset() { sqlite3_reset(statement_.get()); }

bool SqliteStatement::IsNull(int column) const {
  return sqlite3_column_type(statement_.get(), column) == SQLITE_NULL;
}

std::int64_t SqliteStatement::Integer(int column) const {
  return sqlite3_column_int64(statement_.get(), column);
}

std::string_view SqliteStatement::Bytes(int column) const {
  const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement_.get(), column));
  const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column));
  return bytes ? std::string_view(bytes, size) : std::string_view();
}

void SqliteStatement::Bind(int parameter, std::int64_t value) {
  Check(sqlite3_bind_int64(statement_.get(), parameter, value));
}

// A null pointer would be NULL to SQLite, not an empty text or blob.
void SqliteStatement::Bind(int parameter, std::string_view text) {
  if (!text.data()) text = "";
  Check(sqlite3_bind_text64(statement_.get(), parameter, text.data(), text.size(), SQLITE_TRANSIENT,
                            SQLITE_UTF8));
}

// Not copied, because the bytes outlive the execution.
void SqliteStatement::Bind(int parameter, Blob blob) {
  if (!blob.bytes.data()) blob.bytes = "";
  Check(
      sqlite3_bind_blob64(statement_.get(), parameter, blob.bytes.data(), blob.bytes.size(), SQLITE_STATIC));
}

void SqliteStatement::Bind(int parameter, std::nullptr_t) {
  Check(sqlite3_bind_null(statement_.get(), parameter));
}

SqliteStatement::Blob AsBlob(std::string_view bytes) { return {bytes}; }

void SqliteDatabase::Close::operator()(sqlite3* database) const { sqlite3_close_v2(database); }

SqliteDatabase::SqliteDatabase(const std::filesystem::path& file, Access access) {
  const std::u8string name = file.u8string();
  sqlite3* database = nullptr;
  const int code =
      sqlite3_open_v2(reinterpret_cast<const char*>(name.c_str()), &database, Flags(access), nullptr);
  database_.reset(database);
  if (code != SQLITE_OK) Throw(database, code);
  sqlite3_extended_result_codes(database, 1);
  sqlite3_busy_timeout(database, kBusyMs);
}

void SqliteDatabase::Run(const char* statements) {
  const int code = sqlite3_exec(database_.get(), statements, nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) Throw(database_.get(), code);
}

std::int64_t SqliteDatabase::Value(const char* query) {
  SqliteStatement statement = Prepare(query);
  statement.Step();
  return statement.Integer(0);
}

std::int64_t SqliteDatabase::LastId() const { return sqlite3_last_insert_rowid(database_.get()); }
std::int64_t SqliteDatabase::Changes() const { return sqlite3_changes64(database_.get()); }
bool SqliteDatabase::InTransaction() const { return sqlite3_get_autocommit(database_.get()) == 0; }

void SqliteDatabase::Checkpoint() {
  sqlite3_wal_checkpoint_v2(database_.get(), nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
}

SqliteTransaction::SqliteTransaction(SqliteDatabase& database) : database_(database) {
  database_.Run("begin immediate");
}

// The failure may have rolled back already.
SqliteTransaction::~SqliteTransaction() {
  if (!database_.InTransaction()) return;
  try {
    database_.Run("rollback");
  } catch (const SqliteFailure&) {
    // An exception is propagating already.
  }
}

void SqliteTransaction::Commit() { database_.Run("commit"); }

}  // namespace historian::recorder
