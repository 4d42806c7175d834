#include "CsvReader.h"

#include <algorithm>

#include "../Failure.h"
#include "../Text.h"

namespace historian::command {
namespace {

// Limits how much is read after a quote that is never closed.
constexpr std::size_t kLongestRow = 16 * 1024 * 1024;

}  // namespace

std::string_view Trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

bool CsvReader::ReadRow(std::vector<std::string_view>& cells) {
  while (ReadLine()) {
    const std::string_view row(buffer_.data() + begin_, end_ - begin_);
    if (row.empty() || row[0] == '#') continue;
    Split(cells);
    if (std::any_of(cells.begin(), cells.end(), [](std::string_view cell) { return !cell.empty(); }))
      return true;
  }
  return false;
}

// Finds the next row, which is a line unless quotes hold line ends.
bool CsvReader::ReadLine() {
  begin_ = next_;
  std::size_t end = FindEnd();
  while (end == std::string::npos && Fill()) end = FindEnd();
  line_ = next_line_;
  if (end == std::string::npos) {
    if (begin_ == buffer_.size()) return false;
    end = buffer_.size();
  }
  next_ = std::min(end + 1, buffer_.size());
  for (std::size_t at = begin_; at < next_; ++at) next_line_ += EndsLine(at);
  end_ = end > begin_ && buffer_[end - 1] == '\r' ? end - 1 : end;
  return true;
}

bool CsvReader::Fill() {
  if (buffer_.size() - begin_ > kLongestRow) {
    throw Refusal(OneLine(text_.bytes().path()) + ':' + std::to_string(next_line_) +
                  ": a quote is opened here and not closed within 16 MiB");
  }
  buffer_.erase(0, begin_);
  begin_ = next_ = 0;
  return text_.Read(buffer_);
}

// Whether a line ends here: LF, or a CR without one. A CR at the end of the buffer may be half of CR LF.
bool CsvReader::EndsLine(std::size_t at) const {
  return buffer_[at] == '\n' || (buffer_[at] == '\r' && at + 1 < buffer_.size() && buffer_[at + 1] != '\n');
}

// The position of the row's line end; npos when the buffer does not hold it.
std::size_t CsvReader::FindEnd() const {
  const bool comment = begin_ < buffer_.size() && buffer_[begin_] == '#';
  bool quoted = false, cell_begins = true, quoted_cell = false;
  for (std::size_t at = begin_; at < buffer_.size(); ++at) {
    const char c = buffer_[at];
    if (quoted) {
      quoted = c != '"';
      continue;
    }
    if (EndsLine(at)) return at;
    if (comment) continue;
    if (cell_begins) quoted_cell = c == '"';
    // A doubled quote closes the quotes and opens them again, so it needs no case of its own.
    quoted = c == '"' && quoted_cell && (cell_begins || buffer_[at - 1] == '"');
    cell_begins = c == delimiter_;
  }
  return std::string::npos;
}

void CsvReader::Split(std::vector<std::string_view>& cells) {
  cells.clear();
  problem_ = {};
  for (std::size_t at = begin_; at <= end_; ++at) {
    if (at < end_ && buffer_[at] == '"') {
      cells.push_back(Unquote(at, end_, cells.size()));
      continue;
    }
    const std::size_t found = std::string_view(buffer_).substr(0, end_).find(delimiter_, at);
    const std::size_t stop = std::min(found, end_);
    cells.push_back(Trim({buffer_.data() + at, stop - at}));
    at = stop;
  }
}

// Unescapes in place; leaves `at` on the delimiter or at the end.
std::string_view CsvReader::Unquote(std::size_t& at, std::size_t end, std::size_t column) {
  const std::size_t first = ++at;
  std::size_t to = first;
  bool closed = false;
  for (; at < end; ++at) {
    if (buffer_[at] == '"') {
      if (at + 1 >= end || buffer_[at + 1] != '"') {
        closed = true;
        ++at;
        break;
      }
      ++at;
    }
    buffer_[to++] = buffer_[at];
  }
  if (!closed) {
    problem_ = {"the quote that opens the cell is never closed", column};
  } else if (at < end && buffer_[at] != delimiter_) {
    problem_ = {"the cell continues after its closing quote", column};
    at = std::min(std::string_view(buffer_).substr(0, end).find(delimiter_, at), end);
  }
  return {buffer_.data() + first, to - first};
}

}  // namespace historian::command
