#include "DbmsAPI/frame/Format.h"
#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/Sql.h"

// A grid table holds text cells, col_0 and up, and the number of each row. Clients count columns from 1.
//
// Kept: names and cell values are spliced; a quote in one damages its statement. The first {} of a statement
// is its table.

namespace {

constexpr wchar_t kCountColumns[] =
    L"select count(*) from information_schema.columns where table_name = '{}'";
constexpr wchar_t kCreateGridTable[] = L"create table if not exists {} ({}row_num int not null primary key)";
// {}: number of the column, from 0.
constexpr wchar_t kGridColumn[] = L"col_{} text,";

constexpr wchar_t kDropGridTable[] = L"drop table {}";

// Further {}: empty cells, row.
constexpr wchar_t kInsertEmptyRow[] = L"insert into {} values ({}{})";
constexpr wchar_t kEmptyCell[] = L"'', ";

// Further {}: number of the column from 0, text, row.
constexpr wchar_t kUpdateGridCell[] = L"update {} set col_{} = '{}' where row_num = {}";

constexpr wchar_t kCountRows[] = L"select count(*) from {}";
// Further {}: list of the cells, row.
constexpr wchar_t kInsertRow[] = L"insert into {} values ({}, {})";

constexpr wchar_t kSelectRow[] = L"select * from {} where row_num = {}";

constexpr wchar_t kClearGridTable[] = L"delete from {}";

std::wstring CreateStatement(const wchar_t* table, int columnCount) {
  std::wstring columns;
  for (int i = 0; i < columnCount; ++i) columns += Format(kGridColumn, i);
  return Format(kCreateGridTable, table, columns);
}

std::wstring EmptyRowStatement(const wchar_t* table, int columnCount, std::int64_t row) {
  std::wstring cells;
  for (int i = 0; i < columnCount; ++i) cells += kEmptyCell;
  return Format(kInsertEmptyRow, table, cells, row);
}

}  // namespace

bool TirelScada::CreateGridTable(const wchar_t* table, int columnCount) {
  return Run([&](SACommand& command) {
    Require({{L"table", table}});
    // Kept: the name is looked up as it is written, but the server folds unquoted names to lower case. A
    // table whose name has capitals is never found, so each call drops it and makes an empty one. The columns
    // of same-named tables in all schemas are counted together.
    const std::int64_t columns = FetchNumber(command, Format(kCountColumns, table), 0);
    // Kept: the table is dropped even when it does not exist. That failure leaves its text in lastError and
    // does not stop the creation.
    if (columns - 1 != columnCount) DropGridTable(table);
    Execute(command, CreateStatement(table, columnCount));
  });
}

bool TirelScada::DropGridTable(const wchar_t* table) {
  return Run([&](SACommand& command) {
    Require({{L"table", table}});
    Execute(command, Format(kDropGridTable, table));
  });
}

// Kept: rows are numbered from 1 on every call, so a table that already has rows refuses the first one.
bool TirelScada::InsertEmptyGridRows(const wchar_t* table, int columnCount, int rowCount) {
  return Run([&](SACommand&) {
    Require({{L"table", table}});
    for (std::int64_t row = 1; row <= rowCount; ++row) {
      SACommand command(connection.get());
      Execute(command, EmptyRowStatement(table, columnCount, row));
    }
  });
}

bool TirelScada::UpdateGridCell(const wchar_t* table, int column, int row, const wchar_t* value) {
  return Run([&](SACommand& command) {
    Require({{L"table", table}, {L"value", value}});
    Execute(command, Format(kUpdateGridCell, table, std::int64_t{column} - 1, value, row));
  });
}

// Kept: the row's number is the count of rows plus one. That number is free only while rows are numbered
// without gaps.
bool TirelScada::AppendGridRow(const wchar_t* table, const wchar_t* values) {
  return Run([&](SACommand& command) {
    Require({{L"table", table}, {L"values", values}});
    const std::int64_t count = FetchNumber(command, Format(kCountRows, table), 0);
    Execute(command, Format(kInsertRow, table, values, count + 1));
  });
}

bool TirelScada::GetGridCell(const wchar_t* table, int column, int row, std::wstring& value) {
  return Run([&](SACommand& command) {
    Require({{L"table", table}});
    if (FetchFirst(command, Format(kSelectRow, table, row))) {
      value = command.Field(column).asString();
    } else {
      value.clear();
    }
  });
}

bool TirelScada::GetGridRowCount(const wchar_t* table, int& count) {
  return Run([&](SACommand& command) {
    Require({{L"table", table}});
    if (FetchFirst(command, Format(kCountRows, table))) count = static_cast<int>(command.Field(1).asInt64());
  });
}

bool TirelScada::ClearGridTable(const wchar_t* table) {
  return Run([&](SACommand& command) {
    Require({{L"table", table}});
    Execute(command, Format(kClearGridTable, table));
  });
}
