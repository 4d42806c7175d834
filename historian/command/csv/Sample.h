#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Layout.h"

namespace historian::command {

// The first rows of a file as one delimiter divides them, and which of them hold a time where.
class Sample {
 public:
  struct Row {
    std::size_t line = 0;
    std::vector<std::string> cells;
  };

  Sample(TextSource& text, char delimiter, const FileOptions& options);

  char delimiter() const { return delimiter_; }
  const std::vector<Row>& rows() const { return rows_; }
  std::size_t width() const { return width_; }  // cells of most rows that hold a time
  std::size_t time_column() const { return time_column_; }
  bool has_clock() const { return has_clock_; }  // the column after the date's is the time of day
  // Rows of the usual width with a time: the more, the more likely is the delimiter.
  std::size_t timed() const { return timed_; }
  bool IsTimed(const Row& row) const { return HoldsTime(row, time_column_, has_clock_); }
  // Whether the row calls the column of the time by a usual name.
  bool NamesTime(const Row& row) const;
  std::string TimeText(const Row& row) const;
  // A number in the place of a time that may be a day of a spreadsheet; empty when there is none.
  std::string ExcelTime() const;
  // Before any row with a time and of its width, with two cells filled at least: the header row, and perhaps
  // units.
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

// The number of the column of that name (or number from 1) among names; nothing when there is none.
std::optional<std::size_t> FindColumn(const std::vector<std::string>& names, const std::string& wanted);

}  // namespace historian::command
