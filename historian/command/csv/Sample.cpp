#include "Sample.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <map>

#include "CsvReader.h"
#include "DateText.h"

namespace historian::command {
namespace {

constexpr std::size_t kSampleRows = 200;
constexpr std::size_t kMostTimeColumns = 8;  // the time is among the first columns
constexpr std::array<std::string_view, 11> kTimeNames = {"time",        "timestamp", "t_stamp", "timestring",
                                                         "date",        "datetime",  "zeit",    "datum",
                                                         "zeitstempel", "ts",        "epoch"};

std::string Lower(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return lower;
}

bool IsDecimal(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789.,") == text.npos;
}

}  // namespace

std::optional<std::size_t> FindColumn(const std::vector<std::string>& names, const std::string& wanted) {
  const auto found = std::find(names.begin(), names.end(), wanted);
  if (found != names.end()) return static_cast<std::size_t>(found - names.begin());
  std::size_t number = 0;
  const auto [end, error] = std::from_chars(wanted.data(), wanted.data() + wanted.size(), number);
  if (error != std::errc() || end != wanted.data() + wanted.size() || number < 1 || number > names.size())
    return {};
  return number - 1;
}

Sample::Sample(TextSource& text, char delimiter, const FileOptions& options)
    : options_(options), delimiter_(delimiter), utc_(FindZone("UTC")) {
  if (!options.time_format.empty()) format_.emplace(TimeFormatNamed(options.time_format), *utc_, true);
  text.Rewind();
  CsvReader reader(text, delimiter);
  std::vector<std::string_view> cells;
  while (rows_.size() < kSampleRows && reader.ReadRow(cells)) {
    if (reader.line() <= options.skip_lines) continue;
    Row row{reader.line(), {}};
    for (const std::string_view cell : cells) row.cells.emplace_back(cell);
    rows_.push_back(std::move(row));
  }
  FindTimeColumn();
}

void Sample::FindTimeColumn() {
  std::vector<std::size_t> columns;
  for (std::size_t i = 0; i < kMostTimeColumns; ++i) columns.push_back(i);
  if (!options_.time_column.empty()) {
    columns.clear();
    const std::vector<std::string>* names = &options_.columns;
    for (const Row& row : rows_) {
      if (!names->empty()) break;
      if (FindColumn(row.cells, options_.time_column)) names = &row.cells;
    }
    if (const auto column = FindColumn(*names, options_.time_column)) columns.push_back(*column);
  }
  // A date followed by a time of day could also be read as a time by itself, so such pairs are looked for
  // first.
  std::size_t most = 0;
  for (const bool clock : {true, false}) {
    for (const std::size_t column : columns) {
      const auto count = Count([&](const Row& row) { return HoldsTime(row, column, clock); });
      if (count <= most) continue;
      most = count;
      time_column_ = column;
      has_clock_ = clock;
    }
  }
  width_ = UsualWidth();
  timed_ = Count([&](const Row& row) { return row.cells.size() == width_ && width_ >= 2 && IsTimed(row); });
}

std::size_t Sample::Count(const auto& condition) const {
  return static_cast<std::size_t>(std::count_if(rows_.begin(), rows_.end(), condition));
}

std::size_t Sample::UsualWidth() const {
  std::map<std::size_t, std::size_t> counts;
  for (const Row& row : rows_) {
    if (IsTimed(row)) ++counts[row.cells.size()];
  }
  const auto most = std::max_element(counts.begin(), counts.end(),
                                     [](const auto& a, const auto& b) { return a.second < b.second; });
  return most == counts.end() ? 0 : most->first;
}

// The width without columns at the end that are empty in every row; separators at the end of rows make such
// columns.
std::size_t Sample::FilledWidth() const {
  std::size_t filled = 0;
  for (const Row& row : rows_) {
    if (!IsTimed(row) || row.cells.size() != width_) continue;
    for (std::size_t i = filled; i < width_; ++i) {
      if (!row.cells[i].empty()) filled = i + 1;
    }
  }
  return filled;
}

// Any column of numbers might hold times. Only the first column is taken for one, and a column with the name
// of one.
bool Sample::MayHoldNumericTime(std::size_t column) const {
  if (column == 0 || !options_.time_column.empty() || !options_.time_format.empty()) return true;
  return !rows_.empty() && column < rows_[0].cells.size() &&
         std::find(kTimeNames.begin(), kTimeNames.end(), Lower(rows_[0].cells[column])) != kTimeNames.end();
}

bool Sample::HoldsTime(const Row& row, std::size_t column, bool clock) const {
  if (column + (clock ? 1 : 0) >= row.cells.size()) return false;
  const std::string& cell = row.cells[column];
  if (clock && !IsClock(row.cells[column + 1])) return false;
  if (format_) {
    Time time;
    std::string problem;
    return format_->Read(clock ? cell + ' ' + row.cells[column + 1] : cell, time, problem);
  }
  if (clock) return IsDate(cell);
  return IsTime(cell) && (!IsDecimal(cell) || MayHoldNumericTime(column) || IsDate(cell));
}

bool Sample::NamesTime(const Row& row) const {
  return time_column_ < row.cells.size() &&
         std::find(kTimeNames.begin(), kTimeNames.end(), Lower(row.cells[time_column_])) != kTimeNames.end();
}

std::string Sample::TimeText(const Row& row) const {
  return has_clock_ ? row.cells[time_column_] + ' ' + row.cells[time_column_ + 1] : row.cells[time_column_];
}

std::string Sample::ExcelTime() const {
  for (const Row& row : rows_) {
    for (std::size_t i = 0; i < row.cells.size(); ++i) {
      if (MayHoldNumericTime(i) && MayBeExcel(row.cells[i])) return row.cells[i];
    }
  }
  return {};
}

std::vector<const Sample::Row*> Sample::HeaderRows() const {
  std::vector<const Row*> headers;
  for (const Row& row : rows_) {
    if (IsTimed(row)) break;
    const auto filled =
        std::count_if(row.cells.begin(), row.cells.end(), [](const auto& cell) { return !cell.empty(); });
    if (filled >= 2 && row.cells.size() >= FilledWidth() && row.cells.size() <= width_ + 1)
      headers.push_back(&row);
  }
  return headers;
}

}  // namespace historian::command
