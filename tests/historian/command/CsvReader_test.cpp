#include "historian/command/csv/CsvReader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TemporaryFile.h"
#include "historian/command/Failure.h"

using namespace historian::command;

namespace {

using Rows = std::vector<std::vector<std::string>>;

struct Reading {
  Rows rows;
  std::vector<std::size_t> lines;
  std::vector<std::string> problems;
};

Reading Read(const std::string& content, char delimiter = ',', Encoding encoding = Encoding::Utf8) {
  const TemporaryFile file(content);
  ByteSource bytes(file.path());
  TextSource text(bytes, encoding);
  CsvReader reader(text, delimiter);
  Reading reading;
  for (std::vector<std::string_view> cells; reader.ReadRow(cells);) {
    reading.rows.emplace_back(cells.begin(), cells.end());
    reading.lines.push_back(reader.line());
    if (!reader.problem().what.empty()) {
      reading.problems.push_back(std::to_string(reader.problem().column) + ' ' + reader.problem().what);
    }
  }
  return reading;
}

TEST(CsvReader, DividesRowsAndCells) {
  EXPECT_EQ(Read("a,b,c\n1,,3\n").rows, (Rows{{"a", "b", "c"}, {"1", "", "3"}}));
}

TEST(CsvReader, TakesCarriageReturnsAndALastLineWithoutEnd) {
  EXPECT_EQ(Read("a;b\r\n1;2\r\n3;4", ';').rows, (Rows{{"a", "b"}, {"1", "2"}, {"3", "4"}}));
}

TEST(CsvReader, TakesLineEndsOfAnyKindInOneFile) {
  const Reading reading = Read("a,b\r1,2\r\n# \"c\r3,\"4\r5\"\n\r6,7\r");
  EXPECT_EQ(reading.rows, (Rows{{"a", "b"}, {"1", "2"}, {"3", "4\r5"}, {"6", "7"}}));
  EXPECT_EQ(reading.lines, (std::vector<std::size_t>{1, 2, 4, 7}));
}

TEST(CsvReader, ReadsQuotedCellsWithDelimitersLineEndsAndQuotes) {
  const Reading reading = Read("\"a,1\",\"b\nc\",\"say \"\"hi\"\"\"\nx,y,z\n");
  EXPECT_EQ(reading.rows, (Rows{{"a,1", "b\nc", "say \"hi\""}, {"x", "y", "z"}}));
  EXPECT_EQ(reading.lines, (std::vector<std::size_t>{1, 3}));
  EXPECT_EQ(reading.problems, std::vector<std::string>{});
}

TEST(CsvReader, KeepsAQuoteWithinACellThatIsNotQuoted) {
  EXPECT_EQ(Read("5\" pipe,b\"\"c\n1,2\n").rows, (Rows{{"5\" pipe", "b\"\"c"}, {"1", "2"}}));
}

TEST(CsvReader, TrimsCellsThatAreNotQuoted) { EXPECT_EQ(Read(" a ,\" b \"\n").rows, (Rows{{"a", " b "}})); }

TEST(CsvReader, LeavesOutBlankLinesRowsOfEmptyCellsAndComments) {
  const Reading reading = Read("# made by a machine, \"once\na,b\n\n,,\n1,2\n  \n# end");
  EXPECT_EQ(reading.rows, (Rows{{"a", "b"}, {"1", "2"}}));
  EXPECT_EQ(reading.lines, (std::vector<std::size_t>{2, 5}));
}

TEST(CsvReader, ReportsACellThatGoesOnAfterItsQuote) {
  const Reading reading = Read("1,\"2\"x,3\n4,5,6\n");
  EXPECT_EQ(reading.problems, std::vector<std::string>{"1 the cell continues after its closing quote"});
  EXPECT_EQ(reading.rows.size(), 2u);
}

TEST(CsvReader, ReportsAQuoteThatIsNeverClosed) {
  const Reading reading = Read("1,\"2\n3,4\n");
  EXPECT_EQ(reading.problems, std::vector<std::string>{"1 the quote that opens the cell is never closed"});
}

TEST(CsvReader, RefusesAQuoteThatIsNotClosedInALargeFile) {
  EXPECT_THROW(Read("a,b\n1,\"2\n" + std::string(20 << 20, 'x')), Refusal);
}

TEST(CsvReader, StaysAtTheEnd) {
  const TemporaryFile file("a,b\n1,2\n");
  ByteSource bytes(file.path());
  TextSource text(bytes, Encoding::Utf8);
  CsvReader reader(text, ',');
  std::vector<std::string_view> cells;
  EXPECT_TRUE(reader.ReadRow(cells));
  EXPECT_TRUE(reader.ReadRow(cells));
  for (int i = 0; i < 3; ++i) EXPECT_FALSE(reader.ReadRow(cells));
}

TEST(CsvReader, ReadsRowsThatSpanTheBlocksOfTheFile) {
  std::string content;
  Rows rows;
  for (int i = 0; i < 60'000; ++i) {
    const std::string number = std::to_string(i);
    content += number + ",\"a" + number + "\"\n";
    rows.push_back({number, "a" + number});
  }
  EXPECT_EQ(Read(content).rows, rows);
}

struct Encoded {
  const char* name;
  std::string content;
  Encoding encoding;
};

class CsvEncodings : public testing::TestWithParam<Encoded> {};

TEST_P(CsvEncodings, AreRecognisedAndRead) {
  EXPECT_EQ(DetectEncoding(GetParam().content), GetParam().encoding);
  EXPECT_EQ(Read(GetParam().content, ';', GetParam().encoding).rows,
            (Rows{{"Zeit", "K\u00fchler \u20ac"}, {"1", "2"}}));
}

INSTANTIATE_TEST_SUITE_P(
    All, CsvEncodings,
    testing::Values(Encoded{"Utf8", "Zeit;K\u00fchler \u20ac\n1;2\n", Encoding::Utf8},
                    Encoded{"Utf8WithMark", "\xEF\xBB\xBFZeit;K\u00fchler \u20ac\n1;2\n", Encoding::Utf8},
                    Encoded{"Windows1252", "Zeit;K\xFChler \x80\n1;2\n", Encoding::Windows1252},
                    Encoded{"Utf16Little",
                            std::string("\xFF\xFEZ\0e\0i\0t\0;\0K\0\xFC\0h\0l\0e\0r\0 \0\xAC\x20\n\0"
                                        "1\0;\0"
                                        "2\0\n\0",
                                        38),
                            Encoding::Utf16Little},
                    Encoded{"Utf16Big",
                            std::string("\xFE\xFF\0Z\0e\0i\0t\0;\0K\0\xFC\0h\0l\0e\0r\0 \x20\xAC\0\n\0"
                                        "1\0;\0"
                                        "2\0\n",
                                        38),
                            Encoding::Utf16Big}),
    [](const auto& variant) { return variant.param.name; });

TEST(CsvEncodings, RecogniseUtf16WithoutAMark) {
  EXPECT_EQ(DetectEncoding(std::string("t\0i\0m\0e\0,\0a\0\n\0", 14)), Encoding::Utf16Little);
  EXPECT_EQ(DetectEncoding(std::string("\0t\0i\0m\0e\0,\0a\0\n", 14)), Encoding::Utf16Big);
}

TEST(CsvEncodings, RecogniseUtf8WhoseBeginningEndsWithinACharacter) {
  EXPECT_EQ(DetectEncoding("abc \xE2\x82"), Encoding::Utf8);
}

TEST(CsvEncodings, ReadAHalfOfAPairOfUtf16AsReplaced) {
  const std::string content("a\0\x3D\xD8;\0b\0\n\0", 10);
  EXPECT_EQ(Read(content, ';', Encoding::Utf16Little).rows, (Rows{{"a\uFFFD", "b"}}));
}

TEST(CsvEncodings, ReadPairsOfUtf16AsOneCharacter) {
  const std::string content("a\0\x3D\xD8\x00\xDE\n\0", 8);
  EXPECT_EQ(Read(content, ';', Encoding::Utf16Little).rows, (Rows{{"a\U0001F600"}}));
}

}  // namespace
