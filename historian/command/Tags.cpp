// historian tags: lists the tags.
#include <nlohmann/json.hpp>

#include "Failure.h"
#include "Subcommand.h"
#include "Table.h"
#include "Text.h"
#include "csv/Times.h"
#include "historian/Trend.h"

namespace historian::command {
namespace {

struct TagsOptions {
  CommonOptions common;
  std::string prefix;
  std::string stopped_after = "2h";
  bool count = false;
  bool stopped = false;
};

// Samples per second, if they were counted and there is more than one.
std::optional<double> RateOf(const TagInfo& tag) {
  const auto seconds = std::chrono::duration<double>(tag.last - tag.first).count();
  if (!tag.samples || *tag.samples < 2 || seconds <= 0) return {};
  return static_cast<double>(*tag.samples - 1) / seconds;
}

nlohmann::json ToJson(const TagInfo& tag, bool stopped) {
  const auto rate = RateOf(tag);
  return {{"tag", tag.name},
          {"first", FormatUtc(tag.first)},
          {"last", FormatUtc(tag.last)},
          {"samples", tag.samples ? nlohmann::json(*tag.samples) : nlohmann::json()},
          {"per_second", rate ? nlohmann::json(*rate) : nlohmann::json()},
          {"stopped", stopped}};
}

// The columns for numbers of samples appear only if samples were counted.
Table EmptyTable(bool counted) {
  using enum Table::Align;
  std::vector<Table::Column> columns = {{"tag", Left}, {"first sample", Left}, {"last sample", Left}};
  if (counted) columns.insert(columns.end(), {{"samples"}, {"per second"}});
  columns.push_back({"", Left});
  return Table(columns);
}

void AddRow(Table& table, const TagInfo& tag, bool counted, bool stopped, const Zone& zone) {
  std::vector<std::string> cells = {tag.name, FormatTime(tag.first, zone), FormatTime(tag.last, zone)};
  if (counted) {
    const auto rate = RateOf(tag);
    cells.push_back(tag.samples ? FormatCount(static_cast<std::uint64_t>(*tag.samples)) : "");
    cells.push_back(rate ? FormatValue(*rate) : "");
  }
  cells.push_back(stopped ? "stopped" : "");
  table.AddRow(std::move(cells));
}

int Run(const TagsOptions& options, Terminal& terminal) {
  const auto zone = FindZone(options.common.zone);
  Server server(options.common.server);
  server.RequireTable("datalog");
  std::vector<TagInfo> tags = ReadTags(server.dbms(), options.count);
  Time newest{};  // the epoch when there are no tags
  for (const TagInfo& tag : tags) newest = std::max(newest, tag.last);
  const Time limit = ReadTimeArgument("--stopped-after", options.stopped_after, *zone, newest);
  std::erase_if(tags, [&](const TagInfo& tag) {
    return !tag.name.starts_with(options.prefix) || (options.stopped && tag.last >= limit);
  });

  std::size_t stopped = 0;
  nlohmann::json list = nlohmann::json::array();
  Table table = EmptyTable(options.count);
  for (const TagInfo& tag : tags) {
    const bool is_stopped = tag.last < limit;
    stopped += is_stopped;
    list.push_back(ToJson(tag, is_stopped));
    AddRow(table, tag, options.count, is_stopped, *zone);
  }
  if (options.common.json) {
    terminal.Line(list.dump(1));
  } else if (tags.empty()) {
    terminal.Line("no tags");
  } else {
    table.Print(terminal);
    terminal.Line(
        ' ' + Count(tags.size(), "tag") + ", times in " + zone->name() +
        (stopped != 0 ? "; stopped: no sample for " + options.stopped_after + " before the newest of all tags"
                      : ""));
  }
  return kDone;
}

}  // namespace

Subcommand AddTags(CLI::App& program) {
  auto options = std::make_shared<TagsOptions>();
  CommandLine command(program, "tags", "List the tags with their first and last sample");
  command.Add("PREFIX", options->prefix, "Only tags whose names begin with this [all]");
  command.Add("--count", options->count, "Count the samples of each tag and give their rate; takes time");
  command.Add("--stopped", options->stopped, "Only tags that have stopped");
  command.Add("--stopped-after TIME", options->stopped_after,
              "A tag has stopped when it has no sample for this long while others have [2h]");
  AddCommonOptions(command, options->common, true);
  command.SetExamples(
      "  historian tags\n"
      "  historian tags BOILER. --count --zone Europe/Berlin\n"
      "  historian tags --stopped --stopped-after 1d --json");
  return {command.app(), [options](Terminal& terminal) { return Run(*options, terminal); }};
}

}  // namespace historian::command
