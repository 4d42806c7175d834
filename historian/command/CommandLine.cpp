#include "CommandLine.h"

#include <CLI/CLI.hpp>

namespace historian::command {
namespace {

OptionRules AddOption(CLI::App& app, const std::string& usage, auto& value, const std::string& help) {
  const std::size_t space = usage.find(' ');
  CLI::Option* option = app.add_option(usage.substr(0, space), value, help);
  option->option_text(space == usage.npos ? " " : usage.substr(space + 1));
  return OptionRules(option);
}

}  // namespace

OptionRules& OptionRules::Required() {
  option_->required();
  return *this;
}

OptionRules& OptionRules::Between(int least, int most) {
  option_->check(CLI::Range(least, most));
  return *this;
}

OptionRules& OptionRules::OneOf(const std::vector<std::string>& values) {
  option_->check(CLI::IsMember(values));
  return *this;
}

OptionRules& OptionRules::CommaSeparated() {
  option_->delimiter(',');
  return *this;
}

OptionRules& OptionRules::Check(const std::function<std::string(const std::string&)>& refusal) {
  option_->check(refusal);
  return *this;
}

CommandLine::CommandLine(CLI::App& program, const std::string& subcommand, const std::string& purpose)
    : app_(program.add_subcommand(subcommand, purpose)) {}

OptionRules CommandLine::Add(const std::string& usage, bool& value, const std::string& help) {
  return OptionRules(app_->add_flag(usage, value, help));
}

OptionRules CommandLine::Add(const std::string& usage, int& value, const std::string& help) {
  return AddOption(*app_, usage, value, help);
}

OptionRules CommandLine::Add(const std::string& usage, std::size_t& value, const std::string& help) {
  return AddOption(*app_, usage, value, help);
}

OptionRules CommandLine::Add(const std::string& usage, std::optional<int>& value, const std::string& help) {
  return AddOption(*app_, usage, value, help);
}

OptionRules CommandLine::Add(const std::string& usage, std::string& value, const std::string& help) {
  return AddOption(*app_, usage, value, help);
}

OptionRules CommandLine::Add(const std::string& usage, std::vector<std::string>& value,
                             const std::string& help) {
  return AddOption(*app_, usage, value, help);
}

void CommandLine::BeginGroup(const std::string& title) { app_->option_defaults()->group(title); }

void CommandLine::EndGroup() { BeginGroup("Options"); }

void CommandLine::SetExamples(const std::string& examples) { app_->footer("Examples:\n" + examples); }

}  // namespace historian::command
