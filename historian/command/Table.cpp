#include "Table.h"

#include <algorithm>
#include <numeric>

#include "Text.h"

namespace historian::command {
namespace {

constexpr std::size_t kGap = 2;
constexpr std::size_t kLeastOfElastic = 8;

}  // namespace

Table::Table(std::vector<Column> columns, std::size_t elastic)
    : columns_(std::move(columns)), elastic_(elastic) {}

void Table::AddRow(std::vector<std::string> cells) {
  for (std::string& cell : cells) cell = OneLine(cell);
  rows_.push_back(std::move(cells));
}

std::vector<std::size_t> Table::Widths(const Terminal& terminal) const {
  std::vector<std::size_t> widths;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    std::size_t width = DisplayWidth(columns_[i].heading);
    for (const auto& row : rows_) width = std::max(width, DisplayWidth(row[i]));
    widths.push_back(width);
  }
  if (!terminal.interactive()) return widths;
  const std::size_t taken =
      std::accumulate(widths.begin(), widths.end(), 2 + kGap * (columns_.size() - 1)) - widths[elastic_];
  const std::size_t left = terminal.width() - std::min(taken, terminal.width());
  widths[elastic_] = std::min(widths[elastic_], std::max(left, kLeastOfElastic));
  return widths;
}

std::string Table::Line(const std::vector<std::string>& cells, const std::vector<std::size_t>& widths) const {
  std::string line(1, ' ');
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (i != 0) line.append(kGap, ' ');
    line +=
        columns_[i].align == Align::Left ? AlignLeft(cells[i], widths[i]) : AlignRight(cells[i], widths[i]);
  }
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

void Table::Print(Terminal& terminal) const {
  const std::vector<std::size_t> widths = Widths(terminal);
  const std::size_t cells = std::accumulate(widths.begin(), widths.end(), 2 + kGap * (columns_.size() - 1));
  const std::string rule = terminal.Dim(Repeat(cells, "─"));
  std::vector<std::string> headings;
  for (const Column& column : columns_) headings.push_back(column.heading);
  terminal.Line(terminal.Bold(Line(headings, widths)));
  terminal.Line(rule);
  for (const auto& row : rows_) terminal.Line(Line(row, widths));
  terminal.Line(rule);
}

}  // namespace historian::command
