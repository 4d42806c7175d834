#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "Terminal.h"

namespace historian::command {

// Shows the progress of a long step, with rate and remaining time; only in a terminal, at most ten times a
// second.
class Progress {
 public:
  // `noun` names what is counted: "rows".
  Progress(Terminal& terminal, std::string step, std::string noun);
  ~Progress() { terminal_.ClearDrawing(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // `share` is the part of the work that is done, 0 to 1; `count` the number of things.
  void Show(double share, std::uint64_t count);
  double Seconds() const;

 private:
  Terminal& terminal_;
  std::string step_;
  std::string noun_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  std::chrono::steady_clock::time_point drawn_{};
};

// A bar of so many cells, filled to a share of 0 to 1 in steps of an eighth of a cell.
std::string Bar(double share, std::size_t cells, const char* rest);

}  // namespace historian::command
