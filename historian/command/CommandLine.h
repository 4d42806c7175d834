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

// What the value of an option has to be. Refused values end the program before a subcommand runs.
class OptionRules {
 public:
  explicit OptionRules(CLI::Option* option) : option_(option) {}

  OptionRules& Required();
  OptionRules& Between(int least, int most);
  OptionRules& OneOf(const std::vector<std::string>& values);
  // Each value is a list separated by commas.
  OptionRules& CommaSeparated();
  // `refusal` gives what is wrong with a value, or nothing.
  OptionRules& Check(const std::function<std::string(const std::string&)>& refusal);

 private:
  CLI::Option* option_;
};

// The options and arguments of a subcommand. A source file that includes CLI11 takes seconds to compile, so
// only the implementation does.
class CommandLine {
 public:
  CommandLine(CLI::App& program, const std::string& subcommand, const std::string& purpose);

  CLI::App* app() const { return app_; }

  // A flag (--quiet), an option and what --help calls its value (-o,--output FILE), or an argument (TAG). It
  // is read into `value`, which has to outlive the program's command line.
  OptionRules Add(const std::string& usage, bool& value, const std::string& help);
  OptionRules Add(const std::string& usage, int& value, const std::string& help);
  OptionRules Add(const std::string& usage, std::size_t& value, const std::string& help);
  OptionRules Add(const std::string& usage, std::optional<int>& value, const std::string& help);
  OptionRules Add(const std::string& usage, std::string& value, const std::string& help);
  OptionRules Add(const std::string& usage, std::vector<std::string>& value, const std::string& help);

  // The heading in --help of the options added next.
  void BeginGroup(const std::string& title);
  void EndGroup();
  // The examples that --help ends with, one command a line.
  void SetExamples(const std::string& examples);

 private:
  CLI::App* app_;
};

}  // namespace historian::command
