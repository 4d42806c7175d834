#pragma once

#include <string>
#include <vector>

#include "Terminal.h"

namespace historian::command {

// A table with a light rule under its headings and its last row. Columns are as wide as their widest cell.
// One column may be cut to the width that the terminal has left; in a file nothing is cut.
class Table {
 public:
  enum class Align { Left, Right };
  struct Column {
    std::string heading;
    Align align = Align::Right;
  };

  // `elastic` is the column that may be cut.
  explicit Table(std::vector<Column> columns, std::size_t elastic = 0);

  void AddRow(std::vector<std::string> cells);
  bool empty() const { return rows_.empty(); }

  void Print(Terminal& terminal) const;

 private:
  std::vector<std::size_t> Widths(const Terminal& terminal) const;
  std::string Line(const std::vector<std::string>& cells, const std::vector<std::size_t>& widths) const;

  std::vector<Column> columns_;
  std::size_t elastic_;
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace historian::command
