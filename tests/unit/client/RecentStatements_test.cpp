#include "pq/RecentStatements.h"

#include <gtest/gtest.h>

namespace {

std::wstring Numbered(int number) { return L"select :1 + " + std::to_wstring(number); }

TEST(RecentStatements, AStatementIsTheOneOfItsText) {
  pq::RecentStatements recent;
  const auto statement = recent.Get(L"select :2, :name, :1");
  EXPECT_EQ(statement->text, "select $2, $3, $1");
  EXPECT_EQ(statement->numbers, (std::vector<int>{1, 2}));
  EXPECT_EQ(statement->named, std::vector<std::wstring>{L"name"});
  EXPECT_EQ(recent.Get(L"select :2, :name, :3")->text, "select $1, $3, $2");
  EXPECT_EQ(recent.Get(L"")->text, "");
}

TEST(RecentStatements, ATextThatComesAgainIsNotReadAgain) {
  pq::RecentStatements recent;
  const auto first = recent.Get(Numbered(1));
  recent.Get(Numbered(2));
  EXPECT_EQ(recent.Get(Numbered(1)), first);
}

TEST(RecentStatements, OldOnesAreForgottenAndStayValid) {
  pq::RecentStatements recent;
  const auto first = recent.Get(Numbered(0));
  for (int i = 1; i <= 100; ++i) EXPECT_EQ(recent.Get(Numbered(i))->text, "select $1 + " + std::to_string(i));
  EXPECT_EQ(first.use_count(), 1);
  EXPECT_EQ(first->text, "select $1 + 0");
  EXPECT_NE(recent.Get(Numbered(0)), first);
  EXPECT_EQ(recent.Get(Numbered(100)), recent.Get(Numbered(100)));
}

TEST(RecentStatements, LongOnesAndThoseWithoutMarkersAreNotKept) {
  pq::RecentStatements recent;
  const std::wstring kLong = L"select :1 /* " + std::wstring(2000, L'x') + L" */";
  EXPECT_NE(recent.Get(kLong), recent.Get(kLong));
  EXPECT_NE(recent.Get(L"select 1"), recent.Get(L"select 1"));
  EXPECT_EQ(recent.Get(kLong)->numbers, std::vector<int>{1});
}

}  // namespace
