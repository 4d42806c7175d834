#include "MarkerScanner.h"

#include <algorithm>
#include <optional>

namespace pq {
namespace {

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

bool StartsName(wchar_t c) {
  return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || c == L'_' ||
         static_cast<unsigned>(c) >= 0x80;
}

bool ContinuesName(wchar_t c) { return StartsName(c) || IsDigit(c); }

// Walks a statement from marker to marker.
class Scanner {
 public:
  explicit Scanner(std::wstring_view text) : text_(text) {}

  std::optional<Marker> Next() {
    while (at_ < text_.size()) {
      const wchar_t c = text_[at_];
      if (c == L':') {
        if (const auto marker = Colon()) return marker;
      } else if (c == L'\'' || c == L'"') {
        SkipQuoted(c, false);
      } else if (c == L'$') {
        SkipDollarQuoted();
      } else if (LooksAt(L"--")) {
        at_ = std::min(text_.find_first_of(L"\r\n", at_), text_.size());
      } else if (LooksAt(L"/*")) {
        SkipComment();
      } else if (ContinuesName(c)) {
        SkipWord();
      } else {
        ++at_;
      }
    }
    return std::nullopt;
  }

 private:
  bool LooksAt(std::wstring_view what) const { return text_.substr(at_).starts_with(what); }

  std::size_t WordEnd(std::size_t from) const {
    const auto end =
        std::find_if_not(text_.begin() + static_cast<std::ptrdiff_t>(from), text_.end(), ContinuesName);
    return static_cast<std::size_t>(end - text_.begin());
  }

  std::optional<Marker> Colon() {
    const std::size_t colon = at_++;
    if (at_ < text_.size() && text_[at_] == L':') {
      ++at_;
    } else if (at_ < text_.size() && ContinuesName(text_[at_])) {
      const std::wstring_view rest = text_.substr(at_);
      at_ = IsDigit(rest[0]) ? at_ + std::min(rest.find_first_not_of(L"0123456789"), rest.size())
                             : WordEnd(at_);
      return Marker{colon, at_ - colon};
    }
    return std::nullopt;
  }

  // A doubled quote closes the text and opens it again, which comes to the same.
  void SkipQuoted(wchar_t quote, bool escapes) {
    for (++at_; at_ < text_.size(); ++at_) {
      if (escapes && text_[at_] == L'\\') {
        ++at_;
      } else if (text_[at_] == quote) {
        if (!escapes || at_ + 1 >= text_.size() || text_[at_ + 1] != quote) break;
        ++at_;
      }
    }
    at_ = std::min(at_ + 1, text_.size());
  }

  // A word may hold dollar signs; the word E introduces a string with escapes.
  void SkipWord() {
    const std::size_t start = at_;
    while (at_ < text_.size() && (ContinuesName(text_[at_]) || text_[at_] == L'$')) ++at_;
    const bool escapes = at_ == start + 1 && (text_[start] == L'e' || text_[start] == L'E');
    if (escapes && LooksAt(L"'")) SkipQuoted(L'\'', true);
  }

  // $$...$$ or $tag$...$tag$; else the dollar sign stands for itself.
  void SkipDollarQuoted() {
    const std::size_t tagged = at_ + 1;
    const bool named = tagged < text_.size() && StartsName(text_[tagged]);
    const std::size_t end = named ? WordEnd(tagged) : tagged;
    if (end >= text_.size() || text_[end] != L'$') {
      at_ = end;
      return;
    }
    const std::wstring_view delimiter = text_.substr(at_, end + 1 - at_);
    const std::size_t closing = text_.find(delimiter, end + 1);
    at_ = closing == std::wstring_view::npos ? text_.size() : closing + delimiter.size();
  }

  void SkipComment() {
    int depth = 0;
    do {
      if (LooksAt(L"/*")) {
        ++depth;
        at_ += 2;
      } else if (LooksAt(L"*/")) {
        --depth;
        at_ += 2;
      } else {
        ++at_;
      }
    } while (depth > 0 && at_ < text_.size());
  }

  std::wstring_view text_;
  std::size_t at_ = 0;
};

}  // namespace

std::vector<Marker> FindMarkers(std::wstring_view statement) {
  std::vector<Marker> markers;
  Scanner scanner(statement);
  while (const auto marker = scanner.Next()) markers.push_back(*marker);
  return markers;
}

}  // namespace pq
