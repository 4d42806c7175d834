#include <string_view>

#include "ConnectionImpl.h"
#include "pq/Errors.h"
#include "pq/NativeApi.h"

namespace {

// What a handler is told.
constexpr int kBeforeConnect = 0;
constexpr int kAfterConnect = 1;

constexpr char kQueryVersion[] = "select version()";
// The server reads uncommitted as committed.
const char* SetIsolationLevelStatement(SAIsolationLevel_t level) {
  switch (level) {
    case SA_ReadUncommitted:
    case SA_ReadCommitted: return "SET SESSION CHARACTERISTICS AS TRANSACTION ISOLATION LEVEL READ COMMITTED";
    case SA_RepeatableRead:
      return "SET SESSION CHARACTERISTICS AS TRANSACTION ISOLATION LEVEL REPEATABLE READ";
    case SA_Serializable: return "SET SESSION CHARACTERISTICS AS TRANSACTION ISOLATION LEVEL SERIALIZABLE";
    case SA_LevelUnknown: break;
  }
  throw pq::Misuse(L"There is no such isolation level");
}

std::wstring_view View(const SAString& text) { return {text, text.GetLength()}; }

}  // namespace

SAConnection::SAConnection() : impl_(std::make_unique<Impl>()) {}

SAConnection::~SAConnection() {
  if (isConnected()) Disconnect();
}

void SAConnection::Connect(const SAString& dbString, const SAString& user, const SAString& password,
                           SAClient_t, saConnectionHandler_t handler) {
  if (isConnected()) throw pq::Misuse(L"The connection is connected already");
  const auto keywords = pq::ReadConnectionString(View(dbString), View(user), View(password));
  if (handler) handler(*this, kBeforeConnect);
  impl_->session->Open(keywords);
  impl_->isolationLevel = SA_LevelUnknown;
  if (handler) handler(*this, kAfterConnect);
}

bool SAConnection::isConnected() const { return impl_->session->IsOpen(); }

bool SAConnection::isAlive() const { return impl_->session->IsAlive(); }

void SAConnection::Disconnect() {
  impl_->handles.conn = nullptr;
  impl_->session->Close();
}

void SAConnection::Destroy() {
  impl_->handles.conn = nullptr;
  impl_->session->Drop();
}

SAString SAConnection::ServerVersionString() {
  return SAString(impl_->session->Value(kQueryVersion).c_str());
}

void SAConnection::Commit() { impl_->session->Commit(); }

void SAConnection::Rollback() { impl_->session->Rollback(); }

void SAConnection::setIsolationLevel(SAIsolationLevel_t level) {
  if (level != SA_LevelUnknown) {
    Commit();
    impl_->session->Run(SetIsolationLevelStatement(level));
  }
  impl_->isolationLevel = level;
}

SAIsolationLevel_t SAConnection::IsolationLevel() const { return impl_->isolationLevel; }

saAPI* SAConnection::NativeAPI() const { return &pq::NativeApi(); }

saConnectionHandles* SAConnection::NativeHandles() {
  impl_->handles.conn = impl_->session->NativeLink();
  return &impl_->handles;
}
