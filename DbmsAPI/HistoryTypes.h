#pragma once

// Records of tag history, user log tables and alarm history.

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

// One sample of a tag, to be stored.
struct LogSample {
  std::int64_t timeMs = 0;  // epoch milliseconds
  std::wstring tagName;     // tag name
  double value = 0;         // DBL_MAX: the sample has no value (stored as NULL)
};

// One sample of a tag, as read from tag history.
struct LogPoint {
  double time = 0;   // epoch seconds with fraction
  double value = 0;  // DBL_MAX: the stored value is NULL
};

// One column of a user log table.
struct UserLogColumn {
  const wchar_t* name = nullptr;  // spliced into statements
  std::int32_t type = 0;          // 0: 16-bit integer, 1: double, 2: text
  std::int32_t length = 0;        // maximum number of characters of a text column
};

// One row of a user log table.
struct UserLogRow {
  std::int64_t time = 0;             // epoch milliseconds when inserting, epoch seconds when read
  std::vector<std::wstring> values;  // one per column; SQL literals when inserting
};

// A value for a placeholder in the condition of a user log query.
using UserLogBind = std::variant<double, std::wstring>;

// One alarm state change. Instants are epoch milliseconds.
struct AlarmRecord {
  std::int64_t timeMs = 0;      // of this state change
  std::wstring tagName;         // alarm tag
  double value = 0;             // tag value at the change
  std::wstring label;           // alarm text
  std::int16_t status = 0;      // 0 to 3
  std::int16_t type = 0;        // 0 to 12
  std::int16_t level = 0;       // 0 to 15
  std::int16_t zone = 0;        // zone code
  std::int64_t occTimeMs = 0;   // when the alarm occurred
  std::int64_t freeTimeMs = 0;  // when it cleared; 0: not cleared
};
