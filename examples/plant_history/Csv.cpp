#include "Csv.h"

#include <string_view>

namespace plant {
namespace {

constexpr int kEnd = std::char_traits<char>::eof();
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// Bounds what a quote that is never closed can take in.
constexpr std::size_t kLongestCell = 64 * 1024;

}  // namespace

CsvReader::CsvReader(std::istream& in) : in_(*in.rdbuf()) {
  for (const char mark : kByteOrderMark) {
    if (Peek() != std::char_traits<char>::to_int_type(mark)) return;
    Next();
  }
}

int CsvReader::Next() {
  const int c = in_.sbumpc();
  if (c == kEnd) return c;
  ++bytes_read_;
  if (c == '\n') ++line_;
  return c;
}

bool CsvReader::ReadRow(std::vector<std::string>& cells) {
  cells.clear();
  if (Peek() == kEnd) return false;
  row_line_ = line_;
  column_ = 0;
  End end = End::Cell;
  while (end == End::Cell) {
    cell_line_ = line_;
    ++column_;
    end = ReadCell(cells.emplace_back());
  }
  return true;
}

CsvReader::End CsvReader::ReadCell(std::string& cell) {
  if (Peek() == '"') {
    Next();
    return ReadQuotedCell(cell);
  }
  while (true) {
    const int c = Next();
    if (c == ',') return End::Cell;
    if (c == '\n' || c == kEnd) return End::Row;
    if (c == '\r' && Peek() == '\n') continue;
    if (c == '"') Fail("a quote stands inside a cell that is not quoted");
    Append(cell, c);
  }
}

CsvReader::End CsvReader::ReadQuotedCell(std::string& cell) {
  while (true) {
    const int c = Next();
    if (c == kEnd) Fail("the quote that opens the cell is never closed");
    if (c == '"' && Peek() != '"') return EndOfQuotedCell();
    if (c == '"') Next();
    Append(cell, c);
  }
}

CsvReader::End CsvReader::EndOfQuotedCell() {
  int c = Next();
  if (c == '\r' && Peek() == '\n') c = Next();
  if (c != ',' && c != '\n' && c != kEnd) Fail("the cell goes on behind its closing quote");
  return c == ',' ? End::Cell : End::Row;
}

void CsvReader::Append(std::string& cell, int c) {
  if (cell.size() == kLongestCell) Fail("the cell is longer than 65,536 bytes");
  cell += static_cast<char>(c);
}

void CsvReader::Fail(const std::string& what) const { throw CsvError(what, cell_line_, column_); }

}  // namespace plant
