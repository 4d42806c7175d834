#include <string>

#include "ConnectionImpl.h"
#include "pq/Errors.h"
#include "pq/NativeApi.h"
#include "pq/Text.h"

namespace {

// The stages at which a handler is called.
constexpr int kBeforeConnect = 0;
constexpr int kAfterConnect = 1;

constexpr char kQueryVersion[] = "select version()";

// Indexed by SAIsolationLevel_t. The server treats read uncommitted as read committed.
constexpr const char* kSetIsolationLevel[] = {
    "SET SESSION CHARACTERISTICS AS TRANSACTION ISOLATION LEVEL READ COMMITTED",
    "SET SESSION CHARACTERISTICS AS TRANSACTION ISOLATION LEVEL READ COMMITTED",
    "SET SESSION CHARACTERISTICS AS TRANSACTION ISOLATION LEVEL REPEATABLE READ",
    "SET SESSION CHARACTERISTICS AS TRANSACTION ISOLATION LEVEL SERIALIZABLE"};

void RefuseNul(const SAString& text, const wchar_t* name) {
  if (pq::HoldsNul(text)) throw pq::UsageError(std::wstring(L"The ") + name + L" holds a NUL character");
}

}  // namespace

SAConnection::SAConnection() : impl_(std::make_unique<Impl>()) {}

SAConnection::~SAConnection() {
  if (isConnected()) Disconnect();
}

void SAConnection::Connect(const SAString& dbString, const SAString& user, const SAString& password,
                           SAClient_t, saConnectionHandler_t handler) {
  if (isConnected()) throw pq::UsageError(L"The connection is connected already");
  RefuseNul(dbString, L"database text");
  RefuseNul(user, L"user");
  RefuseNul(password, L"password");
  const auto keywords = pq::ReadConnectionString(pq::View(dbString), pq::View(user), pq::View(password));
  if (handler) handler(*this, kBeforeConnect);
  impl_->connection().Open(keywords);
  impl_->isolationLevel = SA_LevelUnknown;
  if (handler) handler(*this, kAfterConnect);
}

bool SAConnection::isConnected() const { return impl_->connection().IsOpen(); }

bool SAConnection::isAlive() const { return impl_->connection().IsAlive(); }

void SAConnection::Disconnect() {
  impl_->handles.conn = nullptr;
  impl_->connection().Close();
}

void SAConnection::Destroy() {
  impl_->handles.conn = nullptr;
  impl_->connection().Destroy();
}

SAString SAConnection::ServerVersionString() {
  return SAString(impl_->connection().Value(kQueryVersion).c_str());
}

void SAConnection::Commit() { impl_->connection().Commit(); }

void SAConnection::Rollback() { impl_->connection().Rollback(); }

void SAConnection::setIsolationLevel(SAIsolationLevel_t level) {
  if (level != SA_LevelUnknown) {
    if (level < 0 || level > SA_Serializable) throw pq::UsageError(L"There is no such isolation level");
    Commit();
    impl_->connection().Run(kSetIsolationLevel[level]);
  }
  impl_->isolationLevel = level;
}

SAIsolationLevel_t SAConnection::IsolationLevel() const { return impl_->isolationLevel; }

saAPI* SAConnection::NativeAPI() const { return &pq::NativeApi(); }

saConnectionHandles* SAConnection::NativeHandles() {
  impl_->handles.conn = impl_->connection().NativeHandle();
  return &impl_->handles;
}
