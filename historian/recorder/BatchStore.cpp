#include "historian/recorder/BatchStore.h"

#include <cmath>

#include "DbmsAPI/Diagnostics.h"
#include "historian/Error.h"
#include "historian/StoreRows.h"
#include "historian/recorder/Failure.h"
#include "port/Utf8.h"

namespace historian::recorder {
namespace {

constexpr char kNotInRepertoire[] = "22021";  // the server's SQLSTATE for a NUL in a text

// Why InsertLogData skips a sample; empty when it stores it.
const char* LeftOut(const SampleView& sample) {
  if (sample.timeMs < 1) return "the sample has no time: it is below 1 ms";
  if (sample.tagName.empty()) return "the sample has no tag name";
  return std::isfinite(sample.value) ? "" : "the value of the sample is not finite";
}

void RequireNoNul(const std::wstring& text) {
  if (text.find(L'\0') == std::wstring::npos) return;
  throw Error("storing", "a text holds a NUL character", kNotInRepertoire);
}

bool Insert(Dbms& dbms, Kind kind, std::string_view record) {
  if (kind == Kind::Log) {
    const SystemLogRecord log = TakeLog(record).value();
    RequireNoNul(log.user_id);
    RequireNoNul(log.message);
    return dbms.InsertSystemLog({log}) == 1;
  }
  const AlarmRecord a = TakeAlarm(record).value();
  RequireNoNul(a.tagName);
  RequireNoNul(a.label);
  return dbms.InsertAlarm(a.timeMs, a.tagName.c_str(), a.value, a.label.c_str(), a.status, a.type, a.level,
                          a.zone, a.occTimeMs, a.freeTimeMs);
}

}  // namespace

std::int64_t BatchStore::Store(const std::vector<std::string_view>& records) {
  if (kind_ != Kind::Sample) return StoreRange(records.begin(), records.end());
  std::vector<std::string_view> storable;
  storable.reserve(records.size());
  for (const std::string_view record : records) {
    std::string_view bytes = record;
    const std::string reason = LeftOut(TakeSample(bytes).value());
    if (reason.empty()) {
      storable.push_back(record);
    } else {
      refused_.push_back({record, "", reason});
    }
  }
  return StoreRange(storable.begin(), storable.end());
}

// If the server refuses a record, splits the range in halves, down to that single record.
std::int64_t BatchStore::StoreRange(Range first, Range last) {
  if (first == last) return 0;
  step_();
  link_.Run("savepoint historian");
  try {
    const std::int64_t stored = Attempt(first, last);
    link_.Run("release savepoint historian");
    return stored;
  } catch (const Error& error) {
    const Verdict verdict = Classify(error.SqlState());
    if (verdict != Verdict::RefusedData && verdict != Verdict::Duplicate) throw;
    if (last - first == 1 && verdict == Verdict::RefusedData) {
      refused_.push_back({*first, error.SqlState(), error.Text()});
    }
  }
  link_.Run("rollback to savepoint historian; release savepoint historian");
  if (last - first == 1) return 0;
  const Range middle = first + (last - first) / 2;
  const std::int64_t stored = StoreRange(first, middle);
  return stored + StoreRange(middle, last);
}

std::int64_t BatchStore::Attempt(Range first, Range last) {
  return kind_ == Kind::Sample ? CopySamples(first, last) : InsertEvents(first, last);
}

// Stores the same rows as InsertLogData, which does not return how many of the samples were new.
std::int64_t BatchStore::CopySamples(Range first, Range last) {
  std::vector<LogSample> samples;
  samples.reserve(static_cast<std::size_t>(last - first));
  for (Range record = first; record != last; ++record) {
    std::string_view bytes = *record;
    const SampleView sample = TakeSample(bytes).value();
    samples.push_back({sample.timeMs, sys::FromUtf8(sample.tagName), sample.value});
  }
  return StoreRows(link_, MakeCopyRows(samples));
}

std::int64_t BatchStore::InsertEvents(Range first, Range last) {
  for (Range record = first; record != last; ++record) {
    step_();
    if (Insert(dbms_, kind_, *record)) continue;
    throw Error("storing", sys::ToUtf8(dbms_.GetLastError()), LastSqlState(dbms_));
  }
  return last - first;
}

}  // namespace historian::recorder
