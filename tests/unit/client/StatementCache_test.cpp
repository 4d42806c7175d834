#include "pq/StatementCache.h"

#include <gtest/gtest.h>

namespace {

using NameTexts = std::vector<std::string>;

std::wstring Numbered(int number) { return L"select :1 + " + std::to_wstring(number); }

class StatementCache : public ::testing::Test {
 protected:
  // Prepares a statement as a connection does.
  void Prepare(pq::Statement& statement, const char* name) {
    statement.released = released;
    statement.types = {23};
    statement.name = {name};
  }

  NameTexts Released() const { return {released->begin(), released->end()}; }

  std::shared_ptr<pq::PreparedNames> released = std::make_shared<pq::PreparedNames>();
  pq::StatementCache cache;
};

TEST_F(StatementCache, AStatementIsTheOneOfItsText) {
  const auto statement = cache.Get(L"select :2, :name, :1");
  EXPECT_EQ(statement->text, "select $2, $3, $1");
  EXPECT_EQ(statement->numbers, (std::vector<int>{1, 2}));
  EXPECT_EQ(statement->named, std::vector<std::wstring>{L"name"});
  EXPECT_EQ(cache.Get(L"select :2, :name, :3")->text, "select $1, $3, $2");
  EXPECT_EQ(cache.Get(L"")->text, "");
}

TEST_F(StatementCache, ATextThatComesAgainFindsItsStatement) {
  const auto first = cache.Get(Numbered(1));
  cache.Get(Numbered(2));
  EXPECT_EQ(cache.Get(Numbered(1)), first);
}

TEST_F(StatementCache, TheLeastRecentlyUsedIsEvictedAndStaysValid) {
  const auto first = cache.Get(Numbered(0));
  const auto used = cache.Get(Numbered(1));
  for (int i = 2; i <= 100; ++i) {
    EXPECT_EQ(cache.Get(Numbered(i))->text, "select $1 + " + std::to_string(i));
    EXPECT_EQ(cache.Get(Numbered(1)), used);
  }
  EXPECT_EQ(first.use_count(), 1);
  EXPECT_EQ(first->text, "select $1 + 0");
  EXPECT_NE(cache.Get(Numbered(0)), first);
  EXPECT_EQ(cache.Get(Numbered(100)), cache.Get(Numbered(100)));
}

TEST_F(StatementCache, LongTextsAndThoseWithoutParametersAreNotKept) {
  const std::wstring text = L"select :1 /* " + std::wstring(2000, L'x') + L" */";
  EXPECT_NE(cache.Get(text), cache.Get(text));
  EXPECT_NE(cache.Get(L"select 1"), cache.Get(L"select 1"));
  EXPECT_EQ(cache.Get(text)->numbers, std::vector<int>{1});
}

TEST_F(StatementCache, ANameIsReleasedWhenNobodyHoldsItsStatement) {
  auto held = cache.Get(Numbered(0));
  Prepare(*held, "held");
  Prepare(*cache.Get(Numbered(1)), "left");
  for (int i = 2; i <= 100; ++i) cache.Get(Numbered(i));
  EXPECT_EQ(Released(), NameTexts{"left"});
  held.reset();
  EXPECT_EQ(Released(), (NameTexts{"left", "held"}));
}

TEST_F(StatementCache, ForgettingReleasesTheNameAndTheTypes) {
  const auto statement = cache.Get(Numbered(0));
  Prepare(*statement, "name");
  statement->Forget();
  EXPECT_EQ(Released(), NameTexts{"name"});
  EXPECT_TRUE(statement->name.empty());
  EXPECT_TRUE(statement->types.empty());
  EXPECT_TRUE(statement->released.expired());
}

TEST_F(StatementCache, AStatementOutlivesItsConnection) {
  const auto statement = cache.Get(Numbered(0));
  Prepare(*statement, "name");
  released.reset();
  statement->Release();
  EXPECT_TRUE(statement->name.empty());
  EXPECT_EQ(statement->types, std::vector<unsigned>{23});
}

TEST_F(StatementCache, ParametersAreUnboundTheNumberedOnesFirst) {
  const std::vector<SAParam> parameters = cache.Get(L"select :2, :name, :1")->MakeParameters();
  ASSERT_EQ(parameters.size(), 3u);
  EXPECT_EQ(parameters[0].Name(), L"1");
  EXPECT_EQ(parameters[1].Name(), L"2");
  EXPECT_EQ(parameters[2].Name(), L"name");
  for (const SAParam& parameter : parameters) EXPECT_FALSE(parameter.isBound());
}

}  // namespace
