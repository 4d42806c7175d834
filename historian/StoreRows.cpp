#include "historian/StoreRows.h"

#include "historian/Error.h"

namespace historian {
namespace {

constexpr char kCopyToHistory[] = "COPY datalog (time, tag_name, value) FROM STDIN (FORMAT binary)";
constexpr char kCreateStaging[] =
    "CREATE TEMP TABLE IF NOT EXISTS historian_batch (time timestamptz NOT NULL, tag_name text NOT NULL,"
    " value float8) ON COMMIT DROP; TRUNCATE historian_batch";
constexpr char kCopyToStaging[] = "COPY historian_batch (time, tag_name, value) FROM STDIN (FORMAT binary)";
constexpr char kMoveToHistory[] =
    "INSERT INTO datalog (time, tag_name, value) SELECT time, tag_name, value FROM historian_batch"
    " ON CONFLICT (time, tag_name) DO NOTHING";

constexpr char kUniqueViolation[] = "23505";

std::int64_t CopyIn(Link& link, const char* statement, const std::string& bytes) {
  link.StartCopy(statement);
  link.SendCopy(bytes);
  return link.FinishCopy();
}

}  // namespace

std::int64_t StoreRows(Link& link, const CopyRows& copy) {
  if (copy.rows == 0) return 0;
  link.Run("SAVEPOINT historian_copy");
  try {
    return CopyIn(link, kCopyToHistory, copy.bytes);
  } catch (const Error& error) {
    if (error.SqlState() != kUniqueViolation) throw;
  }
  link.Run("ROLLBACK TO SAVEPOINT historian_copy");
  link.Run(kCreateStaging);
  CopyIn(link, kCopyToStaging, copy.bytes);
  return link.Run(kMoveToHistory).Affected();
}

}  // namespace historian
