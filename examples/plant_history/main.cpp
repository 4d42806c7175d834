// Loads a CSV file of plant measurements into tag history, reads it back, compares every sample with the file
// and shows what each tag did. Then raises alarms where a tag is above its limit and reports the tags' hours,
// reads both back and compares.
#include <SQLAPI.h>

#include <chrono>
#include <csignal>
#include <iostream>

#include "Console.h"
#include "Interrupt.h"
#include "Progress.h"
#include "Stage.h"
#include "Table.h"
#include "Text.h"
#include "Time.h"
#include "Zone.h"

namespace plant {
namespace {

// The program is a play of acts; each finds on the stage what the ones before it left there.
struct Act {
  const char* name;
  void (*play)(Stage&);
};

constexpr Act kActs[] = {
    {"open the file", OpenFile},        {"connect", Connect},
    {"create tables", CreateTables},    {"load", Load},
    {"read back and compare", Compare}, {"show tags", ShowTags},
    {"oldest sample", ShowOldest},      {"raise alarms", RaiseAlarms},
    {"show alarms", ShowAlarms},        {"report hours", ReportHours},
    {"show hours", ShowHours},
};

enum ExitStatus { kDone = 0, kFailed = 1, kRefused = 2, kSignalled = 128 };

using Clock = std::chrono::steady_clock;

void ShowTimes(Stage& stage, const std::vector<double>& seconds) {
  constexpr std::size_t kBarCells = 24;
  using enum Table::Align;
  double longest = 0;
  for (const double time : seconds) longest = std::max(longest, time);
  Table table({{"step", Left}, {"time", Right}, {"", Left, true}}, 40);
  for (std::size_t i = 0; i < seconds.size(); ++i) {
    const double share = longest > 0 ? seconds[i] / longest : 0;
    table.AddRow({kActs[i].name, FormatDuration(seconds[i]), Bar(share, kBarCells, "")});
  }
  stage.terminal.Line();
  table.Print(stage.terminal);
}

void Play(Stage& stage) {
  std::vector<double> seconds;
  for (const Act& act : kActs) {
    ThrowIfInterrupted();
    const auto start = Clock::now();
    act.play(stage);
    seconds.push_back(std::chrono::duration<double>(Clock::now() - start).count());
  }
  ShowTimes(stage, seconds);
}

void Complain(const std::string& what) { std::cerr << "plant_history: " << OneLine(what, 500) << std::endl; }

// What of the file is in the database when the program ends before its last act.
std::string Remainder(const Stage& stage) {
  if (stage.loaded.rows == 0) return "";
  return " (the first " + FormatCount(stage.loaded.rows) + " rows are stored)";
}

int Run(Stage& stage) {
  try {
    SetZone(stage.options.zone);
    DeferInterrupts();
    Play(stage);
    return stage.mismatches == 0 && std::cout.flush() ? kDone : kFailed;
  } catch (const std::invalid_argument& zone) {
    Complain("there is no time zone \"" + std::string(zone.what()) + '"' + kZoneHint);
    return kRefused;
  } catch (const FileError& error) {
    stage.terminal.ClearDrawing();
    Complain(error.what() + Remainder(stage));
    return kRefused;
  } catch (const DatabaseError& error) {
    stage.terminal.ClearDrawing();
    Complain(error.what() + Remainder(stage));
  } catch (const SAException& error) {
    Complain(Narrow(static_cast<const wchar_t*>(error.ErrText())));
  } catch (const Interrupted& interrupted) {
    stage.terminal.ClearDrawing();
    Complain("interrupted" + Remainder(stage));
    return kSignalled + interrupted.signal;
  }
  return kFailed;
}

}  // namespace
}  // namespace plant

int main(int argc, char** argv) {
  using namespace plant;
  try {
    const Options options = ParseOptions(Arguments(argc, argv));
    if (options.help) {
      std::cout << Usage();
      return kDone;
    }
    Stage stage(options, Terminal::StandardOutput());
    return Run(stage);
  } catch (const UsageError& error) {
    Complain(error.what());
    return kRefused;
  }
}
