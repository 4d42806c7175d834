#include <DbmsAPI/Diagnostics.h>
#include <SQLAPI.h>

#include <chrono>

#include "Stage.h"
#include "Text.h"

namespace plant {
namespace {

// Report rows read back right only in a session whose zone is the process's own. UTC is the one that both can
// be in, whatever the zone of the file. Set once, it lasts: the program ends with its link to the server.
constexpr wchar_t kSetSessionZone[] = L"set time zone 'UTC'";

constexpr wchar_t kExtensionVersion[] = L"select extversion from pg_extension where extname = 'timescaledb'";

// Codes of the system log belong to the client; these are this program's own.
constexpr std::int16_t kNode = 1;
constexpr std::int16_t kModule = 1;
constexpr std::int16_t kInformation = 1;
constexpr std::int32_t kFileLoaded = 1;

std::int64_t NowMs() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

// Statements of the client's own go over the same connection; it is open here, an operation opened it.
std::string ExtensionVersion(Stage& stage) {
  SACommand command(stage.dbms->GetConnection().get(), kExtensionVersion);
  command.Execute();
  return command.FetchNext() ? Narrow(static_cast<const wchar_t*>(command.Field(1).asString())) : "";
}

}  // namespace

void Require(Stage& stage, bool succeeded, const std::string& doing) {
  if (!succeeded) throw DatabaseError("cannot " + doing + ": " + Narrow(stage.dbms->GetLastError()));
}

void Connect(Stage& stage) {
  SetDbmsDebugSink([](const wchar_t*) {});  // a failure is told once, by GetLastError
  const Options& options = stage.options;
  stage.dbms = Dbms::GetDbms(DbmsType::PostgreSQL, Widen(options.host).c_str(), options.port,
                             Widen(options.database).c_str(), Widen(options.user).c_str(),
                             Widen(options.password).c_str());
  std::wstring server;
  const std::string address = options.host + ':' + std::to_string(options.port);
  Require(stage, stage.dbms->GetServerVersion(server), "reach the server at " + address);
  Require(stage, stage.dbms->Connect(), "connect to database " + options.database);
  stage.terminal.Fact("server", Narrow(server).substr(0, Narrow(server).find(" on ")) + " at " + address);
  SACommand(stage.dbms->GetConnection().get(), kSetSessionZone).Execute();
  const std::string extension = ExtensionVersion(stage);
  stage.timescale = !extension.empty();
  stage.terminal.Fact("extension", extension.empty() ? "no TimescaleDB in this database: plain tables"
                                                     : "TimescaleDB " + extension);
}

void CreateTables(Stage& stage) {
  const int days = stage.options.retention_days;
  Require(stage, stage.dbms->CreateSystemLogTable(days), "create the system log");
  Require(stage, stage.dbms->CreateLogTable(days), "create tag history");
  std::string kept = days > 0 ? "retention of " + std::to_string(days) + " days" : "kept for good";
  if (days > 0 && !stage.timescale) kept += " (takes TimescaleDB)";
  stage.terminal.Fact("tables", "system_log and datalog, " + kept);

  SystemLogRecord record;
  record.time = NowMs();
  record.node = kNode;
  record.module = kModule;
  record.level = kInformation;
  record.type = kFileLoaded;
  record.message = Widen("loading " + NameOf(PathOf(stage.options.file)));
  Require(stage, stage.dbms->InsertSystemLog({record}) == 1, "write to the system log");
}

}  // namespace plant
