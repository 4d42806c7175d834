#include "pq/Markers.h"

#include <gtest/gtest.h>

#include <ostream>

namespace {

using Names = std::vector<std::wstring>;

struct Case {
  const char* name;
  const wchar_t* statement;
  const char* text;
  Names names;
};

Names AllNames(const pq::MarkedStatement& marked) {
  Names names;
  for (const int number : marked.numbers) names.push_back(std::to_wstring(number));
  names.insert(names.end(), marked.named.begin(), marked.named.end());
  return names;
}

void PrintTo(const Case& tested, std::ostream* out) { *out << tested.name; }

class Markers : public ::testing::TestWithParam<Case> {};

TEST_P(Markers, BecomeParameters) {
  const pq::MarkedStatement marked = pq::ReplaceMarkers(GetParam().statement);
  EXPECT_EQ(marked.text, GetParam().text);
  EXPECT_EQ(AllNames(marked), GetParam().names);
}

const Case kMarkers[] = {
    {"None", L"select 1", "select 1", {}},
    {"Empty", L"", "", {}},
    {"One", L"select :1", "select $1", {L"1"}},
    {"Alone", L":1", "$1", {L"1"}},
    {"WithoutBlanks",
     L"values(to_timestamp(:1),:2,:3)",
     "values(to_timestamp($1),$2,$3)",
     {L"1", L"2", L"3"}},
    {"ByNumber", L":3 :1 :2", "$3 $1 $2", {L"1", L"2", L"3"}},
    {"WithGaps", L":20 :5 :700", "$2 $1 $3", {L"5", L"20", L"700"}},
    {"Repeated", L":2 :1 :2", "$2 $1 $2", {L"1", L"2"}},
    {"LeadingZeros", L":01 :1", "$1 $1", {L"1"}},
    {"Zero", L":0 :1", "$1 $2", {L"0", L"1"}},
    {"MoreThanNine", L":10 :9 :11", "$2 $1 $3", {L"9", L"10", L"11"}},
    {"Named", L":b :a :b", "$1 $2 $1", {L"b", L"a"}},
    {"NamedAndNumbered", L":x :2 :y1 :1", "$3 $2 $4 $1", {L"1", L"2", L"x", L"y1"}},
    {"NamesWithUnderscores", L":_a :a_b2", "$1 $2", {L"_a", L"a_b2"}},
    {"NamesTellCases", L":a :A", "$1 $2", {L"a", L"A"}},
    {"NamesBeyondAscii", L":gr\u00f6\u00dfe", "$1", {L"gr\u00f6\u00dfe"}},
    {"NumberBeforeLetters", L":1a", "$1a", {L"1"}},
    {"VeryLongNumber", L":12345678901 :1", "$2 $1", {L"1", L"12345678901"}},
    {"TextBeyondAscii", L"\u00e4:1\u20ac", "\xC3\xA4 $1\xE2\x82\xAC", {L"1"}},
    {"AfterAString", L"'a':1", "'a'$1", {L"1"}},
    {"AfterAWord", L"limit:1 offset:2", "limit $1 offset $2", {L"1", L"2"}},
    {"AfterADollarSign", L"a$:1", "a$ $1", {L"1"}},
};

const Case kNoMarkers[] = {
    {"Cast", L"select 1::text, :1::int4", "select 1::text, $1::int4", {L"1"}},
    {"CastToWhatLooksNumbered", L"a::1", "a::1", {}},
    {"String", L"':1' :1", "':1' $1", {L"1"}},
    {"TimeOfDay", L"'2024-01-01 10:20:30' :1", "'2024-01-01 10:20:30' $1", {L"1"}},
    {"QuoteInAString", L"'it''s :1' :2", "'it''s :1' $1", {L"2"}},
    {"BackslashInAPlainString", L"'a\\' :1 '", "'a\\' $1 '", {L"1"}},
    {"EscapedString", L"E'a\\' :1 ' :2", "E'a\\' :1 ' $1", {L"2"}},
    {"SmallE", L"e'\\\\' :1", "e'\\\\' $1", {L"1"}},
    {"QuoteInAnEscapedString", L"E'a'' :1' :2", "E'a'' :1' $1", {L"2"}},
    {"ContinuedEscapedString", L"E'a'\n'\\':1' :2", "E'a'\n'\\':1' $1", {L"2"}},
    {"ContinuedAfterAComment", L"E'a' -- it's\n\t'\\':1' :2", "E'a' -- it's\n\t'\\':1' $1", {L"2"}},
    {"AnotherStringOnTheLine", L"E'a' '\\' :1", "E'a' '\\' $1", {L"1"}},
    {"NothingAfterAnEscapedString", L"E'a'\n:1", "E'a'\n$1", {L"1"}},
    {"WordThatEndsWithE", L"date'a\\' :1 '", "date'a\\' $1 '", {L"1"}},
    {"UnicodeString", L"U&':1' :1", "U&':1' $1", {L"1"}},
    {"Identifier", L"\":1\" :1", "\":1\" $1", {L"1"}},
    {"QuoteInAnIdentifier", L"\"a\"\" :1\" :2", "\"a\"\" :1\" $1", {L"2"}},
    {"DollarQuotes", L"$$ :1 $$ :2", "$$ :1 $$ $1", {L"2"}},
    {"TaggedDollarQuotes", L"$f$ :1 $$ :1 $f$ :2", "$f$ :1 $$ :1 $f$ $1", {L"2"}},
    {"DollarQuotesAfterANumber", L"1$x$ :1 $x$ :2", "1$x$ :1 $x$ $1", {L"2"}},
    {"DollarSignInAWord", L"a$b$ :1 a$b$", "a$b$ $1 a$b$", {L"1"}},
    {"NativeParameter", L"$1 :1", "$1 $1", {L"1"}},
    {"LineComment", L"-- :1\n:2", "-- :1\n$1", {L"2"}},
    {"LineCommentEndsWithReturn", L"-- :1\r:2", "-- :1\r$1", {L"2"}},
    {"BlockComment", L"/* :1 */:2", "/* :1 */$1", {L"2"}},
    {"NestedComment", L"/* /* :1 */ :1 */ :2", "/* /* :1 */ :1 */ $1", {L"2"}},
    {"QuoteInAComment", L"-- it's\n:1 /* it's */ :2", "-- it's\n$1 /* it's */ $2", {L"1", L"2"}},
    {"CommentInAString", L"'--' :1 '/*' :2", "'--' $1 '/*' $2", {L"1", L"2"}},
    {"Minus", L"a - :1 -:2", "a - $1 -$2", {L"1", L"2"}},
    {"Division", L"a / :1 /:2", "a / $1 /$2", {L"1", L"2"}},
    {"Assignment", L"f(a := 1)", "f(a := 1)", {}},
    {"ColonAtTheEnd", L"a :", "a :", {}},
    {"ColonBeforeABlank", L"a : 1", "a : 1", {}},
};

// A construct without an end extends to the end of the statement; the server reports the error.
const Case kUnfinished[] = {
    {"String", L"' :1", "' :1", {}},
    {"EscapedString", L"E' :1\\", "E' :1\\", {}},
    {"Identifier", L"\" :1", "\" :1", {}},
    {"DollarQuotes", L"$a$ :1 $$", "$a$ :1 $$", {}},
    {"DollarSign", L":1 $", "$1 $", {L"1"}},
    {"Tag", L":1 $a", "$1 $a", {L"1"}},
    {"LineComment", L"-- :1", "-- :1", {}},
    {"BlockComment", L"/* :1 *", "/* :1 *", {}},
    {"InnerComment", L"/* /* */ :1", "/* /* */ :1", {}},
};

std::string Name(const ::testing::TestParamInfo<Case>& tested) { return tested.param.name; }

INSTANTIATE_TEST_SUITE_P(Found, Markers, ::testing::ValuesIn(kMarkers), Name);
INSTANTIATE_TEST_SUITE_P(NotTaken, Markers, ::testing::ValuesIn(kNoMarkers), Name);
INSTANTIATE_TEST_SUITE_P(Unfinished, Markers, ::testing::ValuesIn(kUnfinished), Name);

TEST(MarkerNumbers, AreThoseOfTheFirstParameters) {
  EXPECT_EQ(pq::ReplaceMarkers(L":x :20 :5 :5").numbers, (std::vector<int>{5, 20}));
  EXPECT_EQ(pq::ReplaceMarkers(L":x").numbers, std::vector<int>());
}

TEST(MarkerNumbers, MayBeAsManyAsTheServerTakes) {
  constexpr int kCount = 65'535;
  std::wstring statement = L"values ";
  std::string expected = "values ";
  for (int i = 1; i <= kCount; ++i) {
    statement += L":" + std::to_wstring(i) + L",";
    expected += "$" + std::to_string(i) + ",";
  }
  const pq::MarkedStatement marked = pq::ReplaceMarkers(statement);
  EXPECT_EQ(marked.text, expected);
  ASSERT_EQ(marked.numbers.size(), static_cast<std::size_t>(kCount));
  EXPECT_EQ(marked.numbers.back(), 65535);
}

}  // namespace
