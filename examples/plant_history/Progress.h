#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "Terminal.h"

namespace plant {

// How far a step through the file has come; drawn in a terminal only.
class Progress {
 public:
  Progress(Terminal& terminal, std::string step, std::uint64_t bytes);
  ~Progress() { terminal_.ClearDrawing(); }

  void Show(std::uint64_t bytes_done, std::uint64_t rows, std::uint64_t samples);
  double Seconds() const;

 private:
  Terminal& terminal_;
  std::string step_;
  std::uint64_t bytes_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// A bar of so many cells, filled to a share of 0 to 1 in steps of an eighth of a cell.
std::string Bar(double share, std::size_t cells, const char* rest);

}  // namespace plant
