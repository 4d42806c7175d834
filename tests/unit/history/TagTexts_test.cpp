#include "DbmsAPI/history/TagTexts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace {

// Asks for each tag and checks the text.
void ExpectTexts(TagTexts& texts, const std::vector<std::wstring>& tags) {
  for (const std::wstring& tag : tags) {
    EXPECT_EQ(texts.Of(tag), std::string(tag.begin(), tag.end()));
  }
}

std::vector<std::wstring> Tags(int count) {
  std::vector<std::wstring> tags;
  for (int i = 0; i < count; ++i) tags.push_back(L"TAG" + std::to_wstring(i));
  return tags;
}

class TagTextsTest : public testing::Test {
 protected:
  TagTexts::Cache cache;
  TagTexts texts{cache};
};

TEST_F(TagTextsTest, ANameIsEscapedOnceAndKept) {
  EXPECT_EQ(texts.Of(L"a\tb"), "a\\tb");
  ASSERT_EQ(cache.size(), 1u);
  cache[L"a\tb"] = "kept";
  EXPECT_EQ(texts.Of(L"a\tb"), "kept");
  EXPECT_EQ(TagTexts(cache).Of(L"a\tb"), "kept");
}

TEST_F(TagTextsTest, CyclesAreFollowed) {
  for (int cycle = 0; cycle < 3; ++cycle) ExpectTexts(texts, Tags(100));
  EXPECT_EQ(cache.size(), 100u);
}

TEST_F(TagTextsTest, TheSameTagAgainIsFound) {
  ExpectTexts(texts, {L"A", L"A", L"B", L"B", L"B", L"A", L"A", L"C", L"C"});
  EXPECT_EQ(cache.size(), 3u);
}

TEST_F(TagTextsTest, CyclesMayLeaveTagsOut) {
  std::mt19937 random(1);
  ExpectTexts(texts, Tags(50));
  for (int cycle = 0; cycle < 100; ++cycle) {
    std::vector<std::wstring> some;
    for (const std::wstring& tag : Tags(50)) {
      if (random() % 4 != 0) some.push_back(tag);
    }
    ExpectTexts(texts, some);
  }
  EXPECT_EQ(cache.size(), 50u);
}

TEST_F(TagTextsTest, ManyTagsLeftOutDoNotStopTheFollowing) {
  const auto tags = Tags(100);
  ExpectTexts(texts, tags);
  for (int cycle = 0; cycle < 3; ++cycle) {
    ExpectTexts(texts, {tags.begin(), tags.begin() + 20});
    ExpectTexts(texts, {tags.begin() + 80, tags.end()});
  }
}

TEST_F(TagTextsTest, NewTagsMayComeAtAnyTime) {
  ExpectTexts(texts, {L"A", L"B", L"C", L"A", L"X", L"B", L"C", L"A", L"X", L"Y", L"B", L"Z", L"C", L"A"});
  EXPECT_EQ(cache.size(), 6u);
}

TEST_F(TagTextsTest, TheOrderMayChange) {
  auto tags = Tags(20);
  for (int change = 0; change < 5; ++change) {
    for (int cycle = 0; cycle < 3; ++cycle) ExpectTexts(texts, tags);
    std::reverse(tags.begin() + change, tags.end());
  }
  EXPECT_EQ(cache.size(), 20u);
}

TEST_F(TagTextsTest, AnyOrderIsServed) {
  std::mt19937 random(1);
  const auto tags = Tags(300);
  for (int i = 0; i < 20000; ++i) ExpectTexts(texts, {tags[random() % tags.size()]});
  EXPECT_EQ(cache.size(), 300u);
}

TEST_F(TagTextsTest, NamesMayBeginAlike) {
  ExpectTexts(texts, {L"A", L"AB", L"ABC", L"A", L"AB", L"ABC", L"AB", L"A", L"ABC", L""});
}

}  // namespace
