// historian import: loads files of samples. Every file is read completely before anything is stored.
#include <algorithm>
#include <nlohmann/json.hpp>

#include "Failure.h"
#include "Import.h"
#include "Retention.h"
#include "Subcommand.h"
#include "Text.h"

namespace historian::command {
namespace {

constexpr std::size_t kBadRowsListed = 20;

// Refuses to load samples that the server's retention would drop again.
void CheckRetention(Server& server, const ImportOptions& options, Time oldest) {
  if (options.allow_drop) return;
  const auto days = RetentionDays(server);
  if (!days) return;
  const auto age = std::chrono::duration<double>(std::chrono::system_clock::now() - oldest).count() / 86400;
  if (age < *days) return;
  throw Refusal("the data begins on " + FormatUtc(oldest).substr(0, 10) +
                ", and the server drops samples older than " +
                Count(static_cast<std::uint64_t>(*days), "day") + "; keep them (historian init --retention " +
                std::to_string(static_cast<int>(age) + 2) +
                ", or 0 for good), or load them all the same (--allow-drop)");
}

std::string SourceOf(const SampleFile& file, const Zone& zone) {
  const Layout& layout = file.layout();
  std::string how = std::string(NameOf(layout.shape)) + ' ' + NameOf(layout.time_format) + ' ' + zone.name();
  for (const std::string& name : layout.names) how += '\n' + name;
  return file.name() + " (content " + std::to_string(file.content_hash()) + ", read as " +
         std::to_string(HashOf(how)) + ')';
}

nlohmann::json Describe(const Plan& plan, const Zone& zone) {
  nlohmann::json bad = nlohmann::json::array();
  for (const BadRow& row : plan.bad) {
    bad.push_back({{"line", row.line}, {"column", row.column}, {"problem", row.problem}});
  }
  const Layout& layout = plan.file->layout();
  return {{"file", plan.file->name()},
          {"layout", NameOf(layout.shape)},
          {"encoding", NameOf(layout.encoding)},
          {"delimiter", NameOfDelimiter(layout.delimiter)},
          {"decimal", layout.decimal == ',' ? "comma" : "point"},
          {"time_format", NameOf(layout.time_format)},
          {"zone", zone.name()},
          {"remarks", layout.remarks},
          {"tags", plan.tags.size()},
          {"rows", plan.rows},
          {"samples", plan.samples},
          {"without_value", plan.without_value},
          {"out_of_order", plan.out_of_order},
          {"first", FormatUtc(plan.first)},
          {"last", FormatUtc(plan.last)},
          {"bad_rows", plan.bad_count},
          {"bad", bad}};
}

std::string NamesOf(const std::set<std::string>& tags) {
  std::string names;
  for (const std::string& tag : tags) {
    if (names.size() > 150) return names + ", ...";
    names += (names.empty() ? "" : ", ") + tag;
  }
  return names;
}

void Print(const Plan& plan, const Zone& zone, Terminal& terminal) {
  const Layout& layout = plan.file->layout();
  std::string shape = NameOf(layout.shape);
  if (layout.shape != Layout::Shape::JsonLines) {
    shape += ", separated by " + NameOfDelimiter(layout.delimiter) + ", decimal " +
             (layout.decimal == ',' ? "comma" : "point");
  }
  terminal.Fact("file", plan.file->name() + " (" + FormatBytes(plan.file->size()) + ", " +
                            NameOf(layout.encoding) + ")");
  terminal.Fact("layout", shape);
  for (const std::string& remark : layout.remarks) terminal.Fact("", remark);
  terminal.Fact("times", NameOf(layout.time_format) + "; those that name no zone are read in " + zone.name() +
                             " (--zone)");
  terminal.Fact("", "from " + FormatTime(plan.first, zone) + " to " + FormatTime(plan.last, zone) +
                        (plan.out_of_order != 0
                             ? "; " + Count(plan.out_of_order, "row") + " earlier than the one before"
                             : ""));
  terminal.Fact("tags", FormatCount(plan.tags.size()) + ": " + NamesOf(plan.tags));
  terminal.Fact("samples", FormatCount(plan.samples) + " in " + Count(plan.rows, "row") +
                               (plan.without_value != 0
                                    ? ", " + FormatCount(plan.without_value) + " of them without a value"
                                    : ""));
  if (plan.bad_count == 0) return;
  terminal.Fact("bad rows", FormatCount(plan.bad_count) +
                                (plan.bad_count > plan.bad.size() ? ", the first of them:" : ":"));
  for (const BadRow& row : plan.bad) terminal.Fact("", row.Describe(plan.file->name()));
}

class Import {
 public:
  Import(const ImportOptions& options, Terminal& terminal)
      : options_(options), terminal_(terminal), zone_(FindZone(options.common.zone)) {}

  int Run() {
    for (const std::string& path : options_.files) plans_.push_back(Understand(path));
    if (!options_.common.json) {
      for (const Plan& plan : plans_) Print(plan, *zone_, terminal_);
    }
    if (!options_.dry_run) Store();
    if (options_.common.json) PrintJson();
    const auto differs = [](const Plan& plan) {
      return plan.outcome && plan.outcome->differing.value_or(0) != 0;
    };
    return std::any_of(plans_.begin(), plans_.end(), differs) ? kFailed : kDone;
  }

 private:
  Plan Understand(const std::string& path) {
    Plan plan;
    std::string file = path, name = path;
    if (path == "-") {
      plan.input = std::make_unique<SpooledInput>();
      file = plan.input->path();
      name = "standard input";
    }
    plan.file = std::make_unique<SampleFile>(file, name, options_.file, *zone_);
    Progress progress(terminal_, "reading", "samples");
    std::vector<LogSample> samples;
    BadRow bad;
    while (true) {
      samples.clear();
      const auto result = plan.file->ReadRow(samples, bad);
      if (result == SampleFile::Result::End) break;
      if (result == SampleFile::Result::Bad) {
        if (plan.bad_count++ < kBadRowsListed) plan.bad.push_back(bad);
        continue;
      }
      plan.Add(samples);
      if (plan.rows % 1024 == 0) {
        ThrowIfInterrupted();
        progress.Show(plan.file->share(), plan.samples);
      }
    }
    Judge(plan);
    plan.source = SourceOf(*plan.file, *zone_);
    return plan;
  }

  void Judge(const Plan& plan) const {
    if (plan.bad_count != 0 && !options_.skip_bad) {
      const std::string more =
          plan.bad_count == 1 ? "" : "; and " + Count(plan.bad_count - 1, "bad row") + " more";
      throw Refusal(plan.bad[0].Describe(plan.file->name()) + more +
                    "; nothing is stored (--skip-bad leaves bad rows out)");
    }
    if (plan.samples == 0) throw Refusal(OneLine(plan.file->name()) + ": holds no sample");
  }

  void Store() {
    Server server(options_.common.server);
    server.RequireTable("datalog");
    Time oldest = plans_[0].first;
    for (const Plan& plan : plans_) oldest = std::min(oldest, plan.first);
    CheckRetention(server, options_, oldest);
    for (Plan& plan : plans_) {
      plan.outcome = Load(server, plan, options_, terminal_);
      if (options_.verify) plan.outcome->differing = CountDiffering(server, plan, terminal_);
      if (!options_.common.json) PrintOutcome(plan);
    }
  }

  void PrintOutcome(const Plan& plan) {
    const Outcome& outcome = *plan.outcome;
    const double rate = outcome.seconds > 0 ? static_cast<double>(plan.samples) / outcome.seconds : 0;
    std::string stored = FormatCount(outcome.stored) + " samples";
    if (outcome.duplicates != 0) stored += ", " + FormatCount(outcome.duplicates) + " were stored already";
    if (outcome.loaded_before != 0)
      stored += ", " + FormatCount(outcome.loaded_before) + " by the import that this one continues";
    terminal_.Fact("stored", stored + ", in " + FormatDuration(outcome.seconds) + " (" +
                                 FormatCount(static_cast<std::uint64_t>(rate)) + "/s)");
    if (!outcome.differing) return;
    terminal_.Fact("verified",
                   *outcome.differing == 0
                       ? "every sample is in the database as in the file, to ten significant digits"
                       : Count(*outcome.differing, "sample") + " of the file differ from the database");
  }

  void PrintJson() {
    nlohmann::json files = nlohmann::json::array();
    for (const Plan& plan : plans_) {
      nlohmann::json file = Describe(plan, *zone_);
      if (plan.outcome) {
        file["stored"] = plan.outcome->stored;
        file["duplicates"] = plan.outcome->duplicates;
        file["loaded_before"] = plan.outcome->loaded_before;
        file["seconds"] = plan.outcome->seconds;
        if (plan.outcome->differing) file["differing"] = *plan.outcome->differing;
      }
      files.push_back(std::move(file));
    }
    terminal_.Line(nlohmann::json{{"dry_run", options_.dry_run}, {"files", files}}.dump(1));
  }

  const ImportOptions& options_;
  Terminal& terminal_;
  std::unique_ptr<Zone> zone_;
  std::vector<Plan> plans_;
};

}  // namespace

int RunImport(const ImportOptions& options, Terminal& terminal) { return Import(options, terminal).Run(); }

}  // namespace historian::command
