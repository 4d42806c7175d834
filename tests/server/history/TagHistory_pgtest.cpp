#include <bit>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <limits>
#include <map>

#include "server/Random.h"
#include "server/history/HistoryTest.h"

namespace {

constexpr std::int64_t kStart = 1700000000;

using Samples = std::vector<LogSample>;
using Data = std::unordered_map<std::wstring, std::vector<LogPoint>>;

// The row of a sample: `milliseconds|name in hexadecimal`, and the value's bits, no value for NULL.
using Stored = std::map<std::string, std::optional<std::uint64_t>>;

std::string Hexadecimal(const std::string& bytes) {
  std::string text;
  for (const char byte : bytes) {
    for (const int shift : {4, 0})
      text += "0123456789abcdef"[static_cast<unsigned char>(byte) >> shift & 0xF];
  }
  return text;
}

double Read(std::string_view text) {
  double value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

// With ten significant digits.
double Rounded(double value) {
  char text[32];
  char* const end = std::to_chars(text, text + sizeof text, value, std::chars_format::general, 10).ptr;
  return Read({text, end});
}

// A tag name and its bytes at the server.
struct Tag {
  explicit Tag(const std::u32string& text) : name(Wide(text)), hexadecimal(Hexadecimal(Utf8(text))) {}
  std::wstring name;
  std::string hexadecimal;
};

// Names with everything that COPY and SQL reserve, and with characters of every plane.
std::vector<Tag> AwkwardTags() {
  std::vector<Tag> tags;
  for (const char32_t* name :
       {U"PLANT.A", U"tab\there", U"line\nfeed", U"carriage\rreturn", U"both\r\n", U"back\\slash", U"\\N",
        U"\\.", U"\\t", U"\\\\", U"it's", U"\"quoted\"", U"'; drop table datalog; --", U" ", U"\U0001F600",
        U"\U0010FFFD", U"\uFFFD", U"\u4E2D\u6587", U"\b\f\v\x7F"}) {
    tags.emplace_back(name);
  }
  Random random(21);
  while (tags.size() < 200) tags.emplace_back(random.Text(static_cast<std::size_t>(random.Between(1, 40))));
  return tags;
}

class TagHistory : public HistoryTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(HistoryTest::SetUp());
    ASSERT_TRUE(dbms->CreateLogTable(30)) << Error();
  }
  bool Insert(const Samples& samples) { return dbms->InsertLogData(samples); }
  std::string Count() { return Value("select count(*) from datalog"); }

  Stored StoredSamples() {
    Stored stored;
    for (
        const std::string& row : Rows(
            "select (extract(epoch from time) * 1000)::int8, encode(convert_to(tag_name, 'UTF8'), 'hex'), value "
            "from datalog")) {
      const std::size_t bar = row.rfind('|');
      const std::string value = row.substr(bar + 1);
      stored[row.substr(0, bar)] =
          value == "\\N" ? std::nullopt : std::optional(std::bit_cast<std::uint64_t>(Read(value)));
    }
    return stored;
  }
};

// A random sample, and what is stored of it.
void AddSample(Random& random, const std::vector<Tag>& tags, Samples& samples, Stored& expected) {
  const Tag& tag =
      tags[static_cast<std::size_t>(random.Between(0, static_cast<std::int64_t>(tags.size()) - 1))];
  const std::int64_t timeMs = kStart * 1000 + random.Between(0, 4000000);
  const std::string key = std::to_string(timeMs) + '|' + tag.hexadecimal;
  if (expected.contains(key)) return;
  const bool missing = random.Between(0, 19) == 0;
  const double value = missing ? DBL_MAX : random.Double() / 2;
  samples.push_back({timeMs, tag.name, value});
  expected[key] = missing ? std::nullopt : std::optional(std::bit_cast<std::uint64_t>(Rounded(value)));
}

// One sample for each reason to skip it.
void AddSkipped(Random& random, Samples& samples) {
  const std::int64_t timeMs = kStart * 1000 + random.Between(0, 4000000);
  const double infinity = std::numeric_limits<double>::infinity();
  const LogSample skipped[] = {{0, L"A", 1},
                               {-timeMs, L"A", 1},
                               {INT64_MIN, L"A", 1},
                               {timeMs, L"", 1},
                               {timeMs, L"A", std::nan("")},
                               {timeMs, L"A", infinity},
                               {timeMs, L"A", -infinity}};
  samples.push_back(skipped[random.Between(0, 6)]);
}

TEST_F(TagHistory, ThreeHundredThousandSamplesAreStoredAsTheyWere) {
  const std::vector<Tag> tags = AwkwardTags();
  Random random(22);
  Samples samples;
  Stored expected;
  while (samples.size() < 300000) {
    AddSample(random, tags, samples, expected);
    if (random.Between(0, 9) == 0) AddSkipped(random, samples);
    if (random.Between(0, 9) == 0 && !expected.empty()) samples.push_back(samples[samples.size() / 2]);
  }
  ASSERT_TRUE(Insert(samples)) << Error();
  const Stored stored = StoredSamples();
  ASSERT_EQ(stored.size(), expected.size());
  std::size_t different = 0;
  for (const auto& [key, bits] : expected) {
    const auto found = stored.find(key);
    if (found == stored.end() || found->second != bits) ++different;
  }
  EXPECT_EQ(different, 0u);

  EXPECT_TRUE(Insert(samples)) << Error();
  EXPECT_EQ(Count(), std::to_string(expected.size()));
}

TEST_F(TagHistory, ABatchOfManyPiecesIsStored) {
  const std::wstring name(200, L'n');
  Samples samples;
  for (int i = 0; i < 60000; ++i) samples.push_back({kStart * 1000 + i, name, i * 1.0});  // 13 MB of text
  ASSERT_TRUE(Insert(samples)) << Error();
  EXPECT_EQ(
      Rows("select count(*), sum(value), sum((extract(epoch from time) * 1000)::int8 - 1700000000000) from "
           "datalog"),
      std::vector<std::string>{"60000|1799970000|1799970000"});
}

TEST_F(TagHistory, SamplesAreReadByTagInTimeOrder) {
  ASSERT_TRUE(Insert({{kStart * 1000 + 500, L"B", 2.5},
                      {kStart * 1000 + 2000, L"A", DBL_MAX},
                      {kStart * 1000, L"A", -1.25},
                      {kStart * 1000 + 3001, L"A", 9},
                      {kStart * 1000 + 1000, L"C", 1}}))
      << Error();
  Data data = {{L"A", {}}, {L"B", {}}, {L"none", {}}};
  ASSERT_TRUE(dbms->GetLogData(kStart, kStart + 3, data)) << Error();
  ASSERT_EQ(data.size(), 3u);
  ASSERT_EQ(data[L"A"].size(), 2u);
  EXPECT_EQ(data[L"A"][0].time, 1700000000.0);
  EXPECT_EQ(data[L"A"][0].value, -1.25);
  EXPECT_EQ(data[L"A"][1].time, 1700000002.0);
  EXPECT_EQ(data[L"A"][1].value, DBL_MAX);
  ASSERT_EQ(data[L"B"].size(), 1u);
  EXPECT_EQ(data[L"B"][0].time, 1700000000.5);
  EXPECT_TRUE(data[L"none"].empty());
}

TEST_F(TagHistory, KeepsQueriesThatTheServerRefuses) {
  Data none;
  EXPECT_FALSE(dbms->GetLogData(kStart, kStart + 1, none));
  EXPECT_TRUE(Holds(Error(), "syntax error")) << Error();
  Data quoted = {{L"it's", {}}};
  EXPECT_FALSE(dbms->GetLogData(kStart, kStart + 1, quoted));
  Data plain = {{L"A", {}}};
  EXPECT_TRUE(dbms->GetLogData(kStart, kStart + 1, plain)) << Error();
}

TEST_F(TagHistory, TheOldestTimeIsReportedOnceThereIsOne) {
  std::int64_t oldest = 7;
  EXPECT_TRUE(dbms->GetOldestLogTime(oldest)) << Error();
  EXPECT_EQ(oldest, 7);
  ASSERT_TRUE(Insert({{kStart * 1000 + 5999, L"A", 1}, {kStart * 1000 + 4999, L"B", 1}}));
  EXPECT_TRUE(dbms->GetOldestLogTime(oldest)) << Error();
  EXPECT_EQ(oldest, kStart + 4);
}

TEST_F(TagHistory, TheTableIsCreatedOnce) {
  ASSERT_TRUE(Insert({{kStart * 1000, L"A", 1}}));
  EXPECT_TRUE(dbms->CreateLogTable(0)) << Error();
  EXPECT_EQ(Count(), "1");
}

TEST_F(TagHistory, AnEmptyBatchIsStored) { EXPECT_TRUE(Insert({})) << Error(); }

TEST_F(TagHistory, ATagWithANulCharacterIsNotLookedUp) {
  std::unordered_map<std::wstring, std::vector<LogPoint>> data = {{std::wstring(L"A')\0B", 5), {}}};
  EXPECT_FALSE(dbms->GetLogData(1, 2000000000, data));
  EXPECT_TRUE(Holds(Error(), "NUL character")) << Error();
  EXPECT_EQ(data.size(), 1u);
}

}  // namespace
