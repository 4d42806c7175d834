#pragma once

// Makes rows of tag history from samples, in the binary format of COPY. Internal: not installed.

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "DbmsAPI/HistoryTypes.h"

namespace historian {

// An instant as the server stores it: microseconds since 2000-01-01 00:00 UTC. The server computes them from
// epoch seconds in a double, which is too coarse for microseconds from the year 2106 on. This function rounds
// as the server does. Throws Error 22008 for times that a timestamp cannot hold.
std::int64_t StoredTime(std::int64_t timeMs);

// A value with ten significant digits, rounded as std::to_chars does. Throws Error 22003 when these exceed
// the range of a double. The value must be finite.
double StoredValue(double value);

// The rows of a batch, sorted by time and tag. Of several samples with one time and tag, the first is kept.
struct CopyRows {
  std::string bytes;          // the data of COPY ... (time, tag_name, value) FROM STDIN (FORMAT binary)
  std::int64_t rows = 0;      // number of rows in `bytes`
  std::int64_t repeated = 0;  // samples left out because an earlier one has their time and tag
  std::int64_t leftOut = 0;   // samples that InsertLogData skips as well: no valid time, tag or finite value
  std::int64_t oldest = 0;    // StoredTime of the first row; 0 without rows
  std::int64_t newest = 0;    // StoredTime of the last row; 0 without rows
};

CopyRows MakeCopyRows(const std::vector<LogSample>& samples);

// The primary key of a row of tag history.
struct RowKey {
  std::int64_t time = 0;  // as StoredTime
  std::string_view tag;   // in UTF-8; the text is not copied
  bool operator==(const RowKey&) const = default;
};

struct RowKeyHash {
  std::size_t operator()(const RowKey& key) const {
    return std::hash<std::string_view>()(key.tag) ^
           (static_cast<std::uint64_t>(key.time) * 0x9e3779b97f4a7c15);
  }
};

using RowKeys = std::unordered_set<RowKey, RowKeyHash>;

// Returns a copy without the rows that have one of the keys. Only `bytes` and `rows` differ.
CopyRows WithoutRows(const CopyRows& copy, const RowKeys& keys);

}  // namespace historian
