#include "scripted/ScriptedTest.h"

namespace {

constexpr wchar_t kColumns[] = L"select count(*) from information_schema.columns where table_name = 'grid'";
constexpr wchar_t kCreate[] =
    L"create table if not exists grid (col_0 text,col_1 text,row_num int not null primary key)";
constexpr wchar_t kDrop[] = L"drop table grid";
constexpr wchar_t kCount[] = L"select count(*) from grid";

const scripted::Failure kMissing = {3, 7, L"ERROR:  table \"grid\" does not exist"};

class GridTables : public ScriptedTest {
 protected:
  void HasColumns(const wchar_t* count) { server.Answer(kColumns, {{count}}); }
};

// Counts its drops instead of sending them.
class DropCounter : public TirelScada {
 public:
  DropCounter() : TirelScada(L"127.0.0.1", 5432, L"scada", L"operator", L"secret") {}
  bool DropGridTable(const wchar_t* table) override {
    dropped.emplace_back(table);
    return false;
  }
  Texts dropped;
};

// ---- Create ----

TEST_F(GridTables, ATableWithTheColumnsAskedForIsNotDropped) {
  HasColumns(L"3");
  EXPECT_TRUE(dbms->CreateGridTable(L"grid", 2));
  EXPECT_EQ(server.Statements(), (Texts{kColumns, kCreate}));
}

TEST_F(GridTables, ATableWithOtherColumnsIsDroppedAndRecreated) {
  for (const wchar_t* count : {L"1", L"2", L"4"}) {
    server.Forget();
    HasColumns(count);
    EXPECT_TRUE(dbms->CreateGridTable(L"grid", 2));
    EXPECT_EQ(server.Statements(), (Texts{kColumns, kDrop, kCreate}));
  }
}

TEST_F(GridTables, TheLastCountDecides) {
  server.Answer(kColumns, {{L"7"}, {L"3"}});
  EXPECT_TRUE(dbms->CreateGridTable(L"grid", 2));
  EXPECT_EQ(server.Statements(), (Texts{kColumns, kCreate}));
}

TEST_F(GridTables, NoCountAtAllIsZero) {
  EXPECT_TRUE(dbms->CreateGridTable(L"grid", 2));
  EXPECT_EQ(server.Statements(), (Texts{kColumns, kDrop, kCreate}));
}

TEST_F(GridTables, ATableWithoutCellsHasTheRowNumberAlone) {
  HasColumns(L"1");
  EXPECT_TRUE(dbms->CreateGridTable(L"grid", 0));
  EXPECT_EQ(server.Statements(),
            (Texts{kColumns, L"create table if not exists grid (row_num int not null primary key)"}));
}

TEST_F(GridTables, ColumnsAreNumberedInDecimal) {
  HasColumns(L"13");
  EXPECT_TRUE(dbms->CreateGridTable(L"grid", 12));
  EXPECT_EQ(
      server.Statements().back(),
      L"create table if not exists grid (col_0 text,col_1 text,col_2 text,col_3 text,col_4 text,col_5 text,col_6 text,col_7 text,col_8 text,col_9 text,col_10 text,col_11 text,row_num int not null primary key)");
}

TEST_F(GridTables, KeepsTheDropOnAFreshDatabaseAndItsText) {
  HasColumns(L"0");
  server.FailStatement(2, kMissing);
  EXPECT_TRUE(dbms->CreateGridTable(L"grid", 2));
  EXPECT_EQ(server.Statements(), (Texts{kColumns, kDrop, kCreate}));
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  table \"grid\" does not exist");
  EXPECT_EQ(debugLines, Texts{L"on exception(3, 7) - ERROR:  table \"grid\" does not exist\n"});
}

TEST_F(GridTables, TheDropIsReachedThroughTheVirtualTable) {
  DropCounter derived;
  EXPECT_TRUE(derived.CreateGridTable(L"grid", 2));
  EXPECT_EQ(derived.dropped, Texts{L"grid"});
  EXPECT_EQ(server.Statements(), (Texts{kColumns, kCreate}));
}

TEST_F(GridTables, AFailedColumnCountEndsTheCreation) {
  server.FailStatement(1);
  EXPECT_FALSE(dbms->CreateGridTable(L"grid", 2));
  EXPECT_EQ(server.Statements(), Texts{kColumns});
}

TEST_F(GridTables, AFailedCreateStatementEndsTheCreation) {
  HasColumns(L"9");
  server.FailStatement(3, {3, 7, L"ERROR:  permission denied"});
  EXPECT_FALSE(dbms->CreateGridTable(L"grid", 2));
  EXPECT_EQ(server.Statements(), (Texts{kColumns, kDrop, kCreate}));
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  permission denied");
}

TEST_F(GridTables, AServerLostUnderTheDropEndsTheCreationAndTheNextCallConnectsElsewhere) {
  dbms->hostSelector = [](const wchar_t*) { return L"standby"; };
  server.FailStatement(2, {3, 7, L"server closed the connection unexpectedly"});
  server.alive = false;
  EXPECT_FALSE(dbms->CreateGridTable(L"grid", 2));
  EXPECT_EQ(server.Statements(), (Texts{kColumns, kDrop}));
  EXPECT_EQ(server.connects.size(), 1u);
  EXPECT_EQ(debugLines, (Texts{L"on exception(3, 7) - server closed the connection unexpectedly\n",
                               L"on exception(2, 0) - not connected\n"}));

  server.alive = true;
  HasColumns(L"3");
  EXPECT_TRUE(dbms->CreateGridTable(L"grid", 2));
  EXPECT_EQ(server.connects.back(), L"standby,5432@scada operator secret 10");
}

TEST_F(GridTables, KeepsNamesAsTheyAre) {
  EXPECT_TRUE(dbms->CreateGridTable(L"it's", 1));
  EXPECT_EQ(
      server.Statements(),
      (Texts{L"select count(*) from information_schema.columns where table_name = 'it's'", L"drop table it's",
             L"create table if not exists it's (col_0 text,row_num int not null primary key)"}));
}

// ---- Drop and clear ----

TEST_F(GridTables, DropAndClearSendOneStatement) {
  EXPECT_TRUE(dbms->DropGridTable(L"grid"));
  EXPECT_TRUE(dbms->ClearGridTable(L"grid"));
  EXPECT_EQ(server.Statements(), (Texts{kDrop, L"delete from grid"}));
}

TEST_F(GridTables, AFailedDropIsAFailure) {
  server.FailStatement(1, kMissing);
  EXPECT_FALSE(dbms->DropGridTable(L"grid"));
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  table \"grid\" does not exist");
}

// ---- Empty rows ----

TEST_F(GridTables, EmptyRowsAreInsertedOneByOne) {
  EXPECT_TRUE(dbms->InsertEmptyGridRows(L"grid", 2, 3));
  EXPECT_EQ(server.Statements(),
            (Texts{L"insert into grid values ('', '', 1)", L"insert into grid values ('', '', 2)",
                   L"insert into grid values ('', '', 3)"}));
}

TEST_F(GridTables, AnEmptyRowWithoutCellsHasItsNumber) {
  EXPECT_TRUE(dbms->InsertEmptyGridRows(L"grid", 0, 1));
  EXPECT_EQ(server.Statements(), Texts{L"insert into grid values (1)"});
}

TEST_F(GridTables, NoEmptyRowsSendNothing) {
  EXPECT_TRUE(dbms->InsertEmptyGridRows(L"grid", 2, 0));
  EXPECT_TRUE(server.sent.empty());
  EXPECT_EQ(server.connects.size(), 1u);
}

TEST_F(GridTables, NoEmptyRowsOnAServerOutOfReachAreAFailure) {
  server.RefuseConnections({3, 1, L"refused"});
  EXPECT_FALSE(dbms->InsertEmptyGridRows(L"grid", 2, 0));
}

TEST_F(GridTables, KeepsNumberingEmptyRowsFromOneOnEveryCall) {
  EXPECT_TRUE(dbms->InsertEmptyGridRows(L"grid", 1, 2));
  server.FailStatement(1, {3, 7, L"ERROR:  duplicate key"});
  EXPECT_FALSE(dbms->InsertEmptyGridRows(L"grid", 1, 2));
  EXPECT_EQ(server.Statements(),
            (Texts{L"insert into grid values ('', 1)", L"insert into grid values ('', 2)",
                   L"insert into grid values ('', 1)"}));
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  duplicate key");
}

// ---- Cells ----

TEST_F(GridTables, ACellIsUpdatedByItsColumnAndRow) {
  EXPECT_TRUE(dbms->UpdateGridCell(L"grid", 1, 7, L"42 °C"));
  EXPECT_TRUE(dbms->UpdateGridCell(L"grid", 12, 2147483647, L""));
  EXPECT_EQ(server.Statements(), (Texts{L"update grid set col_0 = '42 °C' where row_num = 7",
                                        L"update grid set col_11 = '' where row_num = 2147483647"}));
}

TEST_F(GridTables, ACellTextWithAColonIsNoParameter) {
  EXPECT_TRUE(dbms->UpdateGridCell(L"grid", 1, 1, L"at :1 or 10:30"));
  EXPECT_EQ(server.Statements(), Texts{L"update grid set col_0 = 'at :1 or 10:30' where row_num = 1"});
  EXPECT_TRUE(server.sent[0].binds.empty());
}

TEST_F(GridTables, KeepsQuotesInCellsAsTheyAre) {
  ASSERT_TRUE(dbms->Connect());
  server.FailStatement(1, {3, 7, L"ERROR:  syntax error"});
  EXPECT_FALSE(dbms->UpdateGridCell(L"grid", 2, 3, L"it's"));
  EXPECT_EQ(server.Statements(), Texts{L"update grid set col_1 = 'it's' where row_num = 3"});
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  syntax error");
}

TEST_F(GridTables, ACellIsReadByItsFieldNumber) {
  const Texts statement = {L"select * from grid where row_num = 5"};
  server.Answer(statement[0], {{L"first", L"second", L"5"}});
  std::wstring value = L"before";
  EXPECT_TRUE(dbms->GetGridCell(L"grid", 1, 5, value));
  EXPECT_EQ(value, L"first");
  EXPECT_TRUE(dbms->GetGridCell(L"grid", 2, 5, value));
  EXPECT_EQ(value, L"second");
  EXPECT_EQ(server.Statements(), (Texts{statement[0], statement[0]}));
}

TEST_F(GridTables, TheFieldAfterTheCellsIsTheRowNumber) {
  server.Answer(L"select * from grid where row_num = 5", {{L"first", L"second", L"5"}});
  std::wstring value;
  EXPECT_TRUE(dbms->GetGridCell(L"grid", 3, 5, value));
  EXPECT_EQ(value, L"5");
}

TEST_F(GridTables, ACellOfAMissingRowIsEmpty) {
  std::wstring value = L"before";
  EXPECT_TRUE(dbms->GetGridCell(L"grid", 1, 5, value));
  EXPECT_EQ(value, L"");
}

TEST_F(GridTables, ANullCellIsEmpty) {
  server.Answer(L"select * from grid where row_num = 5", {{std::nullopt, L"5"}});
  std::wstring value = L"before";
  EXPECT_TRUE(dbms->GetGridCell(L"grid", 1, 5, value));
  EXPECT_EQ(value, L"");
}

TEST_F(GridTables, AColumnOutsideTheTableIsAFailureAndLeavesTheValue) {
  server.Answer(L"select * from grid where row_num = 5", {{L"first", L"5"}});
  for (const int column : {-1, 0, 3}) {
    std::wstring value = L"before";
    EXPECT_FALSE(dbms->GetGridCell(L"grid", column, 5, value));
    EXPECT_EQ(value, L"before");
  }
}

// ---- Rows ----

TEST_F(GridTables, KeepsTheRowNumberFromTheCount) {
  server.Answer(kCount, {{L"4"}});
  EXPECT_TRUE(dbms->AppendGridRow(L"grid", L"'a', 'b'"));
  EXPECT_EQ(server.Statements(), (Texts{kCount, L"insert into grid values ('a', 'b', 5)"}));
}

TEST_F(GridTables, TheFirstAppendedRowIsNumberOne) {
  server.Answer(kCount, {{L"0"}});
  EXPECT_TRUE(dbms->AppendGridRow(L"grid", L"'a'"));
  EXPECT_EQ(server.Statements(), (Texts{kCount, L"insert into grid values ('a', 1)"}));
}

TEST_F(GridTables, NoRowOfTheCountIsZero) {
  EXPECT_TRUE(dbms->AppendGridRow(L"grid", L"'a'"));
  EXPECT_EQ(server.Statements().back(), L"insert into grid values ('a', 1)");
}

TEST_F(GridTables, TheLastRowOfTheCountIsTaken) {
  server.Answer(kCount, {{L"9"}, {L"2"}});
  EXPECT_TRUE(dbms->AppendGridRow(L"grid", L"'a'"));
  EXPECT_EQ(server.Statements().back(), L"insert into grid values ('a', 3)");
}

TEST_F(GridTables, TheRowCountIsCutTo32Bits) {
  int count = -1;
  server.Answer(kCount, {{L"17"}});
  EXPECT_TRUE(dbms->GetGridRowCount(L"grid", count));
  EXPECT_EQ(count, 17);
  server.Answer(kCount, {{L"4294967301"}});
  EXPECT_TRUE(dbms->GetGridRowCount(L"grid", count));
  EXPECT_EQ(count, 5);
  EXPECT_EQ(server.Statements(), (Texts{kCount, kCount}));
}

TEST_F(GridTables, WithoutAnAnswerTheNumberOfRowsStays) {
  int count = 3;
  EXPECT_TRUE(dbms->GetGridRowCount(L"grid", count));
  EXPECT_EQ(count, 3);
  server.FailStatement(1);
  EXPECT_FALSE(dbms->GetGridRowCount(L"grid", count));
  EXPECT_EQ(count, 3);
}

}  // namespace
