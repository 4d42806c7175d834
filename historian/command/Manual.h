#pragma once

#include <string>

namespace CLI {
class App;
}

namespace historian::command {

// The manual page of the program (historian.1) or of one of its subcommands (historian-import.1), in roff,
// made from the output of --help.
std::string ProgramManual(const CLI::App& program);
std::string SubcommandManual(const CLI::App& subcommand);

// A completion script for bash.
std::string BashCompletion(const CLI::App& program);

}  // namespace historian::command
