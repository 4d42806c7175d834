#pragma once

// What the acts of the program share, and the acts themselves. Each act stands in a file of its own; main.cpp
// lists them in order.

#include <DbmsAPI/Dbms.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "AlarmWatch.h"
#include "Hours.h"
#include "Options.h"
#include "Percentile.h"
#include "PlantFile.h"
#include "Statistics.h"
#include "Stretch.h"
#include "Terminal.h"

namespace plant {

// What has been taken from the file and given to the library.
struct Loaded {
  std::uint64_t rows = 0;
  std::uint64_t samples = 0;   // with or without a value
  std::uint64_t gaps = 0;      // of them, without
  std::uint64_t left_out = 0;  // which the library stores nothing for
  std::int64_t first_ms = 0;   // of the samples stored
  std::int64_t last_ms = 0;
};

struct Stage {
  Stage(const Options& options_, const Terminal& terminal_) : options(options_), terminal(terminal_) {}

  Options options;
  Terminal terminal;
  std::shared_ptr<Dbms> dbms;
  bool timescale = false;               // the extension is in the database
  std::vector<std::string> tags;        // in the order of the columns
  std::vector<std::wstring> tag_names;  // the same, as the library takes them
  Loaded loaded;
  OccupiedHours hours;                    // of what was read back
  std::vector<TagCourse> courses;         // per tag, of the same
  std::vector<Percentile99> percentiles;  // per tag, of the same
  std::vector<AlarmWatch> watches;        // per tag
  std::vector<HourSummary> summaries;     // per tag
  std::uint64_t mismatches = 0;           // of all that was written and read back
};

// The library or the server could not do what an act asked for.
struct DatabaseError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Ends the act when an operation did not succeed; `doing` says what was tried.
void Require(Stage& stage, bool succeeded, const std::string& doing);

// Ends the act when a file opened once more names other tags than it did.
void RequireSameTags(const Stage& stage, const PlantFile& file);

// Rows that are loaded and compared at a time: about ten thousand samples.
std::size_t RowsPerBatch(const Stage& stage);

// Whether the library stores a sample: it leaves out times before 1970 and values that are not finite.
bool IsStored(std::int64_t time_ms, double value);

void OpenFile(Stage& stage);      // OpenFile.cpp: what the file holds
void Connect(Stage& stage);       // Connect.cpp: server and extension
void CreateTables(Stage& stage);  // Connect.cpp: tables, and a record in the system log
void Load(Stage& stage);          // Load.cpp: the file into tag history
void Compare(Stage& stage);       // Compare.cpp: tag history against the file
void ShowTags(Stage& stage);      // ShowTags.cpp: a line per tag
void ShowOldest(Stage& stage);    // ShowTags.cpp: the oldest sample of tag history
void RaiseAlarms(Stage& stage);   // RaiseAlarms.cpp: alarms where a tag is above its limit
void ShowAlarms(Stage& stage);    // ShowAlarms.cpp: a line per tag
void ReportHours(Stage& stage);   // ReportHours.cpp: the hour report and its watermark
void ShowHours(Stage& stage);     // ShowHours.cpp: a line per tag

}  // namespace plant
