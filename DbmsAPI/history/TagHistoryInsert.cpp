#include <pgAPI.h>

#include <algorithm>

#include "DbmsAPI/frame/Diagnostics.h"
#include "DbmsAPI/frame/Format.h"
#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/ServerError.h"
#include "DbmsAPI/frame/Sql.h"
#include "DbmsAPI/history/CopyText.h"
#include "DbmsAPI/history/TagNameCache.h"
#include "port/Utf8.h"

namespace {

constexpr char kCreateStaging[] =
    "CREATE TEMP TABLE IF NOT EXISTS _tmp_dl ("
    "  time_epoch float8 NOT NULL,"
    "  tag_name   text   NOT NULL,"
    "  value      float8)";
constexpr char kTruncateStaging[] = "TRUNCATE _tmp_dl";
constexpr char kCopyToStaging[] = "COPY _tmp_dl(time_epoch, tag_name, value) FROM STDIN";
constexpr char kMoveToHistory[] =
    "INSERT INTO datalog(time, tag_name, value)"
    " SELECT to_timestamp(time_epoch), tag_name, value FROM _tmp_dl"
    " ORDER BY tag_name, time_epoch"
    " ON CONFLICT (time, tag_name) DO NOTHING";

constexpr std::size_t kFlushBytes = 4 * 1024 * 1024;
constexpr std::size_t kBytesPerSample = 50;  // of a typical line
constexpr std::size_t kMaxMessageSize = 256;
constexpr char kCancelled[] = "cancelled";
constexpr wchar_t kEndlessCopy[] = L"The server answered the end of COPY by another COPY";

// libpq's ExecStatusType.
constexpr int kCommandOk = 1;  // PGRES_COMMAND_OK
constexpr int kCopyOut = 3;    // PGRES_COPY_OUT
constexpr int kCopyIn = 4;     // PGRES_COPY_IN
constexpr int kCopyBoth = 8;   // PGRES_COPY_BOTH

using Result = std::unique_ptr<PGresult, void (*)(PGresult*)>;

// The failure of the first step that failed.
struct Failure {
  std::wstring text;
  std::string sqlState;
};

// One batch, stored over the native connection. Each step returns whether it succeeded.
class Batch {
 public:
  Batch(SAConnection& connection, const std::vector<LogSample>& samples, TagNameCache& names,
        std::string& buffer)
      : connection_(connection),
        api_(static_cast<const pgAPI&>(*connection.NativeAPI())),
        conn_(static_cast<const pgConnectionHandles&>(*connection.NativeHandles()).conn),
        samples_(samples),
        names_(names),
        buffer_(buffer) {}

  // Stores all samples or none. Leaves neither a COPY nor a transaction open, also when it throws.
  bool Store();

  const Failure& FirstFailure() const { return failure_; }
  // Whether the rollback failed. The server would then refuse everything that follows.
  bool LeftTransaction() const { return leftTransaction_; }

 private:
  Result Execute(const char* statement) { return Result(api_.PQexec(conn_, statement), api_.PQclear); }
  bool Has(const Result& result, int status) const { return api_.PQresultStatus(result.get()) == status; }
  bool Step(const char* statement, const wchar_t* name);
  bool StartCopy();
  bool Copy();
  bool SendSamples();
  bool Flush();
  Result EndCopy(const char* error);
  bool Rollback();
  void KeepFailure(const PGresult* result);

  SAConnection& connection_;
  const pgAPI& api_;
  PGconn* conn_;
  const std::vector<LogSample>& samples_;
  TagNameCache& names_;
  std::string& buffer_;
  bool copying_ = false;
  bool leftTransaction_ = false;
  bool endless_ = false;  // the server answered the end of COPY by another COPY
  Failure failure_;
};

bool Batch::Store() {
  if (!Step(kCreateStaging, L"CREATE TEMP TABLE") || !Step("BEGIN", L"BEGIN")) return false;
  try {
    if (Step(kTruncateStaging, L"TRUNCATE") && StartCopy() && Copy() && Step(kMoveToHistory, L"insert")) {
      return Step("COMMIT", L"COMMIT");
    }
  } catch (...) {
    if (!Rollback()) connection_.Destroy();
    throw;
  }
  leftTransaction_ = !Rollback();
  return false;
}

bool Batch::Step(const char* statement, const wchar_t* name) {
  const Result result = Execute(statement);
  if (Has(result, kCommandOk)) return true;
  KeepFailure(result.get());
  WriteDebugLine(Format(L"[InsertLogData] {} failed\n", name));
  return false;
}

bool Batch::StartCopy() {
  const Result result = Execute(kCopyToStaging);
  copying_ = Has(result, kCopyIn);
  if (copying_) return true;
  KeepFailure(result.get());
  const auto message =
      FitBuffer(kMaxMessageSize, Format(L"[InsertLogData] COPY FROM STDIN failed: {}\n", failure_.text));
  if (message) WriteDebugLine(*message);
  return false;
}

bool Batch::Copy() {
  const bool sent = SendSamples();
  const Result failed = EndCopy(sent ? nullptr : kCancelled);
  if (sent && !failed) return true;
  if (sent) KeepFailure(failed.get());
  WriteDebugLine(L"[InsertLogData] COPY data send failed\n");
  return false;
}

bool Batch::SendSamples() {
  buffer_.clear();
  buffer_.reserve(std::max(kBytesPerSample * samples_.size(), kFlushBytes));
  for (const LogSample& sample : samples_) {
    if (!IsStorable(sample)) continue;
    AppendCopyLine(buffer_, sample.timeMs, names_.Escaped(sample.tagName), sample.value);
    if (buffer_.size() >= kFlushBytes && !Flush()) return false;
  }
  return buffer_.empty() || Flush();
}

bool Batch::Flush() {
  if (api_.PQputCopyData(conn_, buffer_.data(), static_cast<int>(buffer_.size())) != 1) {
    KeepFailure(nullptr);
    return false;
  }
  buffer_.clear();
  return true;
}

// Completes the COPY, or has the server discard it. Returns the first result that is not a success, null when
// all are. Allocates nothing: it also runs after an allocation failed.
Result Batch::EndCopy(const char* error) {
  copying_ = false;
  api_.PQputCopyEnd(conn_, error);
  Result failed(nullptr, api_.PQclear);
  while (Result result{api_.PQgetResult(conn_), api_.PQclear}) {
    // libpq would return these again and again, even after the connection is closed.
    endless_ = Has(result, kCopyIn) || Has(result, kCopyOut) || Has(result, kCopyBoth);
    if (!failed && !Has(result, kCommandOk)) failed = std::move(result);
    if (endless_) break;
  }
  return failed;
}

// Allocates nothing, for the same reason.
bool Batch::Rollback() {
  if (copying_) EndCopy(kCancelled);
  if (endless_) {
    connection_.Destroy();
    return true;
  }
  return Has(Execute("ROLLBACK"), kCommandOk);
}

// Call it for the first failure only: once a connection is lost, the steps after that have no error text.
void Batch::KeepFailure(const PGresult* result) {
  failure_.text = endless_ ? kEndlessCopy : sys::FromUtf8(TextOf(api_, result, conn_));
  failure_.sqlState = SqlStateOf(api_, result);
}

}  // namespace

bool TirelScada::InsertLogData(const std::vector<LogSample>& samples) {
  if (!Connect()) return false;
  return Guard([&] {
    if (!utf8NameCache) utf8NameCache = std::make_shared<TagNameCache>();
    Batch batch(*connection, samples, *utf8NameCache, copyBuffer);
    if (batch.Store()) return true;
    if (const Failure& failure = batch.FirstFailure(); !failure.text.empty()) {
      lastError = failure.text;
      lastSqlState = failure.sqlState;
    }
    if (ConnectionLost()) {
      AbandonServer();
    } else if (batch.LeftTransaction()) {
      connection->Destroy();
    }
    return false;
  });
}
