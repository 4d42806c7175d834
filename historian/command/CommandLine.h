#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace historian::command {

// Checks of an option's value. A refused value ends the program before a subcommand runs.
class OptionRules {
 public:
  explicit OptionRules(CLI::Option* option) : option_(option) {}

  OptionRules& Required();
  OptionRules& Between(int least, int most);
  OptionRules& OneOf(const std::vector<std::string>& values);
  // Each value is a list separated by commas.
  OptionRules& CommaSeparated();
  // `refusal` returns what is wrong with a value; empty if nothing is.
  OptionRules& Check(const std::function<std::string(const std::string&)>& refusal);

 private:
  CLI::Option* option_;
};

// The options and arguments of a subcommand. Only the implementation includes CLI11, which takes seconds to
// compile.
class CommandLine {
 public:
  CommandLine(CLI::App& program, const std::string& subcommand, const std::string& purpose);

  CLI::App* app() const { return app_; }

  // A flag (--quiet), an option and what --help calls its value (-o,--output FILE), or an argument (TAG). It
  // is read into `value`, which must outlive the program's command line.
  OptionRules Add(const std::string& usage, bool& value, const std::string& help);
  OptionRules Add(const std::string& usage, int& value, const std::string& help);
  OptionRules Add(const std::string& usage, std::size_t& value, const std::string& help);
  OptionRules Add(const std::string& usage, std::optional<int>& value, const std::string& help);
  OptionRules Add(const std::string& usage, std::string& value, const std::string& help);
  OptionRules Add(const std::string& usage, std::vector<std::string>& value, const std::string& help);

  // Sets the heading in --help for the options added next.
  void BeginGroup(const std::string& title);
  void EndGroup();
  // Sets the examples at the end of --help, one command per line.
  void SetExamples(const std::string& examples);

 private:
  CLI::App* app_;
};

}  // namespace historian::command
