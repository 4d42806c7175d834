#include "historian/command/csv/SampleFile.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <string>
#include <vector>

#include "TemporaryFile.h"
#include "historian/command/Failure.h"
#include "port/Utf8.h"

using namespace historian::command;
using historian::Time;

namespace {

// Each sample as "TIME TAG VALUE", each bad row as "LINE COLUMN: PROBLEM".
std::vector<std::string> Read(const std::string& content, const FileOptions& options = {},
                              const std::string& zone = "UTC") {
  const TemporaryFile temporary(content);
  const auto in = FindZone(zone);
  SampleFile file(temporary.path(), "plant.csv", options, *in);
  std::vector<std::string> texts;
  std::vector<LogSample> samples;
  BadRow bad;
  for (auto result = SampleFile::Result::Row; result != SampleFile::Result::End;) {
    result = file.ReadRow(samples, bad);
    if (result == SampleFile::Result::Bad) {
      texts.push_back(std::to_string(bad.line) + ' ' + bad.column + ": " + bad.problem);
    }
    for (const LogSample& sample : samples) {
      texts.push_back(FormatUtc(Time(std::chrono::milliseconds(sample.timeMs))) + ' ' +
                      sys::ToUtf8(sample.tagName) + ' ' +
                      (sample.value == DBL_MAX ? "null" : std::to_string(sample.value)));
    }
    samples.clear();
  }
  return texts;
}

// Why a file is refused, without its name.
std::string Refused(const std::string& content, const FileOptions& options = {}) {
  const TemporaryFile temporary(content);
  try {
    SampleFile(temporary.path(), "plant.csv", options, *FindZone("UTC"));
  } catch (const Refusal& refusal) {
    return std::string(refusal.what()).substr(temporary.path().size());
  }
  return "not refused";
}

const std::vector<std::string> kTwoRows = {
    "2026-11-01T20:40:00Z A 1.500000", "2026-11-01T20:40:00Z B 2.000000", "2026-11-02T20:40:00Z A 3.000000",
    "2026-11-02T20:40:00Z B 4.250000"};

struct Variant {
  const char* name;
  const char* content;
};

class SameSamples : public testing::TestWithParam<Variant> {};

TEST_P(SameSamples, AreReadWithoutAnOption) { EXPECT_EQ(Read(GetParam().content), kTwoRows); }

INSTANTIATE_TEST_SUITE_P(
    Variants, SameSamples,
    testing::Values(
        Variant{"Comma", "time,A,B\n2026-11-01 20:40:00,1.5,2\n2026-11-02 20:40:00,3,4.25\n"},
        Variant{"SemicolonAndDecimalComma", "Zeit;A;B\n01.11.2026 20:40;1,5;2\n02.11.2026 20:40;3;4,25\n"},
        Variant{"SemicolonAndDecimalPoint", "Zeit;A;B\n2026-11-01 20:40;1.5;2\n2026-11-02 20:40;3;4.25\n"},
        Variant{"Tab", "time\tA\tB\n2026-11-01 20:40\t1.5\t2\n2026-11-02 20:40\t3\t4.25\n"},
        Variant{"Bar", "time|A|B\n2026-11-01 20:40|1.5|2\n2026-11-02 20:40|3|4.25\n"},
        Variant{
            "QuotedDecimalComma",
            "\"time\",\"A\",\"B\"\n\"2026-11-01 20:40\",\"1,5\",\"2\"\n\"2026-11-02 20:40\",\"3\",\"4,25\"\n"},
        Variant{"American", "time,A,B\n11/1/2026 8:40:00 PM,1.5,2\n11/2/2026 8:40:00 PM,3,4.25\n"},
        Variant{"Opc", "Timestamp,A,B\n01-Nov-26 20:40:00.0,1.5,2\n02-Nov-26 20:40:00.0,3,4.25\n"},
        Variant{"EpochSeconds", "time,A,B\n1793565600,1.5,2\n1793652000,3,4.25\n"},
        Variant{"EpochMilliseconds", "time,A,B\n1793565600000,1.5,2\n1793652000000,3,4.25\n"},
        Variant{"DateAndTimeOfDay",
                "Datum;Uhrzeit;A;B\n01.11.2026;20:40:00;1,5;2\n02.11.2026;20:40:00;3;4,25\n"},
        Variant{"UnitsRow", "time,A,B\n,bar,m\u00b3/h\n2026-11-01 20:40,1.5,2\n2026-11-02 20:40,3,4.25\n"},
        Variant{"TitleLines",
                "Report of the boiler house\n\nmade by;J. Doe\ntime;A;B\n2026-11-01 20:40;1.5;2\n2026-11-02 "
                "20:40;3;4.25\n"},
        Variant{"Comments",
                "# exported\ntime,A,B\n2026-11-01 20:40,1.5,2\n# later\n2026-11-02 20:40,3,4.25\n"},
        Variant{"TrailingSeparators", "time;A;B;\n2026-11-01 20:40;1.5;2;\n2026-11-02 20:40;3;4.25;\n"},
        Variant{"TrailingSeparatorsOfDataAlone",
                "time;A;B\n2026-11-01 20:40;1.5;2;\n2026-11-02 20:40;3;4.25;\n"},
        Variant{"BlankRows", "time,A,B\n\n2026-11-01 20:40,1.5,2\n,,\n2026-11-02 20:40,3,4.25\n\n"},
        Variant{"CarriageReturns", "time,A,B\r\n2026-11-01 20:40,1.5,2\r\n2026-11-02 20:40,3,4.25\r\n"},
        Variant{"ByteOrderMark", "\xEF\xBB\xBFtime,A,B\n2026-11-01 20:40,1.5,2\n2026-11-02 20:40,3,4.25\n"},
        Variant{"TimeInTheSecondColumn", "A,time,B\n1.5,2026-11-01 20:40,2\n3,2026-11-02 20:40,4.25\n"},
        Variant{
            "Long",
            "time,tag,value\n2026-11-01 20:40,A,1.5\n2026-11-01 20:40,B,2\n2026-11-02 20:40,A,3\n2026-11-02 "
            "20:40,B,4.25\n"},
        Variant{"LongByContent",
                "Zeit;Messstelle;Messung\n01.11.2026 20:40;A;1,5\n01.11.2026 20:40;B;2\n02.11.2026 "
                "20:40;A;3\n02.11.2026 20:40;B;4,25\n"},
        Variant{
            "LongWithTheTagFirst",
            "tag_name,value,time\nA,1.5,2026-11-01T20:40:00Z\nB,2,2026-11-01T20:40:00Z\nA,3,2026-11-02T20:40:00Z\n"
            "B,4.25,2026-11-02T20:40:00Z\n"},
        Variant{
            "LongWithEmptyCells",
            "VarName;TimeString;VarValue\nA;01.11.2026 20:40:00;1,5\nB;01.11.2026 20:40:00;2\nA;01.11.2026 "
            "20:41:00;\nA;02.11.2026 20:40:00;3\nB;02.11.2026 20:40:00;4,25\n"},
        Variant{"JsonLines",
                "{\"time\":\"2026-11-01T20:40:00Z\",\"tag\":\"A\",\"value\":1.5}\n"
                "{\"time\":\"2026-11-01T20:40:00Z\",\"tag\":\"B\",\"value\":2}\n\n"
                "{\"value\":3,\"tag\":\"A\",\"time\":\"2026-11-02T21:40:00+01:00\"}\n"
                "{\"time\":\"2026-11-02T20:40:00Z\",\"tag\":\"B\",\"value\":4.25}"}),
    [](const auto& variant) { return variant.param.name; });

TEST(SampleFile, TakesAnEmptyCellForNoSampleAndANullWordForNoValue) {
  const std::string content = "time,A,B\n2026-11-01 20:40,,NA\n";
  EXPECT_EQ(Read(content), std::vector<std::string>{"2026-11-01T20:40:00Z B null"});
  FileOptions options;
  options.empty_is_null = true;
  EXPECT_EQ(Read(content, options),
            (std::vector<std::string>{"2026-11-01T20:40:00Z A null", "2026-11-01T20:40:00Z B null"}));
}

TEST(SampleFile, FollowsTheOptions) {
  FileOptions options;
  options.columns = {"time", "A", "B"};
  options.delimiter = ':';
  options.decimal = ',';
  options.time_format = "%d%m%Y %H%M";
  options.null_words = {"aus"};
  EXPECT_EQ(Read("01112026 2040:1,5:aus\n", options),
            (std::vector<std::string>{"2026-11-01T20:40:00Z A 1.500000", "2026-11-01T20:40:00Z B null"}));
}

TEST(SampleFile, NamesColumnsInPlaceOfTheHeaderRow) {
  FileOptions options;
  options.columns = {"time", "A", "B"};
  EXPECT_EQ(Read("t,X,X\n2026-11-01 20:40,1.5,2\n2026-11-02 20:40,3,4.25\n", options), kTwoRows);
}

TEST(SampleFile, IgnoresColumnsByNameOrNumber) {
  FileOptions options;
  options.ignore = {"operator", "4"};
  EXPECT_EQ(Read("time,A,operator,,B\n2026-11-01 20:40,1.5,Jo,x,2\n2026-11-02 20:40,3,Al,y,4.25\n", options),
            kTwoRows);
}

TEST(SampleFile, SkipsLines) {
  FileOptions options;
  options.skip_lines = 2;
  EXPECT_EQ(Read("this,is,no\nheader,row,at all\ntime,A,B\n2026-11-01 20:40,1.5,2\n2026-11-02 20:40,3,4.25\n",
                 options),
            kTwoRows);
}

TEST(SampleFile, ReadsTimesInTheZone) {
  EXPECT_EQ(Read("time,A\n2026-11-01 20:40,1\n", {}, "+01:00"),
            std::vector<std::string>{"2026-11-01T19:40:00Z A 1.000000"});
}

TEST(SampleFile, ReadsAWideFileOfManyColumns) {
  std::string content = "time";
  for (int i = 0; i < 500; ++i) content += ",T" + std::to_string(i);
  content += "\n2026-11-01 20:40";
  for (int i = 0; i < 500; ++i) content += ',' + std::to_string(i);
  const auto samples = Read(content + '\n');
  ASSERT_EQ(samples.size(), 500u);
  EXPECT_EQ(samples[499], "2026-11-01T20:40:00Z T499 499.000000");
}

TEST(SampleFile, NamesLineColumnAndReasonOfABadRowAndGoesOn) {
  EXPECT_EQ(
      Read("time,A,B\n2026-11-01 20:40,1,2\nnoon,3,4\n2026-11-01 20:42,5\n2026-11-01 20:43,x,8\n2026-11-01 "
           "20:44,9,\n"),
      (std::vector<std::string>{
          "2026-11-01T20:40:00Z A 1.000000", "2026-11-01T20:40:00Z B 2.000000",
          "3 1 (time): \"noon\" is not a time", "4 : the row has 2 cells, the header row has 3",
          "5 2 (A): \"x\" is not a number (--null WORD for a word that means none, --ignore COLUMN for a column "
          "of texts)",
          "2026-11-01T20:44:00Z A 9.000000"}));
}

TEST(SampleFile, RefusesSeparatorsOfThousands) {
  for (const std::string number : {"1,234.5", "1.234.567", "-1'234", "12 345,5"}) {
    const std::string problem = " has separators between the thousands of its numbers (\"" + number +
                                "\"), which are not read: write the numbers without them";
    EXPECT_EQ(Refused("time,A,B\n2026-11-01 20:40,1,2\n2026-11-01 20:41,\"" + number + "\",2\n"),
              ": column 2 (A)" + problem);
    EXPECT_EQ(Refused("time,tag,value\n2026-11-01 20:41,A,\"" + number + "\"\n"),
              ": column 3 (value)" + problem);
  }
}

TEST(SampleFile, TakesABadFirstRowForARow) {
  EXPECT_EQ(
      Read("time,A\nnoon,3\n2026-11-01 20:44,9\n"),
      (std::vector<std::string>{"2 1 (time): \"noon\" is not a time", "2026-11-01T20:44:00Z A 9.000000"}));
}

TEST(SampleFile, NamesWhatIsWrongWithJsonLines) {
  EXPECT_EQ(
      Read("{\"time\":\"2026-11-01T20:40:00Z\",\"tag\":\"A\",\"value\":\"x\"}\n{\"time\":1}\n{\n"
           "{\"time\":\"noon\",\"tag\":\"A\",\"value\":1}\n{\"time\":\"2026-11-01T20:40:00Z\",\"tag\":\"\","
           "\"value\":1}\n"),
      (std::vector<std::string>{
          "1 : \"{\"time\":\"2026-11-01T20:40:00Z\",\"tag\":\"A\",\"value\":\"x\"}\" has a \"value\" that is neither a "
          "number nor null",
          "2 : \"{\"time\":1}\" has no \"time\" that is a text", "3 : \"{\" is not a JSON object",
          "4 time: \"noon\" is not a time", "5 tag: the tag has no name"}));
}

TEST(SampleFile, RefusesWithTheOptionThatHelps) {
  EXPECT_EQ(Refused(""), ": is empty");
  EXPECT_EQ(Refused("\n\n"), ": holds no row");
  EXPECT_EQ(Refused("time,A\n"), ":1: this is the only row; a header row needs rows of data after it");
  EXPECT_EQ(Refused("2026-11-01 20:40,1,2\n2026-11-02 20:40,3,4\n"),
            ":1: the file has no header row; name its columns (--columns time,TAG1,TAG2)");
  EXPECT_EQ(Refused("time,A\nnoon,1\n"),
            ":2: there is no time that is recognised in this row, which begins with \"noon\"; --time-format, "
            "--time-column or --delimiter name what it is");
  EXPECT_EQ(
      Refused("time,A\n01/02/2026 20:40,1\n"),
      ":2: the date of \"01/02/2026 20:40\" may begin with the month or with the day; --time-format us or eu says "
      "which");
  EXPECT_EQ(Refused("time;A;B\n2026-11-01 20:40;1,5;2.5\n"),
            ": writes numbers with decimal commas and with decimal points; --decimal says which counts");
  EXPECT_EQ(Refused("time,A,A\n2026-11-01 20:40,1,2\n"),
            ": two columns are called \"A\"; --columns names them otherwise");
  EXPECT_EQ(Refused("time,A,,B\n2026-11-01 20:40,1,2,3\n"),
            ": column 3 has no name; --ignore 3 leaves it out");
  EXPECT_EQ(Refused("time,A\n2026-11-01 20:40,1,2\n"),
            ":1: the header row has 2 cells, the rows of data have 3");
  EXPECT_EQ(Refused("time,tag,value,quality\n2026-11-01 20:40,A,2,Good\n"),
            ": column 4 (quality) is neither time, tag nor value; --ignore \"quality\" leaves it out");
  EXPECT_EQ(
      Refused("tagpath,,t_stamp,floatvalue,quality\nA,1,2026-11-01 20:40,2,Good\n"),
      ": columns 2 (), 5 (quality) are neither time, tag nor value; --ignore \"2,quality\" leaves them out");
  EXPECT_EQ(
      Refused("time,A,place,B\n2026-11-01 20:40,1,hall,2\n2026-11-01 20:41,1,,2\n"),
      ": column 3 (place) holds texts (\"hall\"): --tag-column and --value-column if it names the tag of each row, "
      "--ignore COLUMN to leave it out, --null WORD for a word that means none");
  EXPECT_EQ(Refused("time A\n2026-11-01 20:40\n2026-11-01 20:41\n"),
            ":2: this row is a time and nothing else; --delimiter says what separates its cells");
}

TEST(SampleFile, RefusesOptionsThatNameNoColumn) {
  FileOptions options;
  options.ignore = {"Z"};
  EXPECT_EQ(Refused("time,A\n2026-11-01 20:40,1\n", options), ": has no column \"Z\" (--ignore)");
  options = {};
  options.shape = "long";
  EXPECT_EQ(Refused("time,A,B,C\n2026-11-01 20:40,1,2,3\n", options),
            ": is not recognised as long: name its columns with --tag-column and --value-column");
}

TEST(SampleFile, IsReadAgainFromItsBeginning) {
  const TemporaryFile temporary("time,A\n2026-11-01 20:40,1\n");
  const auto zone = FindZone("UTC");
  SampleFile file(temporary.path(), "plant.csv", {}, *zone);
  for (int i = 0; i < 2; ++i) {
    std::vector<LogSample> samples;
    BadRow bad;
    EXPECT_EQ(file.ReadRow(samples, bad), SampleFile::Result::Row);
    EXPECT_EQ(file.ReadRow(samples, bad), SampleFile::Result::End);
    EXPECT_EQ(samples.size(), 1u);
    EXPECT_EQ(file.share(), 1.0);
    file.Rewind();
  }
}

}  // namespace
