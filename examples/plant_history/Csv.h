#pragma once

#include <cstdint>
#include <istream>
#include <stdexcept>
#include <string>
#include <vector>

namespace plant {

// A file that is not as it should be: what is wrong, on which line (from 1) and in which cell of the row
// (from 1; 0: not in any one cell).
struct CsvError : std::runtime_error {
  CsvError(const std::string& what, std::size_t line_, std::size_t column_)
      : std::runtime_error(what), line(line_), column(column_) {}
  std::size_t line;
  std::size_t column;
};

// Reads comma-separated values row by row. Cells may be quoted, then they may hold commas, line ends and
// doubled quotes; lines end in LF or CR LF; a byte order mark before the first is skipped.
class CsvReader {
 public:
  explicit CsvReader(std::istream& in);

  // Reads the next row into the cells; false after the last one.
  bool ReadRow(std::vector<std::string>& cells);

  std::size_t line() const { return row_line_; }       // on which the row read last begins
  std::uint64_t bytes() const { return bytes_read_; }  // read so far

 private:
  enum class End { Cell, Row };

  int Next();
  int Peek() const { return in_.sgetc(); }
  End ReadCell(std::string& cell);
  End ReadQuotedCell(std::string& cell);
  End EndOfQuotedCell();
  void Append(std::string& cell, int c);
  [[noreturn]] void Fail(const std::string& what) const;

  std::streambuf& in_;
  std::uint64_t bytes_read_ = 0;
  std::size_t line_ = 1;
  std::size_t row_line_ = 0;
  std::size_t cell_line_ = 1;
  std::size_t column_ = 0;
};

}  // namespace plant
