#include "Subcommand.h"

namespace historian::command {

void AddCommonOptions(CLI::App& subcommand, CommonOptions& options, bool with_zone) {
  AddServerOptions(subcommand, options.server);
  subcommand.add_flag("--json", options.json, "Write JSON for scripts");
  if (with_zone) {
    subcommand
        .add_option("--zone", options.zone,
                    "Time zone of times that name none, and of times shown: Europe/Berlin, +01:00 [UTC]")
        ->option_text("ZONE");
  }
}

void SetExamples(CLI::App& subcommand, const std::string& examples) {
  subcommand.footer("Examples:\n" + examples);
}

}  // namespace historian::command
