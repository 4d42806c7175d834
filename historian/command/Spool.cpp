// historian spool: shows what waits in the spool of a recorder, and brings it to the server.
#include <sqlite3.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "Failure.h"
#include "Progress.h"
#include "Subcommand.h"
#include "Table.h"
#include "Text.h"
#include "Zone.h"
#include "historian/Recorder.h"

namespace historian::command {
namespace {

struct SpoolOptions {
  CommonOptions common;
  std::string file;
  bool replay = false;
};

constexpr char kTotals[] = "select accepted, stored, duplicates, set_aside, dropped from spool";
constexpr char kWaiting[] =
    "select coalesce(sum(records), 0), coalesce(sum(length(data)), 0), coalesce(min(arrived), 0) from "
    "(select records, data, arrived from sample_block union all select records, data, arrived from alarm_block "
    "union all select records, data, arrived from log_block)";
constexpr char kSetAside[] = "select at, sqlstate, reason, record from set_aside order by id limit 100";

// Reads a spool while a recorder may be writing it.
class SpoolReader {
 public:
  explicit SpoolReader(const std::string& path) : path_(path) {
    if (!std::filesystem::exists(PathOf(path))) throw Refusal(OneLine(path) + ": there is no such file");
    if (sqlite3_open_v2(path.c_str(), &file_, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) Fail();
  }
  ~SpoolReader() { sqlite3_close(file_); }
  SpoolReader(const SpoolReader&) = delete;
  SpoolReader& operator=(const SpoolReader&) = delete;

  void Query(const char* text, const std::function<void(sqlite3_stmt*)>& row) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(file_, text, -1, &statement, nullptr) != SQLITE_OK) Fail();
    int result = SQLITE_DONE;
    while ((result = sqlite3_step(statement)) == SQLITE_ROW) row(statement);
    sqlite3_finalize(statement);
    if (result != SQLITE_DONE) Fail();
  }

 private:
  [[noreturn]] void Fail() const {
    const std::string why = sqlite3_errmsg(file_);
    sqlite3_close(file_);
    throw Refusal(OneLine(path_) + ": is not the spool of a recorder: " + why);
  }

  std::string path_;
  sqlite3* file_ = nullptr;
};

std::string TextOf(sqlite3_stmt* row, int column) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(row, column));
  return text == nullptr ? "" : text;
}

struct Counts {
  std::int64_t accepted = 0, stored = 0, duplicates = 0, set_aside = 0, dropped = 0;
  std::int64_t waiting = 0, bytes = 0, oldest_ms = 0;
};

Counts Read(SpoolReader& spool) {
  Counts counts;
  spool.Query(kTotals, [&](sqlite3_stmt* row) {
    std::int64_t* const fields[] = {&counts.accepted, &counts.stored, &counts.duplicates, &counts.set_aside,
                                    &counts.dropped};
    for (int i = 0; i < 5; ++i) *fields[i] = sqlite3_column_int64(row, i);
  });
  spool.Query(kWaiting, [&](sqlite3_stmt* row) {
    std::int64_t* const fields[] = {&counts.waiting, &counts.bytes, &counts.oldest_ms};
    for (int i = 0; i < 3; ++i) *fields[i] = sqlite3_column_int64(row, i);
  });
  return counts;
}

// Brings everything to the server with a recorder of its own.
void Replay(const SpoolOptions& options, Terminal& terminal) {
  RecorderOptions recording;
  recording.spool = PathOf(options.file);
  Recorder recorder(OpenDbms(options.common.server, DbmsType::PostgreSQL), recording);
  const auto all = recorder.Report().waiting;
  Progress progress(terminal, "storing", "records");
  while (!recorder.WaitUntilStored(std::chrono::milliseconds(200))) {
    const RecorderReport report = recorder.Report();
    progress.Show(all == 0 ? 1 : static_cast<double>(all - report.waiting) / static_cast<double>(all),
                  static_cast<std::uint64_t>(all - report.waiting));
    const std::string waiting =
        Count(static_cast<std::uint64_t>(report.waiting), "record") + " still waiting in the spool";
    if (report.state == RecorderState::Refused ||
        (report.state == RecorderState::Waiting && !report.lastError.empty())) {
      throw Failure("cannot store, " + waiting + ": " + report.lastError);
    }
    try {
      ThrowIfInterrupted();
    } catch (const Interrupted&) {
      throw Interrupted("interrupted: " + waiting);
    }
  }
}

std::string CountText(std::int64_t count) { return FormatCount(static_cast<std::uint64_t>(count)); }

Time TimeOf(std::int64_t ms) { return Time(std::chrono::milliseconds(ms)); }

nlohmann::json ToJson(const Counts& counts) {
  return {{"accepted", counts.accepted},   {"stored", counts.stored},   {"duplicates", counts.duplicates},
          {"set_aside", counts.set_aside}, {"dropped", counts.dropped}, {"waiting", counts.waiting},
          {"waiting_bytes", counts.bytes}};
}

void Print(const Counts& counts, const Zone& zone, Terminal& terminal) {
  terminal.Fact("accepted", CountText(counts.accepted) + " records: " + CountText(counts.stored) +
                                " stored, " + CountText(counts.duplicates) + " duplicates, " +
                                CountText(counts.set_aside) + " set aside, " + CountText(counts.dropped) +
                                " dropped");
  terminal.Fact("waiting", counts.waiting == 0
                               ? "none"
                               : CountText(counts.waiting) + " records of " +
                                     FormatBytes(static_cast<std::uint64_t>(counts.bytes)) +
                                     ", the oldest since " + FormatTime(TimeOf(counts.oldest_ms), zone));
}

int Run(const SpoolOptions& options, Terminal& terminal) {
  const auto zone = FindZone(options.common.zone);
  SpoolReader spool(options.file);
  Read(spool);  // refuses a file that is not a spool, before a recorder turns it into one
  if (options.replay) Replay(options, terminal);
  const Counts counts = Read(spool);
  nlohmann::json json = ToJson(counts);
  json["records_set_aside"] = nlohmann::json::array();
  using enum Table::Align;
  Table table({{"set aside", Left}, {"SQLSTATE", Left}, {"record", Left}, {"reason", Left}}, 3);
  spool.Query(kSetAside, [&](sqlite3_stmt* row) {
    const Time at = TimeOf(sqlite3_column_int64(row, 0));
    json["records_set_aside"].push_back({{"at", FormatUtc(at)},
                                         {"sqlstate", TextOf(row, 1)},
                                         {"reason", TextOf(row, 2)},
                                         {"record", TextOf(row, 3)}});
    table.AddRow({FormatTime(at, *zone), TextOf(row, 1), TextOf(row, 3), TextOf(row, 2)});
  });
  if (options.common.json) {
    terminal.Line(json.dump(1));
    return kDone;
  }
  Print(counts, *zone, terminal);
  if (!table.empty()) table.Print(terminal);
  return kDone;
}

}  // namespace

Subcommand AddSpool(CLI::App& program) {
  auto options = std::make_shared<SpoolOptions>();
  CommandLine command(program, "spool", "Show what waits in a recorder's spool, and bring it to the server");
  command.Add("FILE", options->file, "The spool").Required();
  command.Add("--replay", options->replay, "Store what waits; the recorder must not be running");
  AddCommonOptions(command, options->common, true);
  command.SetExamples(
      "  historian spool plant.spool\n"
      "  historian spool plant.spool --replay --database plant\n"
      "  historian spool plant.spool --json");
  return {command.app(), [options](Terminal& terminal) { return Run(*options, terminal); }};
}

}  // namespace historian::command
