#include "Subcommand.h"

namespace historian::command {
namespace {

// The database text may be connection keywords or an address (postgresql://...), but a password in it would
// show in the list of processes.
std::string RefusePassword(const std::string& database) {
  const bool keyword = database.find('=') != database.npos && database.find("password") != database.npos;
  const std::size_t scheme = database.find("://");
  const std::size_t end = scheme == database.npos ? scheme : database.find_first_of("@/", scheme + 3);
  const bool address = end != database.npos && database[end] == '@' && database.find(':', scheme + 3) < end;
  return keyword || address ? "names a password, which others can see; use PGPASSWORD or the password file"
                            : "";
}

void AddServerOptions(CommandLine& command, ServerOptions& options) {
  command.BeginGroup(
      "Server (else PGHOST, PGPORT, PGDATABASE, PGUSER, PGSERVICE; password: PGPASSWORD, ~/.pgpass)");
  command.Add("--host HOST", options.host, "Host, or the directory of its Unix socket");
  command.Add("--port PORT", options.port, "Port").Between(1, 65535);
  command
      .Add("--database NAME", options.database,
           "Database, or connection keywords: \"dbname=plant sslmode=require\"")
      .Check(RefusePassword);
  command.Add("--user USER", options.user, "User");
  command.EndGroup();
}

}  // namespace

void AddCommonOptions(CommandLine& command, CommonOptions& options, bool with_zone) {
  AddServerOptions(command, options.server);
  command.Add("--json", options.json, "Write JSON for scripts");
  if (with_zone) {
    command.Add("--zone ZONE", options.zone,
                "Time zone of times that name none, and of times shown: Europe/Berlin, +01:00 [UTC]");
  }
}

}  // namespace historian::command
