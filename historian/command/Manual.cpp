#include "Manual.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>
#include <vector>

namespace historian::command {
namespace {

constexpr char kEnvironment[] =
    "PGHOST, PGPORT, PGDATABASE, PGUSER, PGPASSWORD, PGPASSFILE, PGSERVICE and the other variables of libpq say where "
    "the database is, unless an option does. Passwords come from PGPASSWORD or the password file (~/.pgpass), never "
    "from the command line. NO_COLOR turns colours off.";
constexpr char kExitStatus[] =
    "0 done; 1 the server or the data failed; 2 refused: the command line or a file cannot be followed, nothing was "
    "changed; 130 interrupted.";

std::string EscapeRoff(const std::string& text) {
  std::string out;
  for (const char c : text) {
    if (c == '\\') {
      out += "\\e";
    } else if (c == '-') {
      out += "\\-";
    } else {
      if ((c == '.' || c == '\'') && (out.empty() || out.back() == '\n')) out += "\\&";
      out += c;
    }
  }
  return out;
}

std::string Upper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
  return text;
}

std::string Head(const std::string& name, const std::string& what) {
  return ".TH " + Upper(EscapeRoff(name)) +
         " 1 \"\" \"historian " HISTORIAN_VERSION "\" \"Tag history\"\n.SH NAME\n" + EscapeRoff(name) +
         " \\- " + EscapeRoff(what) + '\n';
}

std::string Section(const std::string& title, const std::string& text) {
  return ".SH " + title + '\n' + EscapeRoff(text) + '\n';
}

// An option as the manual shows it: "-o, --output FILE".
std::string NamesOf(const CLI::Option& option) {
  std::string names;
  for (const std::string& name : option.get_snames()) names += (names.empty() ? "-" : ", -") + name;
  for (const std::string& name : option.get_lnames()) names += (names.empty() ? "--" : ", --") + name;
  if (names.empty()) return option.get_name(true);
  return option.get_option_text().empty() ? names : names + ' ' + option.get_option_text();
}

std::vector<const CLI::Option*> ShownOptions(const CLI::App& app) {
  return app.get_options([](const CLI::Option* option) { return !option->get_group().empty(); });
}

std::string OptionsOf(const CLI::App& app) {
  std::string text = ".SH OPTIONS\n", group = "Options";
  for (const CLI::Option* option : ShownOptions(app)) {
    if (option->get_group() != group) {
      group = option->get_group();
      if (group != "Positionals" && group != "Options") text += ".SS " + EscapeRoff(group) + '\n';
    }
    text += ".TP\n.B " + EscapeRoff(NamesOf(*option)) + '\n' + EscapeRoff(option->get_description()) + '\n';
  }
  return text;
}

// The lines of the footer after its heading, each an example.
std::string ExamplesOf(const CLI::App& app) {
  std::istringstream footer(app.get_footer());
  std::string text = ".SH EXAMPLES\n.nf\n", line;
  std::getline(footer, line);
  while (std::getline(footer, line)) text += EscapeRoff(line) + '\n';
  return text + ".fi\n";
}

std::string Synopsis(const CLI::App& app) {
  std::string text = "historian " + app.get_name() + " [OPTION]...";
  for (const CLI::Option* option : ShownOptions(app)) {
    if (!option->get_positional()) continue;
    const std::string name = option->get_name(true) + "...";
    text += option->get_required() ? ' ' + name : " [" + name + ']';
  }
  return text;
}

std::vector<const CLI::App*> SubcommandsOf(const CLI::App& program) {
  return program.get_subcommands([](const CLI::App*) { return true; });
}

}  // namespace

std::string ProgramManual(const CLI::App& program) {
  std::string text = Head("historian", "loads, shows, exports and checks the tag history of a plant");
  text += Section("SYNOPSIS", "historian SUBCOMMAND [OPTION]... [ARGUMENT]...");
  text += Section(
      "DESCRIPTION",
      "historian works on the tables of DbmsAPI in a PostgreSQL database, with or without TimescaleDB. Each "
      "subcommand has a manual page of its own, and --help with examples.");
  text += ".SH SUBCOMMANDS\n";
  std::string pages;
  for (const CLI::App* app : SubcommandsOf(program)) {
    text += ".TP\n.B " + app->get_name() + '\n' + EscapeRoff(app->get_description()) + '\n';
    pages += (pages.empty() ? "historian-" : ", historian-") + app->get_name() + "(1)";
  }
  return text + Section("ENVIRONMENT", kEnvironment) + Section("EXIT STATUS", kExitStatus) +
         Section("SEE ALSO", pages + ", psql(1)");
}

std::string SubcommandManual(const CLI::App& app) {
  return Head("historian-" + app.get_name(), app.get_description()) + Section("SYNOPSIS", Synopsis(app)) +
         OptionsOf(app) + ExamplesOf(app) + Section("ENVIRONMENT", kEnvironment) +
         Section("EXIT STATUS",
                 app.get_name() == "doctor" ? "0 ok, 1 warnings, 2 failures or no server." : kExitStatus) +
         Section("SEE ALSO", "historian(1)");
}

std::string BashCompletion(const CLI::App& program) {
  std::string names, cases;
  for (const CLI::App* app : SubcommandsOf(program)) {
    names += (names.empty() ? "" : " ") + app->get_name();
    std::string options;
    for (const CLI::Option* option : ShownOptions(*app)) {
      for (const std::string& name : option->get_lnames()) options += (options.empty() ? "--" : " --") + name;
    }
    cases += "    " + app->get_name() + ") options=\"" + options + "\" ;;\n";
  }
  return "# bash completion for historian\n"
         "_historian() {\n"
         "  local word=${COMP_WORDS[COMP_CWORD]} options=\n"
         "  if [ \"$COMP_CWORD\" -eq 1 ]; then\n"
         "    mapfile -t COMPREPLY < <(compgen -W \"" +
         names +
         " --help --version\" -- \"$word\")\n"
         "    return\n"
         "  fi\n"
         "  case ${COMP_WORDS[1]} in\n" +
         cases +
         "  esac\n"
         "  if [[ $word == -* ]]; then\n"
         "    mapfile -t COMPREPLY < <(compgen -W \"$options\" -- \"$word\")\n"
         "  else\n"
         "    mapfile -t COMPREPLY < <(compgen -f -- \"$word\")\n"
         "  fi\n"
         "}\n"
         "complete -o filenames -F _historian historian\n";
}

}  // namespace historian::command
