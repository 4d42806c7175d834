#include "Csv.h"

#include <gtest/gtest.h>

#include <sstream>

namespace plant {
namespace {

using Row = std::vector<std::string>;

std::vector<Row> ReadAll(const std::string& text) {
  std::istringstream in(text);
  CsvReader reader(in);
  std::vector<Row> rows;
  for (Row row; reader.ReadRow(row);) rows.push_back(row);
  return rows;
}

struct Damage {
  std::string text;
  std::string what;
  std::size_t line;
  std::size_t column;
};

TEST(Csv, ReadsRowsAndCells) {
  EXPECT_EQ(ReadAll(""), std::vector<Row>{});
  EXPECT_EQ(ReadAll("\n"), std::vector<Row>{{""}});
  EXPECT_EQ(ReadAll("a,b"), (std::vector<Row>{{"a", "b"}}));
  EXPECT_EQ(ReadAll("a,b\n1,2\n"), (std::vector<Row>{{"a", "b"}, {"1", "2"}}));
  EXPECT_EQ(ReadAll("a,b\r\n1,2\r\n"), (std::vector<Row>{{"a", "b"}, {"1", "2"}}));
  EXPECT_EQ(ReadAll(",\n,,\n"), (std::vector<Row>{{"", ""}, {"", "", ""}}));
  EXPECT_EQ(ReadAll("a\n\nb"), (std::vector<Row>{{"a"}, {""}, {"b"}}));
  EXPECT_EQ(ReadAll(" a , b "), (std::vector<Row>{{" a ", " b "}}));
  EXPECT_EQ(ReadAll("a\rb,c\r"), (std::vector<Row>{{"a\rb", "c\r"}}));
}

TEST(Csv, ReadsQuotedCells) {
  EXPECT_EQ(ReadAll("\"a\",\"\"\n"), (std::vector<Row>{{"a", ""}}));
  EXPECT_EQ(ReadAll("\"a,b\",c\n"), (std::vector<Row>{{"a,b", "c"}}));
  EXPECT_EQ(ReadAll("\"say \"\"yes\"\"\"\r\n"), (std::vector<Row>{{"say \"yes\""}}));
  EXPECT_EQ(ReadAll("\"two\r\nlines\",b\nc,d"), (std::vector<Row>{{"two\r\nlines", "b"}, {"c", "d"}}));
  EXPECT_EQ(ReadAll("\"\"\"\""), (std::vector<Row>{{"\""}}));
}

TEST(Csv, SkipsAByteOrderMark) {
  EXPECT_EQ(ReadAll("\xEF\xBB\xBFtime,a\n"), (std::vector<Row>{{"time", "a"}}));
  EXPECT_EQ(ReadAll("\xEF\xBB\xBF"), std::vector<Row>{});
}

TEST(Csv, CountsLinesAndBytes) {
  std::istringstream in("\xEF\xBB\xBFh\r\n\"a\nb\"\nc\n");
  CsvReader reader(in);
  Row row;
  ASSERT_TRUE(reader.ReadRow(row));
  EXPECT_EQ(reader.line(), 1u);
  EXPECT_EQ(reader.bytes(), 6u);
  ASSERT_TRUE(reader.ReadRow(row));
  EXPECT_EQ(reader.line(), 2u);
  ASSERT_TRUE(reader.ReadRow(row));
  EXPECT_EQ(reader.line(), 4u);
  EXPECT_EQ(reader.bytes(), 14u);
  EXPECT_FALSE(reader.ReadRow(row));
}

TEST(Csv, SaysWhereItIsDamaged) {
  const std::string long_cell(64 * 1024 + 1, 'x');
  for (const Damage& damage : {Damage{"a,b\n1,\"2", "the quote that opens the cell is never closed", 2, 2},
                               {"a\n\"1\n2\n3", "the quote that opens the cell is never closed", 2, 1},
                               {"a,b\n1,2\"3\n", "a quote stands inside a cell that is not quoted", 2, 2},
                               {"\"a\"b,c\n", "the cell goes on behind its closing quote", 1, 1},
                               {"a\n\"x\ny\",\"z\" \n", "the cell goes on behind its closing quote", 3, 2},
                               {"\"a\"\rb\n", "the cell goes on behind its closing quote", 1, 1},
                               {"a,b\n1," + long_cell, "the cell is longer than 65,536 bytes", 2, 2}}) {
    try {
      ReadAll(damage.text);
      ADD_FAILURE() << "read " << damage.text;
    } catch (const CsvError& error) {
      EXPECT_EQ(error.what(), damage.what) << damage.text.substr(0, 40);
      EXPECT_EQ(error.line, damage.line) << damage.text.substr(0, 40);
      EXPECT_EQ(error.column, damage.column) << damage.text.substr(0, 40);
    }
  }
}

}  // namespace
}  // namespace plant
