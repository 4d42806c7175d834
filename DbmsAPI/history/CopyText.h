#pragma once

// The text that COPY takes for samples of tag history, apart from the sending.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "DbmsAPI/HistoryTypes.h"

// Whether a sample can be stored: it has a time of 1 ms or later, a tag name, and a finite value.
inline bool IsStorable(const LogSample& sample) {
  return sample.timeMs >= 1 && !sample.tagName.empty() && std::isfinite(sample.value);
}

// A tag name in UTF-8 with what COPY reserves escaped: tab, line feed, carriage return, backslash.
std::string CopyName(const std::wstring& tagName);

// Writes lines at the end of a text: seconds with three decimals, tab, name, tab, value with ten significant
// digits or \N for DBL_MAX, line feed. They are collected in a block that stays in the processor's cache and
// goes over to the text when it is full: growing the text for every piece of a line takes longer than making
// the piece.
class CopyLines {
 public:
  static constexpr std::size_t kSecondsRoom = 24;  // the seconds of any time, a full stop

  explicit CopyLines(std::string& text);

  // The time must be 1 ms or later.
  void Append(std::int64_t timeMs, const std::string& copyName, double value);

  // Bytes in the text and in the block.
  std::size_t size() const { return text_.size() + static_cast<std::size_t>(used_ - block_.get()); }

  // Moves everything into the text.
  void Finish();

 private:
  char* WriteTime(char* at, std::int64_t timeMs);
  void MakeRoom(std::size_t bytes);

  std::string& text_;
  std::unique_ptr<char[]> block_;
  char* used_;  // up to here
  char* end_;

  std::int64_t seconds_ = -1;  // of the last line, and their text
  char secondsText_[kSecondsRoom] = {};
  std::ptrdiff_t secondsLength_ = 0;
};
