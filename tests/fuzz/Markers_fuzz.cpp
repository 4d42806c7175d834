// Statements: the scanner finds the same markers as a simple reference, and after replacing them none is
// left.

#include <algorithm>
#include <vector>

#include "Fuzz.h"
#include "client/pq/MarkerScanner.h"
#include "client/pq/Markers.h"
#include "port/Utf8.h"

namespace {

bool Digit(char c) { return c >= '0' && c <= '9'; }
bool Letter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || static_cast<unsigned char>(c) > 127;
}

// Reads a statement one token at a time, each as the server's manual describes it. `at` is at a token.
class Reference {
 public:
  explicit Reference(const std::string& text) : text_(text) {}

  std::vector<std::string> Markers() {
    while (at_ < text_.size()) Token();
    return markers_;
  }

 private:
  char Look(std::size_t ahead = 0) const { return at_ + ahead < text_.size() ? text_[at_ + ahead] : '\0'; }
  bool End() const { return at_ >= text_.size(); }

  void Token() {
    const char c = Look();
    if (Digit(c)) {
      while (Digit(Look())) ++at_;
    } else if (Letter(c)) {
      Word();
    } else if (c == ':') {
      Colon();
    } else if (c == '\'') {
      Plain('\'');
    } else if (c == '"') {
      Plain('"');
    } else if (c == '$') {
      Dollar();
    } else if (c == '-' && Look(1) == '-') {
      Line();
    } else if (c == '/' && Look(1) == '*') {
      Comment();
    } else {
      ++at_;
    }
  }

  void Word() {
    const std::size_t begin = at_;
    while (!End() && (Letter(Look()) || Digit(Look()) || Look() == '$')) ++at_;
    if (at_ - begin != 1 || (text_[begin] != 'e' && text_[begin] != 'E') || Look() != '\'') return;
    do Escaped();
    while (Continued());
  }

  void Colon() {
    ++at_;
    if (Look() == ':') {
      ++at_;
      return;
    }
    const std::size_t begin = at_;
    if (Digit(Look())) {
      while (Digit(Look())) ++at_;
    } else {
      while (!End() && (Letter(Look()) || Digit(Look()))) ++at_;
    }
    if (at_ > begin) markers_.push_back(text_.substr(begin, at_ - begin));
  }

  void Plain(char quote) {
    ++at_;
    while (!End() && Look() != quote) ++at_;
    if (!End()) ++at_;
  }

  void Escaped() {
    ++at_;
    while (!End()) {
      if (Look() == '\\') {
        at_ = std::min(at_ + 2, text_.size());
      } else if (Look() == '\'' && Look(1) == '\'') {
        at_ += 2;
      } else if (Look() == '\'') {
        ++at_;
        return;
      } else {
        ++at_;
      }
    }
  }

  // Whether the string goes on after blanks and comments with a line end among them; moves there.
  bool Continued() {
    const std::size_t begin = at_;
    bool line = false;
    for (;;) {
      const char c = Look();
      if (!End() && (c == ' ' || c == '\t' || c == '\f' || c == '\v')) {
        ++at_;
      } else if (c == '\n' || c == '\r') {
        line = true;
        ++at_;
      } else if (c == '-' && Look(1) == '-') {
        Line();
      } else {
        break;
      }
    }
    if (line && Look() == '\'') return true;
    at_ = begin;
    return false;
  }

  void Dollar() {
    std::size_t end = at_ + 1;
    if (end < text_.size() && Letter(text_[end])) {
      while (end < text_.size() && (Letter(text_[end]) || Digit(text_[end]))) ++end;
    }
    if (end >= text_.size() || text_[end] != '$') {
      at_ = end;
      return;
    }
    const std::string tag = text_.substr(at_, end - at_ + 1);
    for (at_ = end + 1; !End() && text_.compare(at_, tag.size(), tag) != 0;) ++at_;
    if (!End()) at_ += tag.size();
  }

  void Line() {
    while (!End() && Look() != '\n' && Look() != '\r') ++at_;
  }

  void Comment() {
    at_ += 2;
    for (int open = 1; !End() && open > 0;) {
      if (Look() == '/' && Look(1) == '*') {
        ++open;
        at_ += 2;
      } else if (Look() == '*' && Look(1) == '/') {
        --open;
        at_ += 2;
      } else {
        ++at_;
      }
    }
  }

  const std::string& text_;
  std::size_t at_ = 0;
  std::vector<std::string> markers_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::wstring wide = sys::FromUtf8({reinterpret_cast<const char*>(data), size});
  if (wide.find(L'\0') != std::wstring::npos) return 0;  // refused before it is scanned
  const std::string text = sys::ToUtf8(wide);
  std::vector<std::string> found;
  std::size_t copied = 0;
  for (const pq::Marker& marker : pq::FindMarkers(text)) {
    REQUIRE(marker.at >= copied && text[marker.at] == ':');
    found.push_back(text.substr(marker.at + 1, marker.length - 1));
    copied = marker.at + marker.length;
  }
  REQUIRE(found == Reference(text).Markers());

  const pq::MarkedStatement statement = pq::ReplaceMarkers(wide);
  REQUIRE(statement.HasParameters() == !found.empty());
  REQUIRE(statement.numbers.size() + statement.named.size() <= found.size());
  REQUIRE(pq::FindMarkers(statement.text).empty());
  if (found.empty()) REQUIRE(statement.text == text);
  return 0;
}
