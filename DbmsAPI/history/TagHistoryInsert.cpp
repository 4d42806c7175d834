#include <pgAPI.h>

#include <algorithm>

#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/SqlState.h"
#include "DbmsAPI/history/CopyText.h"
#include "DbmsAPI/history/TagTexts.h"
#include "port/Debug.h"
#include "port/Format.h"
#include "port/InvalidParameter.h"
#include "port/Utf8.h"

namespace {

constexpr char kCreateStaging[] =
    "CREATE TEMP TABLE IF NOT EXISTS _tmp_dl (  time_epoch float8 NOT NULL,  tag_name   text   NOT NULL,  "
    "value "
    "     float8)";
constexpr char kTruncateStaging[] = "TRUNCATE _tmp_dl";
constexpr char kCopyToStaging[] = "COPY _tmp_dl(time_epoch, tag_name, value) FROM STDIN";
constexpr char kMoveToHistory[] =
    "INSERT INTO datalog(time, tag_name, value) SELECT to_timestamp(time_epoch), tag_name, value FROM "
    "_tmp_dl "
    "ORDER BY tag_name, time_epoch ON CONFLICT (time, tag_name) DO NOTHING";

constexpr std::size_t kFlushBytes = 4 * 1024 * 1024;
constexpr std::size_t kBytesPerSample = 50;  // about what a line takes
constexpr std::size_t kMessageBuffer = 256;

// libpq's ExecStatusType.
constexpr int kCommandOk = 1;  // PGRES_COMMAND_OK
constexpr int kCopyIn = 4;     // PGRES_COPY_IN

// One batch on its way through the session's native connection. Each step answers false when it failed, with
// the server's text in lastError.
class Batch {
 public:
  Batch(SAConnection& connection, std::wstring& lastError, std::string& lastSqlState)
      : api_(static_cast<const pgAPI&>(*connection.NativeAPI())),
        conn_(static_cast<const pgConnectionHandles&>(*connection.NativeHandles()).conn),
        lastError_(lastError),
        lastSqlState_(lastSqlState) {}

  bool Store(const std::vector<LogSample>& samples, TagTexts& names, std::string& buffer);

 private:
  bool Step(const char* statement, const wchar_t* name);
  bool RunStatement(const char* statement);
  bool StartCopy();
  bool Copy(const std::vector<LogSample>& samples, TagTexts& names, std::string& buffer);
  bool SendSamples(const std::vector<LogSample>& samples, TagTexts& names, std::string& buffer);
  bool Flush(std::string& buffer);
  bool FinishCopy(bool sent);
  void KeepError(const PGresult* result);

  const pgAPI& api_;
  PGconn* conn_;
  std::wstring& lastError_;
  std::string& lastSqlState_;
};

void Batch::KeepError(const PGresult* result) {
  lastError_ = sys::FromUtf8(api_.PQresultErrorMessage(result));
  lastSqlState_ = SqlStateOf(api_, result);
}

// Runs a plain statement.
bool Batch::RunStatement(const char* statement) {
  PGresult* result = api_.PQexec(conn_, statement);
  const bool done = api_.PQresultStatus(result) == kCommandOk;
  if (!done) KeepError(result);
  api_.PQclear(result);
  return done;
}

// The same, naming the step in the debug output when it fails.
bool Batch::Step(const char* statement, const wchar_t* name) {
  if (RunStatement(statement)) return true;
  sys::WriteDebugLine(sys::Format(L"[InsertLogData] {} failed\n", name).c_str());
  return false;
}

bool Batch::Store(const std::vector<LogSample>& samples, TagTexts& names, std::string& buffer) {
  if (!Step(kCreateStaging, L"CREATE TEMP TABLE") || !Step("BEGIN", L"BEGIN")) return false;
  if (!Step(kTruncateStaging, L"TRUNCATE") || !StartCopy() || !Copy(samples, names, buffer) ||
      !Step(kMoveToHistory, L"insert")) {
    RunStatement("ROLLBACK");
    return false;
  }
  return Step("COMMIT", L"COMMIT");
}

bool Batch::StartCopy() {
  PGresult* result = api_.PQexec(conn_, kCopyToStaging);
  const bool started = api_.PQresultStatus(result) == kCopyIn;
  if (!started) {
    KeepError(result);
    const auto message = sys::FitBuffer(
        kMessageBuffer, sys::Format(L"[InsertLogData] COPY FROM STDIN failed: {}\n", lastError_));
    if (message) sys::WriteDebugLine(message->c_str());
  }
  api_.PQclear(result);
  return started;
}

bool Batch::Copy(const std::vector<LogSample>& samples, TagTexts& names, std::string& buffer) {
  if (FinishCopy(SendSamples(samples, names, buffer))) return true;
  sys::WriteDebugLine(L"[InsertLogData] COPY data send failed\n");
  return false;
}

bool Batch::SendSamples(const std::vector<LogSample>& samples, TagTexts& names, std::string& buffer) {
  buffer.clear();
  buffer.reserve(std::max(kBytesPerSample * samples.size(), kFlushBytes));
  CopyLines lines(buffer);
  for (const LogSample& sample : samples) {
    if (!IsStorable(sample)) continue;
    lines.Append(sample.timeMs, names.Of(sample.tagName), sample.value);
    if (lines.size() < kFlushBytes) continue;
    lines.Finish();
    if (!Flush(buffer)) return false;
  }
  lines.Finish();
  return buffer.empty() || Flush(buffer);
}

bool Batch::Flush(std::string& buffer) {
  if (api_.PQputCopyData(conn_, buffer.data(), static_cast<int>(buffer.size())) != 1) {
    lastError_ = sys::FromUtf8(api_.PQerrorMessage(conn_));
    lastSqlState_.clear();
    return false;
  }
  buffer.clear();
  return true;
}

// Leaves copy mode: completes the copy, or has the server discard it when not all was sent.
bool Batch::FinishCopy(bool sent) {
  bool done = sent;
  api_.PQputCopyEnd(conn_, sent ? nullptr : "cancelled");
  while (PGresult* result = api_.PQgetResult(conn_)) {
    if (done && api_.PQresultStatus(result) != kCommandOk) {
      KeepError(result);
      done = false;
    }
    api_.PQclear(result);
  }
  return done;
}

}  // namespace

bool TirelScada::InsertLogData(const std::vector<LogSample>& samples) {
  if (!Connect()) return false;
  bool stored = true;
  const bool reached = Guard([&] {
    if (!tagTexts) tagTexts = std::make_shared<TagTexts>(utf8NameCache);
    stored = Batch(*connection, lastError, lastSqlState).Store(samples, *tagTexts, copyBuffer);
  });
  if (reached && !stored && ConnectionLost()) AbandonServer();
  return reached && stored;
}
