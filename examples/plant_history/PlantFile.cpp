#include "PlantFile.h"

#include <algorithm>
#include <cerrno>
#include <cfloat>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <unordered_set>

#include "Text.h"
#include "Time.h"

namespace plant {
namespace {

constexpr std::size_t kLongestQuote = 60;

std::string Quote(const std::string& text) { return '"' + OneLine(text, kLongestQuote) + '"'; }

std::string CountCells(std::size_t count) { return FormatCount(count) + (count == 1 ? " cell" : " cells"); }

}  // namespace

PlantFile::PlantFile(const std::string& path) : path_(path) {
  std::error_code error;
  const std::filesystem::path file = PathOf(path);
  const auto status = std::filesystem::status(file, error);
  if (!std::filesystem::exists(status)) throw FileError(OneLine(path) + ": there is no such file");
  if (!std::filesystem::is_regular_file(status)) throw FileError(OneLine(path) + ": is not a file of data");
  in_.open(file, std::ios::binary);
  if (!in_) throw FileError(OneLine(path) + ": cannot be read: " + std::strerror(errno));
  bytes_ = std::filesystem::file_size(file);
  reader_.emplace(in_);
  ReadHeader();
}

void PlantFile::ReadHeader() {
  if (!ReadCells()) Fail(1, 0, "the file is empty, where a header row should name the tags");
  if (cells_.size() < 2) Fail(1, 0, "the header row names no tag, only the column of the time");
  std::unordered_set<std::string> seen;
  for (std::size_t i = 1; i < cells_.size(); ++i) {
    CheckTagName(i);
    if (!seen.insert(cells_[i]).second)
      Fail(1, i + 1, "the tag " + Quote(cells_[i]) + " has a column already");
  }
  tags_.assign(cells_.begin() + 1, cells_.end());
}

// Tag names stand between single quotes in the query that reads them back, so they cannot hold one.
void PlantFile::CheckTagName(std::size_t column) const {
  const std::string& name = cells_[column];
  if (name.find_first_not_of(" \t") == name.npos) Fail(1, column + 1, "the tag has no name");
  if (!IsUtf8(name)) Fail(1, column + 1, "the tag name is not UTF-8");
  if (HasControlCharacter(name)) Fail(1, column + 1, "the tag name holds a control character");
  if (name.find('\'') != name.npos)
    Fail(1, column + 1, "the tag name " + Quote(name) + " holds a single quote");
}

bool PlantFile::ReadCells() {
  try {
    return reader_->ReadRow(cells_);
  } catch (const CsvError& error) {
    Fail(error.line, error.column, error.what());
  }
}

bool PlantFile::ReadRow(PlantRow& row) {
  if (!ReadCells()) return false;
  row.line = reader_->line();
  if (cells_.size() != tags_.size() + 1) {
    Fail(row.line, std::min(cells_.size(), tags_.size() + 1) + 1,
         "the row has " + CountCells(cells_.size()) + ", the header row " + FormatCount(tags_.size() + 1));
  }
  row.time_ms = ReadTime();
  row.values.clear();
  for (std::size_t tag = 0; tag < tags_.size(); ++tag) row.values.push_back(ReadValue(tag));
  return true;
}

std::vector<PlantRow> PlantFile::ReadRows(std::size_t most) {
  std::vector<PlantRow> rows;
  for (PlantRow row; rows.size() < most && ReadRow(row);) rows.push_back(row);
  return rows;
}

std::int64_t PlantFile::ReadTime() {
  try {
    previous_ms_ = ParseTime(cells_[0], previous_ms_);
    return *previous_ms_;
  } catch (const TimeError& error) {
    Fail(reader_->line(), 1, Quote(cells_[0]) + ' ' + error.what());
  }
}

double PlantFile::ReadValue(std::size_t tag) const {
  const std::string& cell = cells_[tag + 1];
  if (cell.empty()) return DBL_MAX;
  double value = 0;
  const auto [end, error] = std::from_chars(cell.data(), cell.data() + cell.size(), value);
  if (end != cell.data() + cell.size() || error == std::errc::invalid_argument) {
    Fail(reader_->line(), tag + 2, Quote(cell) + " is not a number");
  }
  if (error != std::errc()) Fail(reader_->line(), tag + 2, Quote(cell) + " is outside the range of a double");
  return value;
}

void PlantFile::Fail(std::size_t line, std::size_t column, const std::string& what) const {
  std::string where = OneLine(path_) + ": line " + std::to_string(line);
  if (column != 0) where += ", column " + std::to_string(column);
  if (column == 1 && !tags_.empty()) where += " (time)";
  if (column >= 2 && column <= tags_.size() + 1) where += " (" + tags_[column - 2] + ')';
  throw FileError(where + ": " + what);
}

}  // namespace plant
