// historian alarms: lists alarm state changes.
#include <nlohmann/json.hpp>

#include "Failure.h"
#include "Subcommand.h"
#include "Table.h"
#include "Text.h"
#include "csv/Times.h"
#include "port/Utf8.h"

namespace historian::command {
namespace {

struct Options {
  CommonOptions common;
  std::string from, to;
  std::string tag;
  std::optional<int> status, type, level, area;
  bool open = false;
  std::uint64_t limit = 100;
};

// :1 from, :2 to (epoch milliseconds), :3 beginning of the tag, :4 status, :5 type, :6 level, :7 zone (each
// NULL: any), :8 whether only those not cleared, :9 most rows.
constexpr wchar_t kAlarms[] =
    L"select (extract(epoch from time) * 1000)::int8, tag_name, value, label, status, type, level, zone, "
    L"(extract(epoch from occ_time) * 1000)::int8, (extract(epoch from free_time) * 1000)::int8 from alarm "
    L"where time >= to_timestamp(:1 / 1000.0) and time <= to_timestamp(:2 / 1000.0) and starts_with(tag_name, :3) "
    L"and (:4::int is null or status = :4::int) and (:5::int is null or type = :5::int) "
    L"and (:6::int is null or level = :6::int) and (:7::int is null or zone = :7::int) "
    L"and (not :8 or free_time is null) "
    L"order by time desc, tag_name, status limit :9";

void Bind(SACommand& command, const std::optional<int>& code) {
  if (code) {
    command << *code;
  } else {
    command << SANull();
  }
}

class Listing {
 public:
  Listing(const Options& options, Terminal& terminal)
      : options_(options), terminal_(terminal), zone_(FindZone(options.common.zone)) {}

  int Run() {
    const Time from = options_.from.empty() ? Time() : ReadTimeArgument("--from", options_.from, *zone_);
    const Time to = ReadTimeArgument("--to", options_.to.empty() ? "now" : options_.to, *zone_);
    if (to < from) throw Refusal("--to lies before --from");
    Server server(options_.common.server);
    server.RequireTable("alarm");
    const auto bind = [&](SACommand& command) {
      command << static_cast<long long>(from.time_since_epoch().count())
              << static_cast<long long>(to.time_since_epoch().count())
              << SAString(sys::FromUtf8(options_.tag));
      for (const auto& code : {options_.status, options_.type, options_.level, options_.area})
        Bind(command, code);
      command << options_.open << static_cast<long long>(options_.limit);
    };
    server.Query(kAlarms, bind, [&](SACommand& row) { options_.common.json ? AddJson(row) : AddRow(row); });
    options_.common.json ? terminal_.Line(alarms_.dump(1)) : Print();
    return kDone;
  }

 private:
  static Time TimeOf(SACommand& row, int column) {
    return Time(std::chrono::milliseconds(row.Field(column).asInt64()));
  }

  void AddRow(SACommand& row) {
    const bool open = row.Field(10).isNull();
    table_.AddRow({FormatTime(TimeOf(row, 1), *zone_), Text(row.Field(2)),
                   FormatValue(row.Field(3).asDouble()), Text(row.Field(5)), Text(row.Field(6)),
                   Text(row.Field(7)), Text(row.Field(8)),
                   open ? "open" : FormatTime(TimeOf(row, 10), *zone_), OneLine(Text(row.Field(4)))});
    ++rows_;
  }

  void AddJson(SACommand& row) {
    alarms_.push_back({{"time", FormatUtc(TimeOf(row, 1))},
                       {"tag", Text(row.Field(2))},
                       {"value", row.Field(3).asDouble()},
                       {"label", Text(row.Field(4))},
                       {"status", row.Field(5).asLong()},
                       {"type", row.Field(6).asLong()},
                       {"level", row.Field(7).asLong()},
                       {"zone", row.Field(8).asLong()},
                       {"occurred", FormatUtc(TimeOf(row, 9))},
                       {"cleared", row.Field(10).isNull() ? nlohmann::json()
                                                          : nlohmann::json(FormatUtc(TimeOf(row, 10)))}});
  }

  void Print() {
    if (rows_ == 0) {
      terminal_.Line("no alarms match");
      return;
    }
    table_.Print(terminal_);
    terminal_.Line(' ' + Count(rows_, "state change") + ", newest first, times in " + zone_->name() +
                   (rows_ == options_.limit ? "; more may match (--limit)" : ""));
  }

  const Options& options_;
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
  auto options = std::make_shared<Options>();
  CLI::App* app = program.add_subcommand("alarms", "List alarm state changes, newest first");
  app->add_option("--from", options->from, "From this time on: 2026-11-21, \"2026-11-21 20:40\", 24h, 7d")
      ->option_text("TIME");
  app->add_option("--to", options->to, "Up to this time [now]")->option_text("TIME");
  app->add_option("--tag", options->tag, "Tags whose names begin so")->option_text("PREFIX");
  app->add_option("--status", options->status, "Of this status")
      ->option_text("0..3")
      ->check(CLI::Range(0, 3));
  app->add_option("--type", options->type, "Of this type")->option_text("0..12")->check(CLI::Range(0, 12));
  app->add_option("--level", options->level, "Of this level")->option_text("0..15")->check(CLI::Range(0, 15));
  app->add_option("--alarm-zone", options->area, "Of this alarm zone")
      ->option_text("CODE")
      ->check(CLI::Range(0, 32767));
  app->add_flag("--open", options->open, "Only those that have not cleared");
  app->add_option("--limit", options->limit, "Most rows [100]")
      ->option_text("ROWS")
      ->check(CLI::Range(1, 1000000000));
  AddCommonOptions(*app, options->common, true);
  SetExamples(*app,
              "  historian alarms --from 24h\n"
              "  historian alarms --tag PUMP --level 3 --open --zone Europe/Berlin\n"
              "  historian alarms --from 2026-11-01 --to 2026-12-01 --limit 10000 --json");
  return {app, [options](Terminal& terminal) { return Listing(*options, terminal).Run(); }};
}

}  // namespace historian::command
