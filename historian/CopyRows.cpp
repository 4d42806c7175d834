#include "historian/CopyRows.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstring>
#include <numeric>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "historian/Error.h"
#include "port/Utf8.h"

namespace historian {
namespace {

constexpr std::string_view kHeader("PGCOPY\n\xff\r\n\0\0\0\0\0\0\0\0\0", 19);
constexpr std::int16_t kColumns = 3;
constexpr std::int16_t kTrailer = -1;
constexpr std::int32_t kNull = -1;
constexpr std::int32_t kEightBytes = 8;
// A row is the number of columns, then each value preceded by its length. The offsets of these:
constexpr std::size_t kLength = 4;
constexpr std::size_t kTimeAt = 2 + kLength;
constexpr std::size_t kTagLengthAt = kTimeAt + 8;
constexpr std::size_t kTagAt = kTagLengthAt + kLength;
constexpr std::size_t kRowBytes = kTagAt + kLength + 8;  // without the tag

constexpr double kSecondsTo2000 = 946684800;
constexpr double kSecondsToEnd = 9224318016000;  // of timestamps, in the year 294276
constexpr double kMicroseconds = 1e6;
constexpr std::int64_t kExactInDouble = std::int64_t{1} << 53;

// The double that the server reads from a text of epoch seconds with three decimals.
double Seconds(std::int64_t timeMs) {
  // Both operands are exact, so the division rounds once, as reading the text does.
  if (timeMs <= kExactInDouble) return static_cast<double>(timeMs) / 1000;
  std::string text = std::to_string(timeMs);
  text.insert(text.size() - 3, 1, '.');
  double seconds = 0;
  std::from_chars(text.data(), text.data() + text.size(), seconds);
  return seconds;
}

constexpr int kLeastPower = -12;
constexpr double kNearHalf = 1e-5;
// Of ten, from the least one on.
constexpr std::array kPowers = {1e-12, 1e-11, 1e-10, 1e-9, 1e-8, 1e-7, 1e-6, 1e-5, 1e-4, 1e-3,
                                1e-2,  1e-1,  1e0,   1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                1e8,   1e9,   1e10,  1e11, 1e12, 1e13, 1e14, 1e15};
constexpr std::array kExactPowers = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10,
                                     1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21};

double ByText(double value) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::general, 10).ptr;
  double read = 0;
  if (std::from_chars(text, end, read).ec == std::errc()) return read;
  throw Error("backfill", "out of range for type double precision: " + std::string(text, end), "22003");
}

}  // namespace

std::int64_t StoredTime(std::int64_t timeMs) {
  const double seconds = Seconds(timeMs);
  if (seconds >= kSecondsToEnd) {
    throw Error("backfill", "timestamp out of range: " + std::to_string(timeMs) + " ms", "22008");
  }
  return static_cast<std::int64_t>(std::rint((seconds - kSecondsTo2000) * kMicroseconds));
}

double StoredValue(double value) {
  const double magnitude = std::fabs(value);
  if (!(magnitude >= kPowers.front() && magnitude < kPowers.back()))
    return value == 0 ? value : ByText(value);
  const auto above = std::upper_bound(kPowers.begin(), kPowers.end(), magnitude);
  const int shift = 9 - (kLeastPower + static_cast<int>(above - kPowers.begin()) - 1);
  const double factor = kExactPowers[static_cast<std::size_t>(std::abs(shift))];
  // Ten digits before the point. The error of this operation is below 1e-6, so it can change the rounding
  // only close to a half; the library handles that case.
  const double scaled = shift >= 0 ? magnitude * factor : magnitude / factor;
  const double digits = std::rint(scaled);
  if (std::fabs(std::fabs(scaled - digits) - 0.5) < kNearHalf) return ByText(value);
  // Exact integers below 2^53 and exact powers of ten: rounded once, as reading the text rounds.
  return std::copysign(shift >= 0 ? digits / factor : digits * factor, value);
}

namespace {

// The tags of a batch in UTF-8, and their ranks in byte order.
class Tags {
 public:
  std::uint32_t Number(const std::wstring& name) {
    if (last_ != nullptr && last_->first == name) return last_->second;
    const auto [entry, isNew] = numbers_.try_emplace(name, static_cast<std::uint32_t>(texts_.size()));
    if (isNew) texts_.push_back(sys::ToUtf8(name));
    last_ = &*entry;
    return entry->second;
  }

  // Malformed names may become equal texts; these have the same rank.
  std::vector<std::uint32_t> Ranks() const {
    std::vector<std::uint32_t> order(texts_.size()), ranks(texts_.size());
    std::iota(order.begin(), order.end(), 0U);
    std::sort(order.begin(), order.end(), [this](auto a, auto b) { return texts_[a] < texts_[b]; });
    for (std::size_t i = 1; i < order.size(); ++i) {
      const bool same = texts_[order[i]] == texts_[order[i - 1]];
      ranks[order[i]] = same ? ranks[order[i - 1]] : static_cast<std::uint32_t>(i);
    }
    return ranks;
  }

  const std::string& Text(std::uint32_t number) const { return texts_[number]; }

 private:
  std::unordered_map<std::wstring, std::uint32_t> numbers_;
  std::vector<std::string> texts_;
  const std::pair<const std::wstring, std::uint32_t>* last_ = nullptr;
};

struct Row {
  std::int64_t time;
  double value;
  std::uint32_t tag;   // its number
  std::uint32_t rank;  // and its place in the order
};

bool Before(const Row& a, const Row& b) { return a.time != b.time ? a.time < b.time : a.rank < b.rank; }
bool SameKey(const Row& a, const Row& b) { return a.time == b.time && a.rank == b.rank; }

bool IsStorable(const LogSample& sample) {
  return sample.timeMs >= 1 && !sample.tagName.empty() && std::isfinite(sample.value);
}

std::vector<Row> RowsOf(const std::vector<LogSample>& samples, Tags& tags) {
  std::vector<Row> rows;
  rows.reserve(samples.size());
  for (const LogSample& sample : samples) {
    if (!IsStorable(sample)) continue;
    const double value = sample.value == DBL_MAX ? DBL_MAX : StoredValue(sample.value);
    rows.push_back({StoredTime(sample.timeMs), value, tags.Number(sample.tagName), 0});
  }
  const auto ranks = tags.Ranks();
  for (Row& row : rows) row.rank = ranks[row.tag];
  return rows;
}

// Most significant byte first.
template <class Integer>
char* Put(char* at, Integer value) {
  const auto bits = static_cast<std::make_unsigned_t<Integer>>(value);
  for (std::size_t i = sizeof bits; i-- > 0;) *at++ = static_cast<char>(bits >> 8 * i);
  return at;
}

template <class Integer>
Integer Get(const char* at) {
  std::make_unsigned_t<Integer> bits = 0;
  for (std::size_t i = 0; i < sizeof bits; ++i) bits = bits << 8 | static_cast<unsigned char>(at[i]);
  return static_cast<Integer>(bits);
}

char* PutRow(char* at, const Row& row, const std::string& tag) {
  at = Put(at, kColumns);
  at = Put(Put(at, kEightBytes), row.time);
  at = Put(at, static_cast<std::int32_t>(tag.size()));
  std::memcpy(at, tag.data(), tag.size());
  at += tag.size();
  if (row.value == DBL_MAX) return Put(at, kNull);
  return Put(Put(at, kEightBytes), std::bit_cast<std::int64_t>(row.value));
}

std::string BytesOf(const std::vector<Row>& rows, const Tags& tags) {
  std::size_t most = kHeader.size() + sizeof kTrailer;
  for (const Row& row : rows) most += kRowBytes + tags.Text(row.tag).size();
  std::string bytes(most, '\0');
  char* at = std::copy(kHeader.begin(), kHeader.end(), bytes.data());
  for (const Row& row : rows) at = PutRow(at, row, tags.Text(row.tag));
  at = Put(at, kTrailer);
  bytes.resize(static_cast<std::size_t>(at - bytes.data()));
  return bytes;
}

}  // namespace

CopyRows MakeCopyRows(const std::vector<LogSample>& samples) {
  Tags tags;
  std::vector<Row> rows = RowsOf(samples, tags);
  CopyRows result;
  result.leftOut = static_cast<std::int64_t>(samples.size() - rows.size());
  if (!std::is_sorted(rows.begin(), rows.end(), Before)) std::stable_sort(rows.begin(), rows.end(), Before);
  const auto end = std::unique(rows.begin(), rows.end(), SameKey);
  result.repeated = rows.end() - end;
  rows.erase(end, rows.end());
  result.rows = static_cast<std::int64_t>(rows.size());
  result.bytes = BytesOf(rows, tags);
  if (!rows.empty()) {
    result.oldest = rows.front().time;
    result.newest = rows.back().time;
  }
  return result;
}

CopyRows WithoutRows(const CopyRows& copy, const RowKeys& keys) {
  std::string bytes;
  bytes.reserve(copy.bytes.size());
  std::int64_t rows = copy.rows;
  const char* kept = copy.bytes.data();  // start of the bytes not copied yet
  const char* at = kept + kHeader.size();
  for (std::int64_t row = 0; row < copy.rows; ++row) {
    const char* const begin = at;
    const auto time = Get<std::int64_t>(at + kTimeAt);
    const auto length = static_cast<std::size_t>(Get<std::int32_t>(at + kTagLengthAt));
    const std::string_view tag(at + kTagAt, length);
    at += kTagAt + length;
    at += Get<std::int32_t>(at) == kNull ? kLength : kLength + kEightBytes;
    if (!keys.contains({time, tag})) continue;
    bytes.append(kept, begin);
    kept = at;
    --rows;
  }
  bytes.append(kept, copy.bytes.data() + copy.bytes.size());
  return {std::move(bytes), rows, copy.repeated, copy.leftOut, copy.oldest, copy.newest};
}

}  // namespace historian
