#include <algorithm>

#include "DbmsAPI/frame/Epoch.h"
#include "DbmsAPI/frame/Format.h"
#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/Rows.h"
#include "DbmsAPI/frame/Sql.h"
#include "DbmsAPI/frame/Timescale.h"
#include "port/LocalTime.h"
#include "port/Utf8.h"

namespace {

// {}: table.
constexpr wchar_t kCountUserLogs[] = L"select count(*) from pg_stat_user_tables where relname = lower('{}')";

constexpr wchar_t kDatabaseName[] = L"select current_database()";

// {}: database, table.
constexpr wchar_t kUserLogColumns[] =
    L"select column_name, udt_name, character_maximum_length"
    L" from information_schema.columns"
    L" where table_catalog = '{}' and table_name = lower('{}')"
    L" order by ordinal_position";

// {}: table.
constexpr wchar_t kDropUserLog[] = L"drop table {}";
// {}: table; the columns follow.
constexpr wchar_t kCreateUserLog[] = L"create table {}(time timestamptz not null primary key,";

// {}: name, epoch seconds; the values follow.
constexpr wchar_t kInsertUserLogRow[] = L"insert into user_{} values(to_timestamp({}),";

// {}: name, bounds in epoch seconds, nothing or " and (...)" with a condition.
constexpr wchar_t kUserLogRows[] =
    L"select * from user_{}"
    L" where time >= to_timestamp({}) and time <= to_timestamp({}){}"
    L" order by time";

// Characters that separate the parts of a connection text.
constexpr wchar_t kSeparators[] = L"=;@ \t\r\n";

constexpr std::size_t kMaxDatabaseNameSize = 63;  // bytes, in a server built with its defaults
constexpr std::size_t kMaxTableNameSize = 64;
constexpr std::size_t kMaxRowsQuerySize = 1024;  // enough for any name that a server has

// Type codes of columns.
constexpr std::int32_t kInteger = 0;
constexpr std::int32_t kDouble = 1;
constexpr std::int32_t kText = 2;

bool SameName(const wchar_t* stored, const wchar_t* wanted) {
  return LowerAscii(stored) == LowerAscii(wanted);
}

std::wstring TableName(const wchar_t* name) {
  return Bounded(kMaxTableNameSize, L"user_" + LowerAscii(name));
}

// Kept: a column of another type code has no type in the statement and loses its comma or last letter.
std::wstring Declaration(const UserLogColumn& column) {
  switch (column.type) {
    case kInteger: return L" int2,";
    case kDouble: return L" float8,";
    case kText: return Format(L" varchar({}),", column.length);
    default: return {};
  }
}

std::wstring CreateStatement(const std::wstring& table, const std::vector<UserLogColumn>& columns) {
  std::wstring statement = Format(kCreateUserLog, table);
  for (const UserLogColumn& column : columns) statement.append(column.name).append(Declaration(column));
  statement.back() = L')';
  return statement;
}

// Kept: names and types compare without regard to case, so that a name in quotes never matches; another type
// code matches any type.
bool Matches(SACommand& stored, const UserLogColumn& column) {
  if (!SameName(stored.Field(1).asString(), column.name)) return false;
  const SAString type = stored.Field(2).asString();
  switch (column.type) {
    case kInteger: return SameName(type, L"int2");
    case kDouble: return SameName(type, L"float8");
    case kText: return SameName(type, L"varchar") && stored.Field(3).asLong() == column.length;
    default: return true;
  }
}

bool Exists(SACommand& command, const std::wstring& table) {
  return FetchFirst(command, Format(kCountUserLogs, table)) && command.Field(1).asShort() >= 1;
}

// Whether the text that names the database in a connection is the database's name and nothing more. False for
// a text with connection keywords, for an address (postgresql://...), for an empty text (libpq then chooses),
// and for a text longer than the server's names.
bool IsDatabaseName(std::wstring_view text) {
  return !text.empty() && text.find_first_of(kSeparators) == text.npos && text.find(L"://") == text.npos &&
         sys::ToUtf8(text).size() <= kMaxDatabaseNameSize;
}

std::wstring AskDatabaseName(SACommand& command) {
  if (!FetchFirst(command, kDatabaseName)) return {};
  return std::wstring(command.Field(1).asString());
}

// Whether a stored table has exactly these columns after its time. The server is asked for the name of the
// database only when the connection text is not the name.
bool HasColumns(SACommand& command, const std::wstring& database, const std::wstring& table,
                const std::vector<UserLogColumn>& columns) {
  const std::wstring name = IsDatabaseName(database) ? database : AskDatabaseName(command);
  if (!FetchFirst(command, Format(kUserLogColumns, name, table))) {
    // The table exists, so it has columns. None is found when the server knows the database by another name
    // than the connection text, as with a pooler; that is no reason to drop the rows.
    FetchFirst(command, Format(kUserLogColumns, AskDatabaseName(command), table));
  }
  for (const UserLogColumn& column : columns) {
    if (!command.FetchNext() || !Matches(command, column)) return false;
  }
  return !command.FetchNext();
}

void Compress(SACommand& command, const std::wstring& table, const std::vector<UserLogColumn>& columns) {
  const bool enabled = CompressionState(command, table.c_str()).value_or(0) != 0;
  if (!enabled) {
    std::wstring segmentBy;
    for (const UserLogColumn& column : columns) {
      segmentBy.append(segmentBy.empty() ? L"" : L", ").append(column.name);
    }
    SetCompression(command, table.c_str(), segmentBy.c_str());
  }
  AddCompressionPolicy(command, table.c_str());
}

void ReadRows(SACommand& command, std::vector<UserLogRow>& rows) {
  sys::ReadTimeZone();
  sys::LocalOffsets offsets;
  while (command.FetchNext()) {
    UserLogRow row;
    // Kept: calendar fields of the session's time zone are read as local time of the process.
    row.time = LocalEpochSeconds(CalendarSeconds(command.Field(1)), offsets);
    for (int i = 2; i <= command.FieldCount(); ++i) ReadText(command.Field(i), row.values.emplace_back());
    rows.push_back(std::move(row));
  }
}

}  // namespace

bool TirelScada::CreateUserLogTable(const wchar_t* name, const std::vector<UserLogColumn>& columns,
                                    int retentionDays) {
  return Run([&](SACommand& command) {
    Require({{L"name", name}});
    for (const UserLogColumn& column : columns) Require({{L"columns", column.name}});
    const std::wstring table = TableName(name);
    const bool exists = Exists(command, table);
    const bool kept = exists && HasColumns(command, database, table, columns);
    if (exists && !kept) Execute(command, Format(kDropUserLog, table));
    if (!kept) Execute(command, CreateStatement(table, columns));
    if (TimescaleVersion <= 0) return;

    if (kept) {
      SetRetentionPolicyLegacy(table.c_str(), retentionDays);
    } else {
      CreateHypertable(command, table.c_str(), retentionDays);
    }
    Compress(command, table, columns);
  });
}

// Kept: values are spliced; without any, the comma after the time becomes the closing parenthesis.
bool TirelScada::InsertUserLogData(const wchar_t* name, const UserLogRow& row) {
  return Run([&](SACommand& command) {
    Require({{L"name", name}});
    std::wstring statement = Format(kInsertUserLogRow, name, EpochSecondsText(row.time));
    for (const std::wstring& value : row.values) statement.append(value).append(L",");
    statement.back() = L')';
    Execute(command, statement);
  });
}

bool TirelScada::GetUserLogData(const wchar_t* name, std::int64_t startTime, std::int64_t endTime,
                                const wchar_t* condition,
                                const std::vector<std::variant<double, std::wstring>>& binds,
                                std::vector<UserLogRow>& rows) {
  return Run([&](SACommand& command) {
    Require({{L"name", name}});
    if (startTime < 1 || endTime < 1 || startTime == endTime) return;
    const auto [from, to] = std::minmax(startTime, endTime);
    if (!condition || *condition == L'\0') {
      Execute(command, Bounded(kMaxRowsQuerySize, Format(kUserLogRows, name, from, to, L"")));
    } else {
      command.setCommandText(
          ToSAString(Format(kUserLogRows, name, from, to, Format(L" and ({})", condition))));
      for (const UserLogBind& bind : binds) {
        std::visit([&](const auto& value) { command << value; }, bind);
      }
      command.Execute();
    }
    ReadRows(command, rows);
  });
}
