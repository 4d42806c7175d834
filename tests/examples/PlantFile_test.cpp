#include "PlantFile.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <filesystem>

#include "Time.h"
#include "platform/Process.h"

namespace plant {
namespace {

class PlantFileTest : public testing::Test {
 protected:
  PlantFileTest() { SetZone("UTC"); }
  ~PlantFileTest() override { std::filesystem::remove(path_); }

  const std::string& Write(const std::string& text) {
    std::ofstream(path_, std::ios::binary) << text;
    return path_;
  }

  // What is said of a file, behind its name.
  std::string ErrorOf(const std::string& text) {
    try {
      PlantFile file(Write(text));
      while (!file.ReadRows(2).empty()) {
      }
      return "nothing";
    } catch (const FileError& error) {
      const std::string what = error.what();
      return what.starts_with(path_ + ": ") ? what.substr(path_.size() + 2) : what;
    }
  }

  const std::string path_ = (std::filesystem::temp_directory_path() /
                             ("plant_file_test_" + std::to_string(platform::ProcessId()) + ".csv"))
                                .string();
};

TEST_F(PlantFileTest, ReadsTagsAndRows) {
  PlantFile file(
      Write("date,PUMP.SPEED,\"TANK, LEVEL\"\n2023-11-14 22:13:20,1.5,-2e3\n2023-11-14T22:13:21.5Z,,0\n"));
  EXPECT_EQ(file.tags(), (std::vector<std::string>{"PUMP.SPEED", "TANK, LEVEL"}));
  PlantRow row;
  ASSERT_TRUE(file.ReadRow(row));
  EXPECT_EQ(row.time_ms, 1700000000000);
  EXPECT_EQ(row.values, (std::vector<double>{1.5, -2000}));
  EXPECT_EQ(row.line, 2u);
  ASSERT_TRUE(file.ReadRow(row));
  EXPECT_EQ(row.time_ms, 1700000001500);
  EXPECT_EQ(row.values, (std::vector<double>{DBL_MAX, 0}));
  EXPECT_FALSE(file.ReadRow(row));
  EXPECT_EQ(file.bytes_read(), file.bytes());
}

TEST_F(PlantFileTest, ReadsRowsInBatches) {
  PlantFile file(Write("time,a\n2023-11-14 22:13:20,1\n2023-11-14 22:13:21,2\n2023-11-14 22:13:22,3\n"));
  EXPECT_EQ(file.ReadRows(2).size(), 2u);
  const auto rest = file.ReadRows(2);
  ASSERT_EQ(rest.size(), 1u);
  EXPECT_EQ(rest[0].values[0], 3);
  EXPECT_TRUE(file.ReadRows(2).empty());
}

TEST_F(PlantFileTest, KeepsWhatTheLibraryLeavesOut) {
  PlantFile file(Write("time,a,b\n1969-12-31T00:00:00Z,nan,-inf\n"));
  PlantRow row;
  ASSERT_TRUE(file.ReadRow(row));
  EXPECT_LT(row.time_ms, 0);
  EXPECT_TRUE(std::isnan(row.values[0]));
  EXPECT_TRUE(std::isinf(row.values[1]));
}

TEST_F(PlantFileTest, HoldsNoRowsWhenThereAreNone) {
  PlantFile file(Write("time,a\n"));
  EXPECT_TRUE(file.ReadRows(10).empty());
}

TEST_F(PlantFileTest, RefusesADamagedHeader) {
  EXPECT_EQ(ErrorOf(""), "line 1: the file is empty, where a header row should name the tags");
  EXPECT_EQ(ErrorOf("time\n"), "line 1: the header row names no tag, only the column of the time");
  EXPECT_EQ(ErrorOf("time,a,,b\n"), "line 1, column 3: the tag has no name");
  EXPECT_EQ(ErrorOf("time,a,\n"), "line 1, column 3: the tag has no name");
  EXPECT_EQ(ErrorOf("time,a, \n"), "line 1, column 3: the tag has no name");
  EXPECT_EQ(ErrorOf("time,a,b,a\n"), "line 1, column 4: the tag \"a\" has a column already");
  EXPECT_EQ(ErrorOf("time,a\xFF\n"), "line 1, column 2: the tag name is not UTF-8");
  EXPECT_EQ(ErrorOf("time,a\x1B[31m\n"), "line 1, column 2: the tag name holds a control character");
  EXPECT_EQ(ErrorOf("time,o'clock\n"), "line 1, column 2: the tag name \"o'clock\" holds a single quote");
  EXPECT_EQ(ErrorOf("time,\"a\n"), "line 1, column 2: the quote that opens the cell is never closed");
}

TEST_F(PlantFileTest, RefusesADamagedRow) {
  const std::string good = "time,a,b\n2023-11-14 22:13:20,1,2\n";
  EXPECT_EQ(ErrorOf(good + "2023-11-14 22:13:21,1\n"),
            "line 3, column 3 (b): the row has 2 cells, the header row 3");
  EXPECT_EQ(ErrorOf(good + "2023-11-14 22:13:21,1,2,3\n"),
            "line 3, column 4: the row has 4 cells, the header row 3");
  EXPECT_EQ(ErrorOf(good + "\n"), "line 3, column 2 (a): the row has 1 cell, the header row 3");
  EXPECT_EQ(ErrorOf(good + "2023-11-14 22:13:21,1,twelve\n"),
            "line 3, column 3 (b): \"twelve\" is not a number");
  EXPECT_EQ(ErrorOf(good + "2023-11-14 22:13:21, 1,2\n"), "line 3, column 2 (a): \" 1\" is not a number");
  EXPECT_EQ(ErrorOf(good + "2023-11-14 22:13:21,1.5.2,2\n"),
            "line 3, column 2 (a): \"1.5.2\" is not a number");
  EXPECT_EQ(ErrorOf(good + "2023-11-14 22:13:21,1e999,2\n"),
            "line 3, column 2 (a): \"1e999\" is outside the range of a double");
  EXPECT_EQ(ErrorOf(good + "noon,1,2\n"), "line 3, column 1 (time): \"noon\" is not a time");
  EXPECT_EQ(ErrorOf(good + "2023-02-29 00:00,1,2\n"),
            "line 3, column 1 (time): \"2023-02-29 00:00\" is not a day of the calendar");
  EXPECT_EQ(ErrorOf("time,a\n2023-11-14 22:13:20,\"1\n\n\"\n"),
            "line 2, column 2 (a): \"1 \" is not a number");
  EXPECT_EQ(ErrorOf("time,a\n\"2023-11-14\n22:13:20\",1\n2023-11-14 22:13:20,x"),
            "line 2, column 1 (time): \"2023-11-14 22:13:20\" is not a time");
}

TEST_F(PlantFileTest, NamesTheLineBehindCellsOfSeveralLines) {
  EXPECT_EQ(ErrorOf("time,\"a\r\n\"\n"), "line 1, column 2: the tag name holds a control character");
  EXPECT_EQ(ErrorOf("\"time\nof day\",a\n2023-11-14 22:13:20,x\n"),
            "line 3, column 2 (a): \"x\" is not a number");
}

TEST_F(PlantFileTest, CutsWhatItQuotes) {
  const std::string long_text(100, '9');
  EXPECT_EQ(ErrorOf("time,a\n2023-11-14 22:13:20," + long_text + "x\n"),
            "line 2, column 2 (a): \"" + std::string(59, '9') + "…\" is not a number");
}

TEST_F(PlantFileTest, RefusesWhatIsNoFile) {
  try {
    PlantFile file("/nowhere/plant.csv");
    FAIL();
  } catch (const FileError& error) {
    EXPECT_STREQ(error.what(), "/nowhere/plant.csv: there is no such file");
  }
  try {
    PlantFile file("/");
    FAIL();
  } catch (const FileError& error) {
    EXPECT_STREQ(error.what(), "/: is not a file of data");
  }
}

}  // namespace
}  // namespace plant
