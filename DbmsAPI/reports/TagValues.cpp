#include "DbmsAPI/frame/Epoch.h"
#include "DbmsAPI/frame/Format.h"
#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/Sql.h"

namespace {

// {}: table.
constexpr wchar_t kCreateTagValues[] =
    L"create table if not exists {} ("
    L"time timestamptz NOT NULL,"
    L"tag_name text NOT NULL,"
    L"tag_value text NOT NULL,"
    L"primary key (time,tag_name))";

// {}: table, days.
constexpr wchar_t kDropOldChunks[] = L"select drop_chunks('{}', INTERVAL '{:d} days')";
constexpr wchar_t kDeleteOldValues[] = L"delete from {} where time < now() - interval '{} days'";

// {}: days, page.
constexpr wchar_t kDeleteOldIntervals[] =
    L"delete from pr_timelist where start_time<NOW()- INTERVAL '{:d} days' and page_name='{}'";

// {}: table; the rows follow.
constexpr wchar_t kInsertTagValues[] = L"insert into {} values ";
// {}: epoch seconds, tag, value. Kept: texts are not escaped; a quote in one ends the literal early.
constexpr wchar_t kRow[] = L"(to_timestamp({}), '{}', '{}')";

constexpr std::size_t kBatchRows = 1000;

void AppendRow(std::wstring& statement, const TagValueRecord& record) {
  statement += Format(kRow, EpochSecondsText(record.time), record.tag_name, record.tag_value);
}

// Empties the queue and makes one statement of it.
// Kept: a record without a tag name still gets a separator. After a row that makes two separators in a row,
// and a queue of nothing else makes no row at all. The server refuses both.
std::wstring TakeQueue(const wchar_t* table, std::deque<std::vector<TagValueRecord>>& queue) {
  std::wstring statement = Format(kInsertTagValues, table);
  const std::size_t head = statement.size();
  for (; !queue.empty(); queue.pop_front()) {
    for (const TagValueRecord& record : queue.front()) {
      if (statement.size() > head) statement.append(L", ");
      if (!record.tag_name.empty()) AppendRow(statement, record);
    }
  }
  return statement;
}

// Kept: a batch is sent when it is full, or with the last record if that has a tag name. If it has none, the
// rows collected by then are lost.
void StoreInBatches(SAConnection& connection, SACommand& command, const wchar_t* table,
                    const std::vector<TagValueRecord>& records) {
  std::wstring statement = Format(kInsertTagValues, table);
  const std::size_t head = statement.size();
  std::size_t rows = 0;
  for (const TagValueRecord& record : records) {
    if (record.tag_name.empty()) continue;
    if (rows > 0) statement.append(L", ");
    AppendRow(statement, record);
    if (++rows < kBatchRows && &record != &records.back()) continue;
    Execute(command, statement);
    connection.Commit();
    statement.resize(head);
    rows = 0;
  }
}

}  // namespace

bool TirelScada::CreateTagValueTable(const wchar_t* tableName) {
  return Run([&](SACommand& command) {
    Require({{L"tableName", tableName}});
    const std::wstring table =
        LowerAscii(tableName);  // Kept: only this operation converts the name to lower case.
    Execute(command, Format(kCreateTagValues, table));
    SetUpHypertable(command, table.c_str(), L"tag_name", std::nullopt);
  });
}

bool TirelScada::PurgeTagValueTable(const wchar_t* tableName, std::int64_t days) {
  return Run([&](SACommand& command) {
    Require({{L"tableName", tableName}});
    Execute(command, timescaleEnabled ? Format(kDropOldChunks, tableName, days)
                                      : Format(kDeleteOldValues, tableName, days));
    Execute(command, Format(kDeleteOldIntervals, days, tableName));
  });
}

bool TirelScada::InsertTagValueQueue(const wchar_t* tableName,
                                     std::deque<std::vector<TagValueRecord>>& queue) {
  return Run([&](SACommand& command) {
    Require({{L"tableName", tableName}});
    if (queue.empty()) return false;
    Execute(command, TakeQueue(tableName, queue));
    return true;
  });
}

bool TirelScada::InsertTagValues(const wchar_t* tableName, const std::vector<TagValueRecord>& records) {
  return Run([&](SACommand& command) {
    Require({{L"tableName", tableName}});
    if (records.empty()) return false;
    const SAIsolationLevel_t former = connection->IsolationLevel();
    connection->setIsolationLevel(SA_ReadCommitted);
    const bool stored = Guard([&] { StoreInBatches(*connection, command, tableName, records); });
    // The isolation level is the client's, so it is restored after a refused batch too, unless the connection
    // is lost. Kept: a level that was never set through the connection is unknown, so the session stays at
    // read committed.
    if (stored || connection->isConnected()) connection->setIsolationLevel(former);
    return stored;
  });
}
