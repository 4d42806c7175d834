// historian doctor: checks the health of the store.
#include "Failure.h"
#include "Subcommand.h"
#include "Text.h"
#include "Verdicts.h"

namespace historian::command {
namespace {

struct Options {
  CommonOptions common;
  std::optional<int> retention;
  int late_after = 60;
  int stopped_after = 24 * 60;
  bool quiet = false;
};

const char* ColourOf(Verdict verdict) {
  switch (verdict) {
    case Verdict::Warning: return "33";
    case Verdict::Failed: return "31";
    case Verdict::Ok: break;
  }
  return "32";
}

void Print(const HealthReport& report, bool quiet, Terminal& terminal) {
  std::size_t counts[3] = {};
  for (const Finding& finding : report.findings) {
    ++counts[static_cast<std::size_t>(finding.verdict)];
    if (quiet && finding.verdict == Verdict::Ok) continue;
    const std::string word = AlignLeft(WordOf(finding.verdict), 8);
    terminal.Line(terminal.Styled(ColourOf(finding.verdict), word) + terminal.Bold(OneLine(finding.check)) +
                  ": " + OneLine(finding.found, 1000));
    if (!finding.advice.empty()) terminal.Line("        do: " + OneLine(finding.advice, 2000));
  }
  terminal.Line(FormatCount(counts[0]) + " ok, " + Count(counts[1], "warning") + ", " +
                FormatCount(counts[2]) + " failed");
}

int Run(const Options& options, Terminal& terminal) {
  HealthOptions wanted;
  if (options.retention) {
    for (const char* table : {"datalog", "alarm", "system_log"})
      wanted.retentionDays[table] = *options.retention;
  }
  wanted.lateAfter = std::chrono::minutes(options.late_after);
  wanted.stoppedAfter = std::chrono::minutes(options.stopped_after);
  const HealthReport report = CheckHealth(*OpenDbms(options.common.server, DbmsType::PostgreSQL), wanted);
  if (options.common.json) {
    terminal.Line(ToJson(report).dump(1));
  } else {
    Print(report, options.quiet, terminal);
  }
  return static_cast<int>(report.Worst());
}

}  // namespace

Subcommand AddDoctor(CLI::App& program) {
  auto options = std::make_shared<Options>();
  CLI::App* app = program.add_subcommand(
      "doctor", "Check the health of the store; exit status 0 ok, 1 warnings, 2 failures");
  app->add_option("--retention", options->retention,
                  "Days of retention that there should be; 0: none [not checked]")
      ->option_text("DAYS")
      ->check(CLI::Range(0, 36500));
  app->add_option("--late-after", options->late_after, "Warn when the newest sample is older than this [60]")
      ->option_text("MINUTES")
      ->check(CLI::Range(1, 1'000'000));
  app->add_option(
         "--stopped-after", options->stopped_after,
         "Warn of tags that had samples during the last week and none for so long; 0: do not look [1440]")
      ->option_text("MINUTES")
      ->check(CLI::Range(0, 1'000'000));
  app->add_flag("--quiet", options->quiet, "Show only what is not ok");
  AddCommonOptions(*app, options->common, false);
  SetExamples(*app,
              "  historian doctor\n"
              "  historian doctor --retention 365 --late-after 10 --quiet\n"
              "  historian doctor --json || mail -s 'plant database' operator");
  return {app, [options](Terminal& terminal) { return Run(*options, terminal); }};
}

}  // namespace historian::command
