#include "scripted/ScriptedConnection.h"

#include "DbmsAPI/frame/Format.h"
#include "scripted/ScriptedServer.h"

using scripted::Server;

namespace {

void Note(const std::wstring& event) { Server::Current().events.push_back(event); }

}  // namespace

SAConnection::SAConnection() : impl_(std::make_unique<Impl>()) {}
SAConnection::~SAConnection() = default;

void SAConnection::Connect(const SAString& dbString, const SAString& user, const SAString& password,
                           SAClient_t client, saConnectionHandler_t) {
  Server& server = Server::Current();
  const std::wstring target =
      Format(L"{} {} {} {}", static_cast<const SAChar*>(dbString), static_cast<const SAChar*>(user),
             static_cast<const SAChar*>(password), static_cast<int>(client));
  server.connects.push_back(target);
  Note(L"connect");
  if (server.refusal) {
    throw SAException(static_cast<SAErrorClass_t>(server.refusal->errorClass), server.refusal->nativeCode,
                      server.refusal->text.c_str());
  }
  impl_->connected = true;
}

bool SAConnection::isConnected() const {
  Note(L"connected?");
  return impl_->connected;
}

bool SAConnection::isAlive() const {
  Note(L"alive?");
  return impl_->connected && Server::Current().alive;
}

void SAConnection::Disconnect() { impl_->connected = false; }

void SAConnection::Destroy() {
  Note(L"destroy");
  impl_->connected = false;
}

SAString SAConnection::ServerVersionString() { return L"PostgreSQL of the script"; }

void SAConnection::Commit() { Note(L"commit"); }

void SAConnection::Rollback() { Note(L"rollback"); }

void SAConnection::setIsolationLevel(SAIsolationLevel_t level) {
  Note(Format(L"isolation {}", static_cast<int>(level)));
  impl_->level = level;
}

SAIsolationLevel_t SAConnection::IsolationLevel() const { return impl_->level; }
