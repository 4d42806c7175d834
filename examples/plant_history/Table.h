#pragma once

#include <string>
#include <vector>

#include "Terminal.h"

namespace plant {

// A table with light rules around and under its headings. Columns are as wide as their widest cell; the last
// takes what the terminal has left.
class Table {
 public:
  enum class Align { Left, Right };
  struct Column {
    std::string heading;
    Align align = Align::Right;
    bool ruled = false;  // a rule stands before it
  };

  Table(std::vector<Column> columns, std::size_t most_of_first);

  void AddRow(std::vector<std::string> cells);
  // A line of its own below the row added last.
  void AddRemark(std::string text);

  // Cells left for the last column, whose own cells do not count.
  std::size_t WidthOfLast(const Terminal& terminal) const;
  // Completes a row by its last cell.
  void SetLast(std::size_t row, std::string cell) { rows_[row].cells.back() = std::move(cell); }

  // Narrows the first column until the last has room for its cells, though not to less than so many.
  void MakeRoom(const Terminal& terminal, std::size_t least_of_first);

  void Print(Terminal& terminal) const;

 private:
  struct Row {
    std::vector<std::string> cells;
    std::string remark;
  };

  enum class Style { Plain, Heading };

  std::size_t CellsOf(std::size_t column) const;
  std::size_t WidthOf(std::size_t column) const;
  std::vector<std::size_t> Widths(const Terminal& terminal) const;
  std::size_t GapOf(const Terminal& terminal) const;
  std::size_t Rest(const Terminal& terminal, std::size_t gap) const;
  std::string Lead(std::size_t column, std::size_t gap, const std::string& blank,
                   const std::string& bar) const;
  void PrintRule(Terminal& terminal, const char* crossing) const;
  void PrintCells(Terminal& terminal, const std::vector<std::string>& cells, Style style) const;

  std::vector<Column> columns_;
  std::size_t most_of_first_;
  std::vector<Row> rows_;
};

}  // namespace plant
