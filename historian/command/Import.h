#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Progress.h"
#include "Subcommand.h"
#include "csv/SampleFile.h"

namespace historian::command {

struct ImportOptions {
  CommonOptions common;
  std::vector<std::string> files;
  FileOptions file;
  bool dry_run = false;
  bool skip_bad = false;
  bool allow_drop = false;
  bool verify = false;
  int connections = 1;
};

// What was done with the samples of a file.
struct Outcome {
  std::uint64_t stored = 0;
  std::uint64_t duplicates = 0;     // stored before, or twice in the file
  std::uint64_t loaded_before = 0;  // by an interrupted import of the same file
  double seconds = 0;
  std::optional<std::uint64_t> differing;  // if compared: samples of the file that are missing from the store
                                           // or have another value there
};

// What was found out about a file.
struct Plan {
  std::unique_ptr<SpooledInput> input;
  std::unique_ptr<SampleFile> file;
  std::string source;  // identifies the file's content and how it was read, so that an interrupted import can
                       // continue
  std::uint64_t rows = 0, samples = 0, without_value = 0, out_of_order = 0, bad_count = 0;
  Time first = Time::max(), last = Time::min();
  std::set<std::string> tags;
  std::vector<BadRow> bad;  // the first ones
  std::optional<Outcome> outcome;

  // Adds the samples of a row.
  void Add(const std::vector<LogSample>& row);

 private:
  std::set<std::wstring> seen_;
  Time previous_ = Time::min();
};

// Stores the samples of a file; progress goes to the terminal.
Outcome Load(Server& server, Plan& plan, const ImportOptions& options, Terminal& terminal);

// Compares the samples of a file with what is stored: how many are missing or have another value.
std::uint64_t CountDiffering(Server& server, Plan& plan, Terminal& terminal);

int RunImport(const ImportOptions& options, Terminal& terminal);

}  // namespace historian::command
