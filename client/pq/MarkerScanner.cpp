#include "MarkerScanner.h"

#include <algorithm>
#include <array>
#include <optional>

#include "Text.h"

namespace pq {
namespace {

constexpr bool StartsName(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' ||
         static_cast<unsigned char>(c) >= 0x80;
}

// A table, because every character is looked up and statements of many rows are long.
constexpr auto kContinuesName = [] {
  std::array<bool, 256> table{};
  for (std::size_t i = 0; i < table.size(); ++i) {
    const auto c = static_cast<char>(i);
    table[i] = StartsName(c) || IsDigit(c);
  }
  return table;
}();

bool ContinuesName(char c) { return kContinuesName[static_cast<unsigned char>(c)]; }

constexpr std::size_t kMaxDigits = 9;  // a longer run of digits is a name

// The number of a marker with this name; -1 for a named one.
int NumberOf(std::string_view name) {
  if (!IsDigit(name[0]) || name.size() > kMaxDigits) return -1;
  int number = 0;
  for (const char digit : name) number = 10 * number + (digit - '0');
  return number;
}

// Walks a statement from marker to marker.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : text_(text) {}

  std::vector<Marker> Markers() {
    std::vector<Marker> markers;
    while (at_ < text_.size()) {
      const char c = text_[at_];
      if (ContinuesName(c)) {
        SkipWord();
      } else if (c == ':') {
        if (const auto marker = Colon()) markers.push_back(*marker);
      } else if (c == '\'' || c == '"') {
        SkipQuoted(c, false);
      } else if (c == '$') {
        SkipDollarQuoted();
      } else if (c == '-' && LooksAt("--")) {
        SkipLine();
      } else if (c == '/' && LooksAt("/*")) {
        SkipComment();
      } else {
        ++at_;
      }
    }
    return markers;
  }

 private:
  bool LooksAt(std::string_view what) const { return text_.substr(at_).starts_with(what); }

  template <class Belongs>
  std::size_t EndOf(Belongs belongs, std::size_t from) const {
    while (from < text_.size() && belongs(text_[from])) ++from;
    return from;
  }

  std::optional<Marker> Colon() {
    const std::size_t colon = at_++;
    if (at_ < text_.size() && text_[at_] == ':') {
      ++at_;
    } else if (at_ < text_.size() && ContinuesName(text_[at_])) {
      at_ = IsDigit(text_[at_]) ? EndOf(IsDigit, at_) : EndOf(ContinuesName, at_);
      const bool needsBlank = colon > 0 && (ContinuesName(text_[colon - 1]) || text_[colon - 1] == '$');
      return Marker{colon, at_ - colon, NumberOf(text_.substr(colon + 1, at_ - colon - 1)), needsBlank};
    }
    return std::nullopt;
  }

  // A doubled quote is read as the end of one text and the beginning of the next, with the same result.
  void SkipQuoted(char quote, bool escapes) {
    for (++at_; at_ < text_.size() && text_[at_] != quote; ++at_) {
      if (escapes && text_[at_] == '\\') ++at_;
    }
    at_ = std::min(at_ + 1, text_.size());
  }

  void SkipLine() { at_ = std::min(text_.find_first_of("\r\n", at_), text_.size()); }

  // A word may hold dollar signs; the word E introduces a string with escapes. A number holds none: those
  // after it begin a string.
  void SkipWord() {
    const std::size_t start = at_;
    if (IsDigit(text_[at_])) {
      at_ = EndOf(IsDigit, at_);
      return;
    }
    while (at_ < text_.size() && (ContinuesName(text_[at_]) || text_[at_] == '$')) ++at_;
    const bool escapes = at_ == start + 1 && (text_[start] == 'e' || text_[start] == 'E');
    while (escapes && LooksAt("'")) {
      SkipQuoted('\'', true);
      SkipToContinuation();
    }
  }

  // After a string: goes to the quote that continues it on a later line, with nothing but blanks and comments
  // between; stays where there is none.
  void SkipToContinuation() {
    const std::size_t end = at_;
    bool newLine = false;
    while (at_ < text_.size()) {
      newLine = newLine || text_[at_] == '\r' || text_[at_] == '\n';
      if (LooksAt("--")) {
        SkipLine();
      } else if (std::string_view(" \t\f\v\r\n").find(text_[at_]) != std::string_view::npos) {
        ++at_;
      } else {
        break;
      }
    }
    if (!newLine || !LooksAt("'")) at_ = end;
  }

  // $$...$$ or $tag$...$tag$; else the dollar sign is an ordinary character.
  void SkipDollarQuoted() {
    const std::size_t tagged = at_ + 1;
    const bool named = tagged < text_.size() && StartsName(text_[tagged]);
    const std::size_t end = named ? EndOf(ContinuesName, tagged) : tagged;
    if (end >= text_.size() || text_[end] != '$') {
      at_ = end;
      return;
    }
    const std::string_view delimiter = text_.substr(at_, end + 1 - at_);
    const std::size_t closing = text_.find(delimiter, end + 1);
    at_ = closing == std::string_view::npos ? text_.size() : closing + delimiter.size();
  }

  void SkipComment() {
    int depth = 0;
    do {
      const int deeper = LooksAt("/*") ? 1 : LooksAt("*/") ? -1 : 0;
      depth += deeper;
      at_ += deeper != 0 ? 2 : 1;
    } while (depth > 0 && at_ < text_.size());
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

}  // namespace

std::vector<Marker> FindMarkers(std::string_view statement) { return Scanner(statement).Markers(); }

}  // namespace pq
