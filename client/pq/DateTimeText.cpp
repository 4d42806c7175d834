#include "DateTimeText.h"

#include <algorithm>
#include <charconv>

#include "Errors.h"
#include "Text.h"
#include "port/Utf8.h"

namespace pq {
namespace {

constexpr std::string_view kBeforeChrist = " BC";
constexpr std::size_t kNanosecondDigits = 9;
constexpr int kGreatestYear = 9999999;

// Reads the fields of a text one after the other. After the first that is missing, ok() is false.
class FieldScanner {
 public:
  explicit FieldScanner(std::string_view text) : rest_(text) {}

  bool ok() const { return ok_; }
  bool AtEnd() const { return rest_.empty(); }

  bool Skip(char wanted) {
    if (!ok_ || !rest_.starts_with(wanted)) return false;
    rest_.remove_prefix(1);
    return true;
  }

  void Expect(char wanted) { ok_ = Skip(wanted); }

  std::string_view Digits() {
    const auto end = std::find_if_not(rest_.begin(), rest_.end(), IsDigit);
    const std::string_view digits = rest_.substr(0, static_cast<std::size_t>(end - rest_.begin()));
    rest_.remove_prefix(digits.size());
    return digits;
  }

  int Number(int least, int greatest) {
    const std::string_view digits = Digits();
    int value = 0;
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    ok_ = ok_ && read.ec == std::errc() && value >= least && value <= greatest;
    return value;
  }

  sa_uint32_t Nanoseconds() {
    if (!Skip('.')) return 0;
    const std::string_view digits = Digits();
    ok_ = !digits.empty();
    sa_uint32_t value = 0;
    for (std::size_t i = 0; i < kNanosecondDigits; ++i) {
      value = value * 10 + (i < digits.size() ? static_cast<sa_uint32_t>(digits[i] - '0') : 0);
    }
    return value;
  }

  // `+02`, `-03:30`, `+00:17:30` or `Z`.
  void SkipZone() {
    if (Skip('Z') || (!Skip('+') && !Skip('-'))) return;
    Number(0, 99);
    while (Skip(':')) Number(0, 59);
  }

 private:
  std::string_view rest_;
  bool ok_ = true;
};

}  // namespace

SADateTime ParseDateTime(std::string_view text) {
  const bool beforeChrist = text.ends_with(kBeforeChrist);
  FieldScanner scan(text.substr(0, text.size() - (beforeChrist ? kBeforeChrist.size() : 0)));
  const int year = scan.Number(1, kGreatestYear);
  scan.Expect('-');
  const int month = scan.Number(1, 12);
  scan.Expect('-');
  const int day = scan.Number(1, 31);
  int hour = 0, minute = 0, second = 0;
  sa_uint32_t nanoseconds = 0;
  if (scan.Skip(' ') || scan.Skip('T')) {
    hour = scan.Number(0, 24);
    scan.Expect(':');
    minute = scan.Number(0, 59);
    scan.Expect(':');
    second = scan.Number(0, 60);
    nanoseconds = scan.Nanoseconds();
    scan.SkipZone();
  }
  if (!scan.ok() || !scan.AtEnd()) throw UsageError(L"\"" + sys::FromUtf8(text) + L"\" is no date");
  return SADateTime(beforeChrist ? 1 - year : year, month, day, hour, minute, second, nanoseconds);
}

}  // namespace pq
