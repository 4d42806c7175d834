// historian serve: a page that shows trends, alarms and health.
#include <algorithm>
#include <cstdlib>
#include <nlohmann/json.hpp>

#include "../Console.h"
#include "../Failure.h"
#include "../Subcommand.h"
#include "../Text.h"
#include "Service.h"

namespace historian::command {
namespace {

constexpr std::size_t kShortestToken = 16;
constexpr char kTokenVariable[] = "HISTORIAN_TOKEN";

struct ServeOptions {
  CommonOptions common;
  std::string listen;
  std::vector<std::string> names;
  bool token = false;
  std::size_t connections = 4;
};

// The token of the environment, so that the address stays valid after a restart; otherwise a new one.
std::string ChooseToken() {
  const char* given = std::getenv(kTokenVariable);
  if (given == nullptr || *given == '\0') return NewToken();
  const std::string token = given;
  const auto fits = [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_';
  };
  if (token.size() < kShortestToken || !std::all_of(token.begin(), token.end(), fits))
    throw Refusal(std::string(kTokenVariable) + " has to be at least 16 letters, digits, - or _");
  return token;
}

void Announce(const Service& service, const std::string& token, const std::string& database, bool as_json,
              Terminal& terminal) {
  const std::string url = service.address().Url() + (token.empty() ? "" : "?token=" + token);
  if (as_json) {
    terminal.Line(nlohmann::json{{"url", url}, {"database", database}}.dump());
    return;
  }
  terminal.Line(terminal.Bold(url));
  terminal.Line(terminal.Dim("shows the database " + OneLine(database) + ", read-only; Ctrl-C ends it"));
}

int Run(const ServeOptions& options, Terminal& terminal) {
  Service::Options wanted;
  wanted.address = ReadAddress(options.listen);
  wanted.names = options.names;
  wanted.limits = {options.connections, 2 * options.connections};
  wanted.server = options.common.server;
  if (options.token || !wanted.address.loopback()) wanted.token = ChooseToken();

  // Wrong options are reported here, not in the page.
  Server server(ReadOnly(wanted.server));
  server.RequireTable("datalog");
  Service service(wanted);
  Announce(service, wanted.token, server.Name(), options.common.json, terminal);

  while (InterruptNoted() == 0) std::this_thread::sleep_for(std::chrono::milliseconds(50));
  // A statement that is still running only reads, and the server ends it at its time limit.
  if (!service.Stop()) std::_Exit(kDone);
  return kDone;
}

}  // namespace

Subcommand AddServe(CLI::App& program) {
  auto options = std::make_shared<ServeOptions>();
  CommandLine command(program, "serve", "Show trends, alarms and health in a browser");
  command.Add("--listen ADDRESS:PORT", options->listen,
              "Where to listen; an address other than loopback asks for a token [127.0.0.1:8470]");
  command.Add("--name NAME", options->names, "A further host name of the page, besides localhost");
  command.Add("--token", options->token,
              "Ask for a token on loopback, too: other users of this machine reach the page as well");
  command.Add("--connections NUMBER", options->connections, "Connections to the database [4]").Between(1, 8);
  AddCommonOptions(command, options->common, false);
  command.SetExamples(
      "  historian serve\n"
      "  historian serve --host db1 --user viewer --database plant --listen 127.0.0.1:9000\n"
      "  HISTORIAN_TOKEN=$(cat token) historian serve --listen 10.0.0.5:8470 --name plant.example.org");
  return {command.app(), [options](Terminal& terminal) { return Run(*options, terminal); }};
}

}  // namespace historian::command
