#include "Table.h"

#include <algorithm>

#include "Text.h"

namespace plant {
namespace {

constexpr std::size_t kLeastOfLast = 8;
constexpr std::size_t kFairLast = 16;
constexpr std::size_t kMostOfLast = 48;

std::string Repeat(std::size_t count, const std::string& text) {
  std::string line;
  while (count-- != 0) line += text;
  return line;
}

}  // namespace

Table::Table(std::vector<Column> columns, std::size_t most_of_first)
    : columns_(std::move(columns)), most_of_first_(most_of_first) {}

void Table::AddRow(std::vector<std::string> cells) { rows_.push_back({std::move(cells), {}}); }

void Table::AddRemark(std::string text) { rows_.back().remark = std::move(text); }

// What the widest cell of a column takes.
std::size_t Table::CellsOf(std::size_t column) const {
  std::size_t width = DisplayWidth(columns_[column].heading);
  for (const Row& row : rows_) width = std::max(width, DisplayWidth(row.cells[column]));
  return width;
}

std::size_t Table::WidthOf(std::size_t column) const {
  return column == 0 ? std::min(CellsOf(column), most_of_first_) : CellsOf(column);
}

// What stands before a column: blanks, or a bar between them; the same of another text draws a rule.
std::string Table::Lead(std::size_t column, std::size_t gap, const std::string& blank,
                        const std::string& bar) const {
  if (column == 0) return blank;
  return columns_[column].ruled ? blank + bar + blank : Repeat(gap, blank);
}

std::size_t Table::Rest(const Terminal& terminal, std::size_t gap) const {
  std::size_t taken = 1;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    taken += DisplayWidth(Lead(i, gap, " ", "│"));
    if (i + 1 < columns_.size()) taken += WidthOf(i);
  }
  return terminal.width() - std::min(taken, terminal.width());
}

// Columns move together where the last would get little otherwise.
std::size_t Table::GapOf(const Terminal& terminal) const {
  return Rest(terminal, 2) < std::max(kFairLast, CellsOf(columns_.size() - 1)) ? 1 : 2;
}

std::size_t Table::WidthOfLast(const Terminal& terminal) const {
  return std::clamp(Rest(terminal, GapOf(terminal)), kLeastOfLast, kMostOfLast);
}

void Table::MakeRoom(const Terminal& terminal, std::size_t least_of_first) {
  const std::size_t wanted = CellsOf(columns_.size() - 1);
  while (WidthOfLast(terminal) < wanted && most_of_first_ > least_of_first) --most_of_first_;
}

std::vector<std::size_t> Table::Widths(const Terminal& terminal) const {
  std::vector<std::size_t> widths;
  for (std::size_t i = 0; i + 1 < columns_.size(); ++i) widths.push_back(WidthOf(i));
  widths.push_back(WidthOfLast(terminal));
  return widths;
}

void Table::PrintRule(Terminal& terminal, const char* crossing) const {
  const std::vector<std::size_t> widths = Widths(terminal);
  const std::size_t gap = GapOf(terminal);
  std::string line;
  for (std::size_t i = 0; i < columns_.size(); ++i)
    line += Lead(i, gap, "─", crossing) + Repeat(widths[i], "─");
  terminal.Line(terminal.Dim(line + "─"));
}

void Table::PrintCells(Terminal& terminal, const std::vector<std::string>& cells, Style style) const {
  const std::vector<std::size_t> widths = Widths(terminal);
  const std::size_t gap = GapOf(terminal);
  std::string line;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    const bool left = columns_[i].align == Align::Left;
    const bool last = i + 1 == columns_.size();
    std::string cell = left ? AlignLeft(cells[i], widths[i]) : AlignRight(cells[i], widths[i]);
    if (last) cell.erase(cell.find_last_not_of(' ') + 1);
    line += Lead(i, gap, " ", terminal.Dim("│"));
    line += style == Style::Heading ? terminal.Bold(cell) : last ? terminal.Accent(cell) : cell;
  }
  terminal.Line(line);
}

void Table::Print(Terminal& terminal) const {
  std::vector<std::string> headings;
  for (const Column& column : columns_) headings.push_back(column.heading);
  PrintRule(terminal, "┬");
  PrintCells(terminal, headings, Style::Heading);
  PrintRule(terminal, "┼");
  for (const Row& row : rows_) {
    PrintCells(terminal, row.cells, Style::Plain);
    if (!row.remark.empty()) terminal.Line("   " + terminal.Dim(row.remark));
  }
  PrintRule(terminal, "┴");
}

}  // namespace plant
