// historian alarms: lists alarm state changes.
#include "AlarmRows.h"
#include "Failure.h"
#include "Subcommand.h"
#include "Table.h"
#include "Text.h"
#include "csv/Times.h"

namespace historian::command {
namespace {

struct AlarmsOptions {
  CommonOptions common;
  std::string from, to;
  AlarmFilter filter;
};

class Listing {
 public:
  Listing(const AlarmsOptions& options, Terminal& terminal)
      : options_(options), terminal_(terminal), zone_(FindZone(options.common.zone)) {}

  int Run() {
    AlarmFilter filter = options_.filter;
    if (!options_.from.empty()) filter.from = ReadTimeArgument("--from", options_.from, *zone_);
    filter.to = ReadTimeArgument("--to", options_.to.empty() ? "now" : options_.to, *zone_);
    if (filter.to < filter.from) throw Refusal("--to lies before --from");
    Server server(options_.common.server);
    server.RequireTable("alarm");
    ReadAlarms(server, filter, [&](const AlarmRow& alarm) {
      options_.common.json ? alarms_.push_back(ToJson(alarm)) : AddRow(alarm);
    });
    options_.common.json ? terminal_.Line(alarms_.dump(1)) : Print();
    return kDone;
  }

 private:
  void AddRow(const AlarmRow& alarm) {
    const auto code = [](int number) { return std::to_string(number); };
    table_.AddRow({FormatTime(alarm.time, *zone_), alarm.tag, FormatValue(alarm.value), code(alarm.status),
                   code(alarm.type), code(alarm.level), code(alarm.area),
                   alarm.cleared ? FormatTime(*alarm.cleared, *zone_) : "open", OneLine(alarm.label)});
    ++rows_;
  }

  void Print() {
    if (rows_ == 0) {
      terminal_.Line("no alarms match");
      return;
    }
    table_.Print(terminal_);
    terminal_.Line(' ' + Count(rows_, "state change") + ", newest first, times in " + zone_->name() +
                   (rows_ == options_.filter.limit ? "; more may match (--limit)" : ""));
  }

  const AlarmsOptions& options_;
  Terminal& terminal_;
  std::unique_ptr<Zone> zone_;
  std::uint64_t rows_ = 0;
  nlohmann::json alarms_ = nlohmann::json::array();
  Table table_ = Table({{"time", Table::Align::Left},
                        {"tag", Table::Align::Left},
                        {"value"},
                        {"status"},
                        {"type"},
                        {"level"},
                        {"zone"},
                        {"cleared", Table::Align::Left},
                        {"text", Table::Align::Left}},
                       8);
};

}  // namespace

Subcommand AddAlarms(CLI::App& program) {
  auto options = std::make_shared<AlarmsOptions>();
  CommandLine command(program, "alarms", "List alarm state changes, newest first");
  command.Add("--from TIME", options->from, "From this time on: 2026-11-21, \"2026-11-21 20:40\", 24h, 7d");
  command.Add("--to TIME", options->to, "Up to this time [now]");
  command.Add("--tag PREFIX", options->filter.prefix, "Only tags whose names begin with this");
  command.Add("--status 0..3", options->filter.status, "Of this status").Between(0, 3);
  command.Add("--type 0..12", options->filter.type, "Of this type").Between(0, 12);
  command.Add("--level 0..15", options->filter.level, "Of this level").Between(0, 15);
  command.Add("--alarm-zone CODE", options->filter.area, "Of this alarm zone").Between(0, 32767);
  command.Add("--open", options->filter.open, "Only those that have not cleared");
  command.Add("--limit ROWS", options->filter.limit, "Maximum number of rows [100]").Between(1, 1000000000);
  AddCommonOptions(command, options->common, true);
  command.SetExamples(
      "  historian alarms --from 24h\n"
      "  historian alarms --tag PUMP --level 3 --open --zone Europe/Berlin\n"
      "  historian alarms --from 2026-11-01 --to 2026-12-01 --limit 10000 --json");
  return {command.app(), [options](Terminal& terminal) { return Listing(*options, terminal).Run(); }};
}

}  // namespace historian::command
