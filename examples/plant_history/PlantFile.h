#pragma once

// A CSV file of plant measurements: a header row that names the tags, behind the time in the first column;
// then one row per time with a number for each tag, or nothing where a tag has no value.

#include <cstdint>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Csv.h"

namespace plant {

// What is wrong with a file, in one line that names the file, the line and the column.
struct FileError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct PlantRow {
  std::int64_t time_ms = 0;
  std::vector<double> values;  // one per tag; DBL_MAX: the tag has no value
  std::size_t line = 0;        // in the file
};

// Reads a file from its beginning to its end, holding one row at a time. Everything wrong with it is a
// FileError. Times without a zone are of the zone that is set when they are read.
class PlantFile {
 public:
  explicit PlantFile(const std::string& path);
  PlantFile(const PlantFile&) = delete;
  PlantFile& operator=(const PlantFile&) = delete;

  const std::string& path() const { return path_; }
  const std::vector<std::string>& tags() const { return tags_; }
  std::uint64_t bytes() const { return bytes_; }  // the file's size
  std::uint64_t bytes_read() const { return reader_->bytes(); }

  // Reads the next row; false after the last one.
  bool ReadRow(PlantRow& row);
  // Reads up to so many rows; none after the last one.
  std::vector<PlantRow> ReadRows(std::size_t most);

 private:
  void ReadHeader();
  bool ReadCells();
  std::int64_t ReadTime();
  double ReadValue(std::size_t tag) const;
  void CheckTagName(std::size_t column) const;
  [[noreturn]] void Fail(std::size_t line, std::size_t column, const std::string& what) const;

  std::string path_;
  std::uint64_t bytes_ = 0;
  std::ifstream in_;
  std::optional<CsvReader> reader_;
  std::vector<std::string> tags_;
  std::vector<std::string> cells_;
  std::optional<std::int64_t> previous_ms_;
};

}  // namespace plant
