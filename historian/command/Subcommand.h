#pragma once

#include <functional>
#include <memory>
#include <string>

#include "CommandLine.h"
#include "Server.h"
#include "Terminal.h"

namespace historian::command {

// What every subcommand takes.
struct CommonOptions {
  ServerOptions server;
  std::string zone = "UTC";
  bool json = false;
};

// A subcommand of the program: its options, and a function that runs it after they were read and returns the
// exit status.
struct Subcommand {
  CLI::App* app = nullptr;
  std::function<int(Terminal&)> run;
};

// Each adds itself to the program.
Subcommand AddDoctor(CLI::App& program);
Subcommand AddInit(CLI::App& program);
Subcommand AddImport(CLI::App& program);
Subcommand AddExport(CLI::App& program);
Subcommand AddTags(CLI::App& program);
Subcommand AddTrend(CLI::App& program);
Subcommand AddAlarms(CLI::App& program);
Subcommand AddChunks(CLI::App& program);
Subcommand AddSpool(CLI::App& program);
Subcommand AddServe(CLI::App& program);  // if it is built

void AddCommonOptions(CommandLine& command, CommonOptions& options, bool with_zone);

}  // namespace historian::command
