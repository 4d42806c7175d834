#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Layout.h"

namespace historian::command {

// The first rows of a file, divided by one delimiter, and where they hold a time.
class Sample {
 public:
  struct Row {
    std::size_t line = 0;
    std::vector<std::string> cells;
  };

  Sample(TextSource& text, char delimiter, const FileOptions& options);

  char delimiter() const { return delimiter_; }
  const std::vector<Row>& rows() const { return rows_; }
  std::size_t width() const { return width_; }  // the most frequent number of cells in rows with a time
  std::size_t time_column() const { return time_column_; }
  bool has_clock() const { return has_clock_; }  // the column after the date holds the time of day
  // The number of rows of the usual width with a time: the more, the more likely the delimiter is right.
  std::size_t timed() const { return timed_; }
  bool IsTimed(const Row& row) const { return HoldsTime(row, time_column_, has_clock_); }
  // Whether the row has a usual name for the column of the time.
  bool NamesTime(const Row& row) const;
  std::string TimeText(const Row& row) const;
  // A number in place of a time that may be a spreadsheet's count of days; empty when there is none.
  std::string ExcelTime() const;
  // The rows before the first one with a time that have its width and at least two filled cells: the header
  // row, and perhaps units.
  std::vector<const Row*> HeaderRows() const;

 private:
  void FindTimeColumn();
  bool HoldsTime(const Row& row, std::size_t column, bool clock) const;
  std::size_t Count(const auto& condition) const;
  bool MayHoldNumericTime(std::size_t column) const;
  std::size_t UsualWidth() const;
  std::size_t FilledWidth() const;

  const FileOptions& options_;
  char delimiter_;
  std::unique_ptr<Zone> utc_;
  std::optional<TimeReader> format_;  // of the options
  std::vector<Row> rows_;
  std::size_t time_column_ = 0, width_ = 0, timed_ = 0;
  bool has_clock_ = false;
};

// The index of the column with that name, or with that number from 1; no value when there is none.
std::optional<std::size_t> FindColumn(const std::vector<std::string>& names, const std::string& wanted);

}  // namespace historian::command
