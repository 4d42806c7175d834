// historian export: writes samples as CSV or JSON lines; import makes the same rows of them.
#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>

#include "Failure.h"
#include "SampleRows.h"
#include "Subcommand.h"
#include "Text.h"
#include "csv/Times.h"

namespace historian::command {
namespace {

struct ExportOptions {
  CommonOptions common;
  std::vector<std::string> tags;
  std::string from, to;
  std::string format = "long";
  std::string output;
};

// :1 from, :2 to (epoch milliseconds, both included).
constexpr wchar_t kTags[] =
    L"select distinct tag_name from datalog "
    L"where time >= to_timestamp(:1 / 1000.0) and time <= to_timestamp(:2 / 1000.0) order by tag_name";

// Standard output, or a file that is renamed to its final name when it is complete.
class Output {
 public:
  explicit Output(const std::string& path) : path_(path) {
    if (path.empty() || path == "-") return;
    partial_ = PathOf(path + ".part");
    file_.open(partial_, std::ios::binary);
    if (!file_) throw Refusal(OneLine(path) + ".part: cannot be written");
  }
  ~Output() {
    std::error_code ignored;
    if (file_.is_open()) file_.close();
    if (!partial_.empty()) std::filesystem::remove(partial_, ignored);
  }
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  std::ostream& stream() { return partial_.empty() ? std::cout : file_; }
  void Finish() {
    if (!stream().flush())
      throw Failure("cannot write " + (partial_.empty() ? "standard output" : OneLine(path_)));
    if (partial_.empty()) return;
    file_.close();
    std::filesystem::rename(partial_, PathOf(path_));
    partial_.clear();
  }

 private:
  std::string path_;
  std::filesystem::path partial_;
  std::ofstream file_;
};

class Export {
 public:
  explicit Export(const ExportOptions& options)
      : options_(options), zone_(FindZone(options.common.zone)), server_(options.common.server) {
    from_ = options.from.empty() ? Time() : ReadTimeArgument("--from", options.from, *zone_);
    to_ = options.to.empty() ? Time(std::chrono::hours(24) * 365 * 300)
                             : ReadTimeArgument("--to", options.to, *zone_);
    if (to_ < from_) throw Refusal("--to lies before --from");
  }

  int Run() {
    server_.RequireTable("datalog");
    Output output(options_.output);
    const auto writer = MakeWriter(output.stream());
    std::uint64_t samples = 0;
    std::set<std::string> missing(options_.tags.begin(), options_.tags.end());
    ReadSamples(server_, options_.tags, from_, to_,
                [&](Microseconds time, const std::string& tag, const std::string& value) {
                  if (++samples % 4096 == 0) ThrowIfInterrupted();
                  if (!missing.empty()) missing.erase(tag);
                  writer->Add(time, tag, value);
                  if (!output.stream())
                    throw Failure("cannot write the samples: the disk is full or the reader has gone");
                });
    writer->End();
    output.Finish();
    std::cerr << Count(samples, "sample") << " exported" << NoneOf(missing) << std::endl;
    return kDone;
  }

 private:
  // Names the tags without a sample in the range, which may be misspelt.
  static std::string NoneOf(const std::set<std::string>& tags) {
    std::string names;
    for (const std::string& tag : tags) names += (names.empty() ? "; none of " : ", ") + OneLine(tag);
    return names;
  }

  std::unique_ptr<SampleWriter> MakeWriter(std::ostream& out) {
    if (options_.common.json || options_.format == "jsonl") return std::make_unique<JsonWriter>(out, *zone_);
    if (options_.format == "long") return std::make_unique<LongWriter>(out, *zone_);
    std::vector<std::string> tags = options_.tags;
    if (tags.empty()) {
      server_.Query(
          kTags,
          [&](SACommand& command) {
            command << static_cast<long long>(from_.time_since_epoch().count())
                    << static_cast<long long>(to_.time_since_epoch().count());
          },
          [&](SACommand& row) { tags.push_back(Text(row.Field(1))); });
    }
    return std::make_unique<WideWriter>(out, *zone_, tags);
  }

  const ExportOptions& options_;
  std::unique_ptr<Zone> zone_;
  Server server_;
  Time from_, to_;
};

}  // namespace

Subcommand AddExport(CLI::App& program) {
  auto options = std::make_shared<ExportOptions>();
  CommandLine command(program, "export", "Write samples as CSV or JSON lines");
  command.Add("TAG", options->tags, "Tags to export [all]");
  command.Add("--from TIME", options->from, "From this time on: 2026-11-21, \"2026-11-21 20:40\", 24h, 7d");
  command.Add("--to TIME", options->to, "Up to this time, included");
  command
      .Add(
          "--format FORMAT", options->format,
          "long: one row per sample; wide: one row per time, one column per tag; jsonl: one JSON object per sample [long]")
      .OneOf({"long", "wide", "jsonl"});
  command.Add("-o,--output FILE", options->output,
              "File to write [standard output]; it appears when it is complete");
  AddCommonOptions(command, options->common, true);
  command.SetExamples(
      "  historian export PUMP.SPEED --from 2026-11-21 --to 2026-11-22 -o day.csv\n"
      "  historian export --format wide --from 7d --zone Europe/Berlin > week.csv\n"
      "  historian export --json --from 1h | head");
  return {command.app(), [options](Terminal&) { return Export(*options).Run(); }};
}

}  // namespace historian::command
