// The program historian: loads, shows, exports and checks the tag history of a plant.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <fstream>
#include <iostream>
#include <vector>

#include "Console.h"
#include "Failure.h"
#include "Manual.h"
#include "Subcommand.h"
#include "Text.h"

namespace historian::command {
namespace {

void Complain(const std::string& what) { std::cerr << "historian: " << OneLine(what, 600) << std::endl; }

int Run(const Subcommand& subcommand, Terminal& terminal) {
  try {
    DeferInterrupts();
    const int status = subcommand.run(terminal);
    if (std::cout.flush()) return status;
    Complain("cannot write to standard output");
  } catch (const Interrupted& interrupted) {
    terminal.ClearDrawing();
    Complain(interrupted.what());
    return kSignalled + InterruptNoted();
  } catch (const Refusal& refusal) {
    terminal.ClearDrawing();
    Complain(refusal.what());
    return kRefused;
  } catch (const std::exception& error) {  // Failure, historian::Error, SAException, out of memory
    terminal.ClearDrawing();
    Complain(error.what());
  }
  return kFailed;
}

// Writes the manual pages and the completion into a directory, for the package.
int WriteManual(const std::string& directory, const CLI::App& program,
                const std::vector<Subcommand>& subcommands) {
  const auto write = [&](const std::string& name, const std::string& text) {
    std::ofstream(PathOf(directory + '/' + name), std::ios::binary) << text;
  };
  write("historian.1", ProgramManual(program));
  write("historian.bash", BashCompletion(program));
  for (const Subcommand& subcommand : subcommands) {
    write("historian-" + subcommand.app->get_name() + ".1", SubcommandManual(*subcommand.app));
  }
  return kDone;
}

int Main(std::vector<std::string> arguments) {
  Terminal terminal = Terminal::StandardOutput();
  CLI::App program("Loads, shows, exports and checks the tag history of a plant.", "historian");
  program.set_version_flag("--version", "historian " HISTORIAN_VERSION);
  program.set_help_all_flag("--help-all", "Print the help of every subcommand");
  program.require_subcommand(1);
  program.allow_windows_style_options(false);  // /tmp/plant.csv is a file
  program.get_formatter()->column_width(28);
  program.footer("Each subcommand has --help with examples. Exit status: 0 done, 1 failed, 2 refused.");
  std::vector<Subcommand> subcommands = {AddDoctor(program), AddInit(program),   AddImport(program),
                                         AddExport(program), AddTags(program),   AddTrend(program),
                                         AddAlarms(program), AddChunks(program), AddSpool(program)};
#ifdef HISTORIAN_SERVE
  subcommands.push_back(AddServe(program));
#endif
  if (arguments.size() == 2 && arguments[0] == "--manual")
    return WriteManual(arguments[1], program, subcommands);
  const auto called = [&](const Subcommand& subcommand) {
    return subcommand.app->get_name() == arguments[0];
  };
  if (!arguments.empty() && !arguments[0].starts_with('-') &&
      std::none_of(subcommands.begin(), subcommands.end(), called)) {
    Complain("there is no subcommand " + Quote(arguments[0]) + " (historian --help lists them)");
    return kRefused;
  }
  try {
    std::reverse(arguments.begin(), arguments.end());
    program.parse(arguments);
  } catch (const CLI::Success& asked) {
    return program.exit(asked, std::cout, std::cerr);
  } catch (const CLI::ParseError& error) {
    const auto chosen = program.get_subcommands();
    Complain(std::string(error.what()) + " (historian " +
             (chosen.empty() ? "" : chosen[0]->get_name() + ' ') + "--help shows how)");
    return kRefused;
  }
  for (const Subcommand& subcommand : subcommands) {
    if (subcommand.app->parsed()) return Run(subcommand, terminal);
  }
  return kRefused;
}

}  // namespace

}  // namespace historian::command

int main(int argc, char** argv) {
  return historian::command::Main(historian::command::Arguments(argc, argv));
}
