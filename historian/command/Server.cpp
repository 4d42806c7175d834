#include "Server.h"

#include "DbmsAPI/Diagnostics.h"
#include "Failure.h"
#include "Text.h"
#include "port/Utf8.h"

namespace historian::command {
namespace {

constexpr wchar_t kExtension[] = L"select 1 from pg_extension where extname = 'timescaledb'";
constexpr wchar_t kTable[] = L"select to_regclass(:1)";
constexpr wchar_t kDatabase[] = L"select current_database()";

}  // namespace

std::shared_ptr<Dbms> OpenDbms(const ServerOptions& options, DbmsType type) {
  SetDbmsDebugSink([](const wchar_t*) {});  // failures are reported once, from GetLastError
  const auto wide = [](const std::string& text) { return sys::FromUtf8(text); };
  return Dbms::GetDbms(type, wide(options.host).c_str(), options.port, wide(options.database).c_str(),
                       wide(options.user).c_str(), L"");
}

Server::Server(const ServerOptions& options) : options_(options), dbms_(Open(DbmsType::PostgreSQL)) {
  if (!dbms_->Connect()) throw Failure("cannot connect: " + sys::ToUtf8(dbms_->GetLastError()));
}

void Server::Require(bool succeeded, const std::string& doing) {
  if (!succeeded) throw Failure("cannot " + doing + ": " + sys::ToUtf8(dbms_->GetLastError()));
}

void Server::Query(const std::wstring& statement, const Bind& bind, const Row& row) {
  Require(dbms_->Connect(), "connect");
  SACommand command(dbms_->GetConnection().get(), SAString(statement));
  if (bind) bind(command);
  command.Execute();
  while (command.FetchNext()) row(command);
}

std::string Server::Value(const std::wstring& statement, const Bind& bind) {
  std::string value;
  Query(statement, bind, [&](SACommand& row) { value = Text(row.Field(1)); });
  return value;
}

bool Server::HasTimescale() { return !Value(kExtension).empty(); }

void Server::RequireTable(const std::string& table) {
  const auto bind = [&](SACommand& command) { command << SAString(sys::FromUtf8(table)); };
  if (!Value(kTable, bind).empty()) return;
  throw Refusal("the database " + Name() + " has no table " + table + "; create it with: historian init");
}

std::string Server::Name() { return Value(kDatabase); }

std::string Text(const SAField& field) { return sys::ToUtf8(static_cast<const wchar_t*>(field.asString())); }

}  // namespace historian::command
