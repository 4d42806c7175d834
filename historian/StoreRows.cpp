#include "historian/StoreRows.h"

#include <chrono>
#include <cstdio>
#include <optional>

#include "historian/Error.h"

namespace historian {
namespace {

constexpr char kCopyToHistory[] = "COPY datalog (time, tag_name, value) FROM STDIN (FORMAT binary)";
// Makes a savepoint and returns whether COPY may be used: up to 2.14, a copied row among compressed rows
// makes TimescaleDB end the whole server.
constexpr char kBeginCopy[] =
    "SAVEPOINT historian_copy; SELECT NOT EXISTS (SELECT FROM pg_extension WHERE extname = 'timescaledb'"
    " AND split_part(extversion, '.', 1) = '2' AND split_part(extversion, '.', 2)::int < 15)";
constexpr char kCreateStaging[] =
    "CREATE TEMP TABLE IF NOT EXISTS historian_batch (time timestamptz NOT NULL, tag_name text NOT NULL,"
    " value float8) ON COMMIT DROP; TRUNCATE historian_batch";
constexpr char kCopyToStaging[] = "COPY historian_batch (time, tag_name, value) FROM STDIN (FORMAT binary)";
constexpr char kMoveToHistory[] =
    "INSERT INTO datalog (time, tag_name, value) SELECT time, tag_name, value FROM historian_batch"
    " ON CONFLICT (time, tag_name) DO NOTHING";

// Followed by the range of time and the number of rows to read. Times as StoredTime.
constexpr char kStoredKeys[] =
    "SELECT (extract(epoch FROM time - timestamptz '2000-01-01 00:00+00') * 1000000)::int8, tag_name FROM datalog"
    " WHERE time BETWEEN ";

constexpr char kUniqueViolation[] = "23505";

constexpr std::int64_t kJulianDayOf2000 = 2451545;

std::int64_t CopyIn(Link& link, const char* statement, const std::string& bytes) {
  link.StartCopy(statement);
  link.SendCopy(bytes);
  return link.FinishCopy();
}

// A literal of an instant, independent of the session's settings, for any year.
std::string Literal(std::int64_t microsecondsSince2000) {
  using namespace std::chrono;
  const microseconds time(microsecondsSince2000);
  const auto day = floor<days>(time);
  const hh_mm_ss clock(time - day);
  char text[64];
  std::snprintf(text, sizeof text, "timestamptz 'J%lld %02d:%02d:%02d.%06d+00'",
                static_cast<long long>(kJulianDayOf2000 + day.count()),
                static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
  return text;
}

// Stores all rows and returns their number. If one was stored already, or COPY cannot be used, returns no
// value and changes nothing.
std::optional<std::int64_t> CopyToHistory(Link& link, const CopyRows& copy) {
  if (!link.Run(kBeginCopy).Bool(0, 0)) return std::nullopt;
  try {
    return CopyIn(link, kCopyToHistory, copy.bytes);
  } catch (const Error& error) {
    if (error.SqlState() != kUniqueViolation) throw;
  }
  link.Run("ROLLBACK TO SAVEPOINT historian_copy");
  return std::nullopt;
}

// The rows of the batch that are not stored yet. No value when the table has more rows in this range than the
// batch: reading them would cost more than it saves.
std::optional<CopyRows> NotStored(Link& link, const CopyRows& copy) {
  const Result stored = link.Run(kStoredKeys + Literal(copy.oldest) + " AND " + Literal(copy.newest) +
                                 " LIMIT " + std::to_string(copy.rows + 1));
  if (stored.size() > copy.rows) return std::nullopt;
  RowKeys keys;
  keys.reserve(static_cast<std::size_t>(stored.size()));
  for (int row = 0; row < stored.size(); ++row) {
    keys.insert({stored.Integer(row, 0), stored.Text(row, 1)});
  }
  return WithoutRows(copy, keys);
}

}  // namespace

std::int64_t StoreRows(Link& link, const CopyRows& copy) {
  if (copy.rows == 0) return 0;
  if (const auto stored = CopyToHistory(link, copy)) return *stored;
  if (const auto rest = NotStored(link, copy)) {
    if (rest->rows == 0) return 0;
    // Another session may have stored some of them meanwhile.
    if (const auto stored = CopyToHistory(link, *rest)) return *stored;
  }
  link.Run(kCreateStaging);
  CopyIn(link, kCopyToStaging, copy.bytes);
  return link.Run(kMoveToHistory).Affected();
}

}  // namespace historian
