// historian doctor: checks the health of the store.
#include "Failure.h"
#include "Subcommand.h"
#include "Text.h"
#include "Verdicts.h"

namespace historian::command {
namespace {

struct DoctorOptions {
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

int Run(const DoctorOptions& options, Terminal& terminal) {
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
  auto options = std::make_shared<DoctorOptions>();
  CommandLine command(program, "doctor",
                      "Check the health of the store; exit status 0 ok, 1 warnings, 2 failures");
  command
      .Add("--retention DAYS", options->retention,
           "Days of retention that there should be; 0: none [not checked]")
      .Between(0, 36500);
  command
      .Add("--late-after MINUTES", options->late_after, "Warn when the newest sample is older than this [60]")
      .Between(1, 1'000'000);
  command
      .Add(
          "--stopped-after MINUTES", options->stopped_after,
          "Warn of tags that had samples during the last week and none for this long; 0: do not check [1440]")
      .Between(0, 1'000'000);
  command.Add("--quiet", options->quiet, "Show only what is not ok");
  AddCommonOptions(command, options->common, false);
  command.SetExamples(
      "  historian doctor\n"
      "  historian doctor --retention 365 --late-after 10 --quiet\n"
      "  historian doctor --json || mail -s 'plant database' operator");
  return {command.app(), [options](Terminal& terminal) { return Run(*options, terminal); }};
}

}  // namespace historian::command
