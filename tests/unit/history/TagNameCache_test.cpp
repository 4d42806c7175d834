#include "DbmsAPI/history/TagNameCache.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace {

// Looks each tag up and checks its text.
void ExpectTexts(TagNameCache& names, const std::vector<std::wstring>& tags) {
  for (const std::wstring& tag : tags) {
    EXPECT_EQ(names.Escaped(tag), std::string(tag.begin(), tag.end()));
  }
}

std::vector<std::wstring> Tags(int count) {
  std::vector<std::wstring> tags;
  for (int i = 0; i < count; ++i) tags.push_back(L"TAG" + std::to_wstring(i));
  return tags;
}

class TagNames : public testing::Test {
 protected:
  TagNameCache names;
};

TEST_F(TagNames, ANameIsEscapedOnceAndKept) {
  const std::string& escaped = names.Escaped(L"a\tb");
  EXPECT_EQ(escaped, "a\\tb");
  ExpectTexts(names, Tags(1000));
  EXPECT_EQ(&names.Escaped(L"a\tb"), &escaped);
}

TEST_F(TagNames, CyclesAreFollowed) {
  for (int cycle = 0; cycle < 3; ++cycle) ExpectTexts(names, Tags(100));
}

TEST_F(TagNames, TheSameTagAgainIsFound) {
  ExpectTexts(names, {L"A", L"A", L"B", L"B", L"B", L"A", L"A", L"C", L"C"});
}

TEST_F(TagNames, CyclesMayLeaveTagsOut) {
  std::mt19937 random(1);
  ExpectTexts(names, Tags(50));
  for (int cycle = 0; cycle < 100; ++cycle) {
    std::vector<std::wstring> some;
    for (const std::wstring& tag : Tags(50)) {
      if (random() % 4 != 0) some.push_back(tag);
    }
    ExpectTexts(names, some);
  }
}

TEST_F(TagNames, ManyTagsLeftOutDoNotStopTheFollowing) {
  const auto tags = Tags(100);
  ExpectTexts(names, tags);
  for (int cycle = 0; cycle < 3; ++cycle) {
    ExpectTexts(names, {tags.begin(), tags.begin() + 20});
    ExpectTexts(names, {tags.begin() + 80, tags.end()});
  }
}

TEST_F(TagNames, NewTagsMayComeAtAnyTime) {
  ExpectTexts(names, {L"A", L"B", L"C", L"A", L"X", L"B", L"C", L"A", L"X", L"Y", L"B", L"Z", L"C", L"A"});
}

TEST_F(TagNames, TheOrderMayChange) {
  auto tags = Tags(20);
  for (int change = 0; change < 5; ++change) {
    for (int cycle = 0; cycle < 3; ++cycle) ExpectTexts(names, tags);
    std::reverse(tags.begin() + change, tags.end());
  }
}

TEST_F(TagNames, AnyOrderWorks) {
  std::mt19937 random(1);
  const auto tags = Tags(300);
  for (int i = 0; i < 20000; ++i) ExpectTexts(names, {tags[random() % tags.size()]});
}

TEST_F(TagNames, NamesMayBeginAlike) {
  ExpectTexts(names, {L"A", L"AB", L"ABC", L"A", L"AB", L"ABC", L"AB", L"A", L"ABC", L""});
}

}  // namespace
