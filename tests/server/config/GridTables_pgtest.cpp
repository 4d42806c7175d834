#include <SQLAPI.h>

#include "server/config/ConfigTest.h"

namespace {

using Lines = std::vector<std::string>;

class GridTables : public ConfigTest {
 protected:
  std::string Columns(const std::string& table) {
    return Value(
        "select string_agg(column_name || ' ' || data_type, ',' order by ordinal_position) "
        "from information_schema.columns where table_name = '" +
        table + "'");
  }

  std::wstring Cell(int column, int row) {
    std::wstring value = L"before";
    EXPECT_TRUE(dbms->GetGridCell(L"grid", column, row, value));
    return value;
  }

  int RowCount() {
    int count = -1;
    EXPECT_TRUE(dbms->GetGridRowCount(L"grid", count));
    return count;
  }
};

// ---- Create ----

TEST_F(GridTables, ColumnsOfTextAndTheRowNumberAreCreated) {
  ASSERT_TRUE(dbms->CreateGridTable(L"grid", 2));
  EXPECT_EQ(Columns("grid"), "col_0 text,col_1 text,row_num integer");
  EXPECT_EQ(
      Value(
          "select pg_get_constraintdef(oid) from pg_constraint where contype <> 'n' and conrelid = 'grid'::regclass"),
      "PRIMARY KEY (row_num)");
}

TEST_F(GridTables, AGridMayHaveNoColumns) {
  ASSERT_TRUE(dbms->CreateGridTable(L"grid", 0));
  EXPECT_EQ(Columns("grid"), "row_num integer");
  ASSERT_TRUE(dbms->InsertEmptyGridRows(L"grid", 0, 3));
  EXPECT_EQ(RowCount(), 3);
  EXPECT_EQ(Cell(1, 2), L"2");
}

TEST_F(GridTables, AGridOfAHundredColumnsIsReadAndWritten) {
  ASSERT_TRUE(dbms->CreateGridTable(L"grid", 100));
  ASSERT_TRUE(dbms->InsertEmptyGridRows(L"grid", 100, 2));
  for (int column = 1; column <= 100; ++column) {
    ASSERT_TRUE(dbms->UpdateGridCell(L"grid", column, 2, std::to_wstring(column).c_str()));
  }
  for (int column = 1; column <= 100; ++column) {
    EXPECT_EQ(Cell(column, 1), L"");
    EXPECT_EQ(Cell(column, 2), std::to_wstring(column));
  }
  EXPECT_EQ(Value("select col_0 || ' ' || col_99 from grid where row_num = 2"), "1 100");
}

TEST_F(GridTables, TheSameColumnsKeepTheRows) {
  ASSERT_TRUE(dbms->CreateGridTable(L"grid", 3));
  ASSERT_TRUE(dbms->AppendGridRow(L"grid", L"'a', 'b', 'c'"));
  ASSERT_TRUE(dbms->CreateGridTable(L"grid", 3));
  EXPECT_EQ(Rows("select * from grid"), Lines{"a|b|c|1"});
}

TEST_F(GridTables, OtherColumnsDropTheTableAndItsRows) {
  ASSERT_TRUE(dbms->CreateGridTable(L"grid", 2));
  ASSERT_TRUE(dbms->AppendGridRow(L"grid", L"'a', 'b'"));
  debugLines.clear();
  ASSERT_TRUE(dbms->CreateGridTable(L"grid", 3));
  EXPECT_EQ(Columns("grid"), "col_0 text,col_1 text,col_2 text,row_num integer");
  EXPECT_EQ(RowCount(), 0);
  EXPECT_TRUE(debugLines.empty());
}

TEST_F(GridTables, KeepsTheTextOfTheDropOnAFreshDatabase) {
  EXPECT_TRUE(dbms->CreateGridTable(L"grid", 2));
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  table \"grid\" does not exist");
  EXPECT_EQ(debugLines,
            std::vector<std::wstring>{L"on exception(3, 7) - ERROR:  table \"grid\" does not exist\n"});
  EXPECT_EQ(RowCount(), 0);
}

TEST_F(GridTables, KeepsRecreatingATableWithCapitalsEveryTime) {
  ASSERT_TRUE(dbms->CreateGridTable(L"Grid", 1));
  ASSERT_TRUE(dbms->AppendGridRow(L"Grid", L"'a'"));
  ASSERT_TRUE(dbms->CreateGridTable(L"Grid", 1));
  EXPECT_EQ(RowCount(), 0);
}

TEST_F(GridTables, KeepsCountingTheColumnsOfAllSchemas) {
  ASSERT_TRUE(dbms->CreateGridTable(L"grid", 1));
  ASSERT_TRUE(dbms->AppendGridRow(L"grid", L"'a'"));
  Run("create schema archive; create table archive.grid (note text)");
  ASSERT_TRUE(dbms->CreateGridTable(L"grid", 1));
  EXPECT_EQ(RowCount(), 0);
}

TEST_F(GridTables, AServerLostUnderTheDropEndsTheCreationAndTheNextCallConnectsAgain) {
  ASSERT_TRUE(dbms->CreateGridTable(L"grid", 2));
  Run("create function lose_link() returns event_trigger language plpgsql as "
      "'begin perform pg_terminate_backend(pg_backend_pid()); end';"
      "create event trigger lose_link on ddl_command_start when tag in ('DROP TABLE') "
      "execute function lose_link()");
  int asked = 0;
  const std::wstring host = Host();
  dbms->hostSelector = [&](const wchar_t* current) {
    ++asked;
    EXPECT_EQ(current, host);
    return host.c_str();
  };
  debugLines.clear();
  EXPECT_FALSE(dbms->CreateGridTable(L"grid", 3));
  EXPECT_EQ(asked, 1);
  EXPECT_FALSE(dbms->GetConnection()->isConnected());
  ASSERT_EQ(debugLines.size(), 2u);
  EXPECT_TRUE(debugLines[0].starts_with(L"on exception(3, 7) - "));
  EXPECT_TRUE(debugLines[1].starts_with(L"on exception(2, "));
  EXPECT_EQ(Columns("grid"), "col_0 text,col_1 text,row_num integer");

  Run("drop event trigger lose_link");
  EXPECT_TRUE(dbms->CreateGridTable(L"grid", 3));
  EXPECT_EQ(Columns("grid"), "col_0 text,col_1 text,col_2 text,row_num integer");
}

// ---- Rows ----

TEST_F(GridTables, RowsAreAppendedAfterTheLast) {
  ASSERT_TRUE(dbms->CreateGridTable(L"grid", 2));
  EXPECT_TRUE(dbms->AppendGridRow(L"grid", L"'a', 'b'"));
  EXPECT_TRUE(dbms->InsertEmptyGridRows(L"grid", 2, 0));
  EXPECT_TRUE(dbms->AppendGridRow(L"grid", L"'c', 'it''s'"));
  EXPECT_EQ(Rows("select * from grid order by row_num"), (Lines{"a|b|1", "c|it's|2"}));
}

TEST_F(GridTables, AppendingAfterEmptyRowsContinuesTheirNumbers) {
  ASSERT_TRUE(dbms->CreateGridTable(L"grid", 1));
  ASSERT_TRUE(dbms->InsertEmptyGridRows(L"grid", 1, 4));
  ASSERT_TRUE(dbms->AppendGridRow(L"grid", L"'a'"));
  EXPECT_EQ(Rows("select * from grid order by row_num"), (Lines{"|1", "|2", "|3", "|4", "a|5"}));
}

TEST_F(GridTables, KeepsTheRowNumberFromTheCount) {
  ASSERT_TRUE(dbms->CreateGridTable(L"grid", 1));
  ASSERT_TRUE(dbms->InsertEmptyGridRows(L"grid", 1, 3));
  Run("delete from grid where row_num = 1");
  EXPECT_FALSE(dbms->AppendGridRow(L"grid", L"'a'"));
  EXPECT_TRUE(LastErrorSays(L"duplicate key"));
  EXPECT_EQ(RowCount(), 2);
}

TEST_F(GridTables, KeepsNumberingEmptyRowsFromOne) {
  ASSERT_TRUE(dbms->CreateGridTable(L"grid", 1));
  Run("insert into grid values ('old', 3)");
  EXPECT_FALSE(dbms->InsertEmptyGridRows(L"grid", 1, 5));
  EXPECT_TRUE(LastErrorSays(L"duplicate key"));
  EXPECT_EQ(Rows("select * from grid order by row_num"), (Lines{"|1", "|2", "old|3"}));
}

TEST_F(GridTables, AWrongNumberOfCellsIsRefused) {
  ASSERT_TRUE(dbms->CreateGridTable(L"grid", 2));
  EXPECT_FALSE(dbms->AppendGridRow(L"grid", L"'a', 'b', 'c'"));
  EXPECT_FALSE(dbms->InsertEmptyGridRows(L"grid", 3, 1));
  EXPECT_EQ(RowCount(), 0);
}

TEST_F(GridTables, ClearingLeavesTheTable) {
  ASSERT_TRUE(dbms->CreateGridTable(L"grid", 1));
  ASSERT_TRUE(dbms->InsertEmptyGridRows(L"grid", 1, 3));
  EXPECT_TRUE(dbms->ClearGridTable(L"grid"));
  EXPECT_EQ(RowCount(), 0);
  EXPECT_TRUE(dbms->InsertEmptyGridRows(L"grid", 1, 3));
  EXPECT_TRUE(dbms->DropGridTable(L"grid"));
  EXPECT_FALSE(dbms->ClearGridTable(L"grid"));
  EXPECT_TRUE(LastErrorSays(L"\"grid\" does not exist"));
}

// ---- Cells ----

TEST_F(GridTables, CellsHoldTextsOfEveryKind) {
  ASSERT_TRUE(dbms->CreateGridTable(L"grid", 1));
  ASSERT_TRUE(dbms->InsertEmptyGridRows(L"grid", 1, 1));
  for (const wchar_t* text : {L"", L"{} {0} %s", L"at :1, 10:30", L"C:\\grids\\1", L"$1 $$ --",
                              L"a\nb\t\"c\"", L"2024::int", kEveryPlane}) {
    EXPECT_TRUE(dbms->UpdateGridCell(L"grid", 1, 1, text));
    EXPECT_EQ(Cell(1, 1), text);
  }
  EXPECT_EQ(Value("select col_0 from grid"), EveryPlane());
}

TEST_F(GridTables, KeepsQuotesInCellsWhichTheServerRefuses) {
  ASSERT_TRUE(dbms->CreateGridTable(L"grid", 1));
  ASSERT_TRUE(dbms->InsertEmptyGridRows(L"grid", 1, 1));
  EXPECT_FALSE(dbms->UpdateGridCell(L"grid", 1, 1, L"it's"));
  EXPECT_EQ(Cell(1, 1), L"");
}

TEST_F(GridTables, AMissingRowIsNoFailure) {
  ASSERT_TRUE(dbms->CreateGridTable(L"grid", 1));
  EXPECT_TRUE(dbms->UpdateGridCell(L"grid", 1, 7, L"x"));
  EXPECT_EQ(Cell(1, 7), L"");
  EXPECT_EQ(RowCount(), 0);
}

TEST_F(GridTables, AMissingColumnIsAFailure) {
  ASSERT_TRUE(dbms->CreateGridTable(L"grid", 1));
  ASSERT_TRUE(dbms->InsertEmptyGridRows(L"grid", 1, 1));
  EXPECT_FALSE(dbms->UpdateGridCell(L"grid", 2, 1, L"x"));
  std::wstring value = L"before";
  for (const int column : {-1, 0, 3}) EXPECT_FALSE(dbms->GetGridCell(L"grid", column, 1, value));
  EXPECT_EQ(value, L"before");
  EXPECT_EQ(Cell(1, 1), L"");
}

TEST_F(GridTables, ANullCellMadeByHandIsEmpty) {
  ASSERT_TRUE(dbms->CreateGridTable(L"grid", 2));
  Run("insert into grid values (null, 'x', 1)");
  EXPECT_EQ(Cell(1, 1), L"");
  EXPECT_EQ(Cell(2, 1), L"x");
}

}  // namespace
