#include <gtest/gtest.h>

#include <sstream>

#include "Progress.h"
#include "Table.h"
#include "Terminal.h"
#include "Text.h"

namespace plant {
namespace {

Table MakeTable() {
  using enum Table::Align;
  Table table({{"tag", Left}, {"samples"}, {"mean", Right, true}, {"course", Left, true}}, 20);
  table.AddRow({"Höhe", "1,000", "12.50", ""});
  table.AddRow({"P", "7", "–", ""});
  return table;
}

TEST(Table, LinesUpItsColumns) {
  std::ostringstream out;
  Terminal terminal(out, false, false, 44);
  Table table = MakeTable();
  table.AddRemark("a remark");
  ASSERT_EQ(table.WidthOfLast(terminal), 18u);
  table.SetLast(0, "▁▂▃▄▅▆▇█▁▂▃▄▅▆▇█▁▂");
  table.Print(terminal);
  EXPECT_EQ(out.str(),
            "───────────────┬───────┬────────────────────\n"
            " tag   samples │  mean │ course\n"
            "───────────────┼───────┼────────────────────\n"
            " Höhe    1,000 │ 12.50 │ ▁▂▃▄▅▆▇█▁▂▃▄▅▆▇█▁▂\n"
            " P           7 │     – │ \n"
            "   a remark\n"
            "───────────────┴───────┴────────────────────\n");
}

TEST(Table, MovesItsColumnsTogetherWhereItIsNarrow) {
  std::ostringstream out;
  Terminal terminal(out, false, false, 40);
  const Table table = MakeTable();
  EXPECT_EQ(table.WidthOfLast(terminal), 15u);
  table.Print(terminal);
  EXPECT_NE(out.str().find("\n tag  samples │  mean │ course\n"), std::string::npos) << out.str();
}

TEST(Table, CutsWhatIsTooLong) {
  std::ostringstream out;
  Terminal terminal(out, false, false, 40);
  Table table({{"tag", Table::Align::Left}, {"course", Table::Align::Left, true}}, 6);
  table.AddRow({"PUMP.SPEED", ""});
  table.Print(terminal);
  EXPECT_NE(out.str().find("\n PUMP.… │ \n"), std::string::npos) << out.str();
}

TEST(Table, MakesRoomForItsLastColumn) {
  std::ostringstream out;
  Terminal terminal(out, false, false, 44);
  Table table(
      {{"tag", Table::Align::Left}, {"longest", Table::Align::Right, true}, {"from", Table::Align::Left}},
      20);
  table.AddRow({"PUMP.PRESSURE_BAR", "5 s", "2026-11-21 21:02"});
  table.MakeRoom(terminal, 12);
  table.Print(terminal);
  EXPECT_NE(out.str().find("\n PUMP.PRESSURE_… │     5 s 2026-11-21 21:02\n"), std::string::npos)
      << out.str();
  table.AddRow({"T", "5 s", "2026-11-21 21:02:14.005"});
  table.MakeRoom(terminal, 12);
  out.str({});
  table.Print(terminal);
  EXPECT_NE(out.str().find("\n PUMP.PRESSU… │"), std::string::npos) << out.str();
  EXPECT_NE(out.str().find("2026-11-21 21:02:1…\n"), std::string::npos) << out.str();
}

TEST(Terminal, IsPlainForAFile) {
  std::ostringstream out;
  Terminal terminal(out, false, false, 80);
  Progress progress(terminal, "load", 100);
  progress.Show(50, 10, 20);
  EXPECT_EQ(out.str(), "");
  terminal.Fact("server", "up\nand running");
  EXPECT_EQ(out.str(), " server     up and running\n");
}

TEST(Terminal, TakesADrawingAwayBeforeTheNextLine) {
  std::ostringstream out;
  Terminal terminal(out, true, false, 80);
  terminal.Redraw("50 %");
  terminal.Line("done");
  EXPECT_EQ(out.str(), "\r50 %\x1b[K\r\x1b[Kdone\n");
}

TEST(Progress, FitsTheTerminal) {
  std::ostringstream out;
  Terminal terminal(out, true, false, 80);
  Progress progress(terminal, "read back", 1'000'000'000);
  progress.Show(999'999, 12'345'678, 999'999'999);
  const std::string drawn = out.str().substr(out.str().rfind('\r') + 1);
  EXPECT_LE(DisplayWidth(drawn) - DisplayWidth("\x1b[K"), 80u);
  EXPECT_NE(drawn.find("12,345,678 rows"), std::string::npos);
}

TEST(Bar, FillsInEighths) {
  EXPECT_EQ(Bar(0, 4, "░"), "░░░░");
  EXPECT_EQ(Bar(0.5, 4, "░"), "██░░");
  EXPECT_EQ(Bar(0.59375, 4, "░"), "██▍░");
  EXPECT_EQ(Bar(1, 4, "░"), "████");
  EXPECT_EQ(Bar(7, 4, "░"), "████");
  EXPECT_EQ(Bar(0.25, 4, ""), "█");
}

}  // namespace
}  // namespace plant
