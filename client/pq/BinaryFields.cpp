#include "BinaryFields.h"

#include <bit>
#include <charconv>
#include <chrono>
#include <cmath>
#include <iterator>
#include <limits>
#include <string_view>

#include "BinaryNumeric.h"
#include "DateTimeText.h"
#include "Errors.h"
#include "NetworkOrder.h"
#include "NumberText.h"
#include "Types.h"
#include "port/LocalTime.h"

namespace pq {
namespace {

constexpr std::int64_t kServerEpoch = 946'684'800;  // 2000-01-01, in seconds since 1970
constexpr std::int64_t kInfinity = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMinusInfinity = std::numeric_limits<std::int64_t>::min();

std::string_view Bytes(const Cell& cell) { return {cell.data, static_cast<std::size_t>(cell.length)}; }

template <class Unsigned>
Unsigned Scalar(const Cell& cell) {
  if (Bytes(cell).size() != sizeof(Unsigned)) throw MalformedValue(cell.type);
  return FromNetwork<Unsigned>(cell.data);
}

bool IsInteger(unsigned type) { return type == kInt2 || type == kInt4 || type == kInt8; }

bool Bool(const Cell& cell) { return Scalar<std::uint8_t>(cell) != 0; }

std::int64_t Integer(const Cell& cell) {
  if (cell.type == kInt2) return static_cast<std::int16_t>(Scalar<std::uint16_t>(cell));
  if (cell.type == kInt4) return static_cast<std::int32_t>(Scalar<std::uint32_t>(cell));
  return static_cast<std::int64_t>(Scalar<std::uint64_t>(cell));
}

// A NaN has many bit patterns, but one text.
double Float8(const Cell& cell) {
  const auto value = std::bit_cast<double>(Scalar<std::uint64_t>(cell));
  return std::isnan(value) ? std::numeric_limits<double>::quiet_NaN() : value;
}

std::string Float8Text(double value) {
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value > 0 ? "Infinity" : "-Infinity";
  const double magnitude = std::abs(value);
  const bool isFixed = magnitude == 0 || (magnitude >= 1e-4 && magnitude < 1e15);
  const auto format = isFixed ? std::chars_format::fixed : std::chars_format::scientific;
  char text[64];
  return {text, std::to_chars(text, std::end(text), value, format).ptr};
}

// ---- Instants ----

// A timestamptz in the session's time zone.
struct LocalInstant {
  std::int64_t seconds;  // since 1970 on the local clock
  std::int64_t offset;   // of them, which the local clock is ahead of UTC
  sa_uint32_t microseconds;
};

bool IsFinite(std::int64_t instant) { return instant != kInfinity && instant != kMinusInfinity; }

// `instant` in microseconds since 2000.
LocalInstant Localize(std::int64_t instant, sys::LocalOffsets* offsets) {
  using namespace std::chrono;
  const auto utc = floor<seconds>(microseconds(instant));
  const std::int64_t epoch = utc.count() + kServerEpoch;
  const std::int64_t offset = offsets ? offsets->At(epoch) : 0;
  // `utc` in microseconds may be out of range.
  const auto fraction = static_cast<sa_uint32_t>((instant % 1'000'000 + 1'000'000) % 1'000'000);
  return {epoch + offset, offset, fraction};
}

SADateTime CalendarFields(const LocalInstant& instant) {
  using namespace std::chrono;
  using Cycles = duration<std::int64_t, std::ratio_multiply<std::ratio<146'097>, days::period>>;
  const seconds local(instant.seconds);
  const auto day = floor<days>(local);
  // The calendar repeats itself after 400 years; the server's years go further than those of <chrono>.
  const auto cycle = floor<Cycles>(day);
  const year_month_day date{sys_days(duration_cast<days>(day - cycle))};
  const auto year = static_cast<int>(date.year()) + 400 * static_cast<int>(cycle.count());
  const auto second = static_cast<int>((local - day).count());
  return SADateTime(year, static_cast<int>(unsigned{date.month()}), static_cast<int>(unsigned{date.day()}),
                    second / 3600, second / 60 % 60, second % 60, instant.microseconds * 1000);
}

// Appends a number with at least this many digits.
void AppendNumber(std::string& text, std::int64_t number, std::size_t width, const char* before = "") {
  const std::string digits = std::to_string(number);
  text += before;
  if (digits.size() < width) text.append(width - digits.size(), '0');
  text += digits;
}

void AppendFraction(std::string& text, sa_uint32_t nanoseconds) {
  if (nanoseconds == 0) return;
  AppendNumber(text, nanoseconds / 1000, 6, ".");
  text.erase(text.find_last_not_of('0') + 1);
}

void AppendOffset(std::string& text, std::int64_t offset) {
  const std::int64_t size = std::abs(offset);
  AppendNumber(text, size / 3600, 2, offset < 0 ? "-" : "+");
  if (size % 3600 != 0) AppendNumber(text, size / 60 % 60, 2, ":");
  if (size % 60 != 0) AppendNumber(text, size % 60, 2, ":");
}

std::string TimestampText(const Cell& cell) {
  const std::int64_t instant = Integer(cell);
  if (instant == kInfinity) return "infinity";
  if (instant == kMinusInfinity) return "-infinity";
  const LocalInstant local = Localize(instant, cell.offsets);
  const SADateTime fields = CalendarFields(local);
  const int year = fields.GetYear();  // 0 is 1 BC
  std::string text;
  AppendNumber(text, year > 0 ? year : 1 - year, 4);
  AppendNumber(text, fields.GetMonth(), 2, "-");
  AppendNumber(text, fields.GetDay(), 2, "-");
  AppendNumber(text, fields.GetHour(), 2, " ");
  AppendNumber(text, fields.GetMinute(), 2, ":");
  AppendNumber(text, fields.GetSecond(), 2, ":");
  AppendFraction(text, fields.Fraction());
  AppendOffset(text, local.offset);
  return text + (year > 0 ? "" : " BC");
}

}  // namespace

bool IsReadableInBinary(unsigned type, bool zoneIsKnown) {
  if (type == kTimestamptz) return zoneIsKnown;
  return type == kBool || type == kFloat8 || type == kNumeric || IsInteger(type) || IsText(type);
}

std::int64_t BinaryInteger(const Cell& cell, std::int64_t least, std::int64_t greatest) {
  if (cell.type == kBool) return Bool(cell) ? 1 : 0;
  if (IsInteger(cell.type)) {
    const std::int64_t value = Integer(cell);
    if (value >= least && value <= greatest) return value;
  }
  return ParseInteger(BinaryText(cell), least, greatest);
}

double BinaryDouble(const Cell& cell) {
  switch (cell.type) {
    case kFloat8: return Float8(cell);
    case kNumeric: return NumericToDouble(Bytes(cell));
    case kBool: return Bool(cell) ? 1 : 0;
    default: return ParseDouble(BinaryText(cell));
  }
}

bool BinaryBool(const Cell& cell) { return cell.type == kBool ? Bool(cell) : ParseBool(BinaryText(cell)); }

SADateTime BinaryDateTime(const Cell& cell) {
  if (cell.type == kTimestamptz) {
    const std::int64_t instant = Integer(cell);
    if (IsFinite(instant)) return CalendarFields(Localize(instant, cell.offsets));
  }
  return ParseDateTime(BinaryText(cell));
}

bool BinaryCalendarSeconds(const Cell& cell, std::int64_t& seconds) {
  if (cell.type != kTimestamptz) return false;
  const std::int64_t instant = Integer(cell);
  if (!IsFinite(instant)) return false;
  seconds = Localize(instant, cell.offsets).seconds;
  return true;
}

std::string BinaryText(const Cell& cell) {
  switch (cell.type) {
    case kBool: return Bool(cell) ? "t" : "f";
    case kInt2:
    case kInt4:
    case kInt8: return std::to_string(Integer(cell));
    case kFloat8: return Float8Text(Float8(cell));
    case kNumeric: return NumericText(Bytes(cell));
    case kTimestamptz: return TimestampText(cell);
    default: return std::string(Bytes(cell));
  }
}

}  // namespace pq
