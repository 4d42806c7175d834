#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Encoding.h"

namespace historian::command {

// Reads delimited text row by row. Cells may be quoted; then they may hold delimiters, line ends and doubled
// quotes. Lines end in LF or CR LF. Memory does not grow with the file.
//
// Not a parser from a package, because no streaming one reports the line and the column of an error, which
// all messages of this program name.
class CsvReader {
 public:
  CsvReader(TextSource& text, char delimiter) : text_(text), delimiter_(delimiter) {}

  // Reads the next row; false after the last one. Skips blank lines and lines that begin with '#'. The cells
  // are valid until the next call; cells without quotes are trimmed. Throws a Refusal for a quote that is
  // never closed.
  bool ReadRow(std::vector<std::string_view>& cells);

  std::size_t line() const { return line_; }  // first line of the row read last, from 1

  // What is wrong with the row read last, as the end of a sentence, and the cell (from 0) in which it is.
  struct Problem {
    std::string what;
    std::size_t column = 0;
  };
  const Problem& problem() const { return problem_; }

 private:
  bool ReadLine();
  bool Fill();
  bool EndsLine(std::size_t at) const;
  std::size_t FindEnd() const;
  void Split(std::vector<std::string_view>& cells);
  std::string_view Unquote(std::size_t& at, std::size_t end, std::size_t column);

  TextSource& text_;
  char delimiter_;
  std::string buffer_;
  std::size_t begin_ = 0, end_ = 0;  // of the row in the buffer, without its line end
  std::size_t next_ = 0;
  std::size_t line_ = 0, next_line_ = 1;
  Problem problem_;
};

// Removes blanks at both ends.
std::string_view Trim(std::string_view text);

}  // namespace historian::command
