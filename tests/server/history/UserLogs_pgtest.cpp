#include <charconv>
#include <fstream>

#include "server/Random.h"
#include "server/Zone.h"
#include "server/history/HistoryTest.h"

namespace {

constexpr std::int64_t kStart = 1700000000;
constexpr std::int64_t kEnd = kStart + 100000;

const std::vector<UserLogColumn> kDefinition = {{L"n", 0, 0}, {L"x", 1, 0}, {L"label", 2, 20}};

using Binds = std::vector<std::variant<double, std::wstring>>;
using Texts = std::vector<std::wstring>;

class UserLogs : public HistoryTest {
 protected:
  // Creates the table Batch.
  bool Create(const std::vector<UserLogColumn>& columns = kDefinition) {
    return dbms->CreateUserLogTable(L"Batch", columns, 30);
  }
  bool Insert(std::int64_t timeMs, const Texts& literals) {
    return dbms->InsertUserLogData(L"Batch", {timeMs, literals});
  }
  std::vector<UserLogRow> Get(const wchar_t* condition = L"", const Binds& binds = {}) {
    std::vector<UserLogRow> rows;
    EXPECT_TRUE(dbms->GetUserLogData(L"Batch", kStart, kEnd, condition, binds, rows)) << Error();
    return rows;
  }
  // The first values of the rows found.
  Texts Found(const wchar_t* condition, const Binds& binds = {}) {
    Texts found;
    for (const UserLogRow& row : Get(condition, binds)) found.push_back(row.values.at(0));
    return found;
  }
  // A table with one row.
  void StoreOne() {
    ASSERT_TRUE(Create()) << Error();
    ASSERT_TRUE(Insert(kStart * 1000, {L"1", L"1.5", L"'a'"})) << Error();
  }
  std::string Count() { return Value("select count(*) from user_batch"); }
  std::vector<std::string> Columns() {
    return Rows(
        "select column_name, udt_name, character_maximum_length, is_nullable from information_schema.columns "
        "where table_name = 'user_batch' order by ordinal_position");
  }
};

TEST_F(UserLogs, ATableHasItsTimeAndTheColumnsOfTheDefinition) {
  ASSERT_TRUE(Create()) << Error();
  EXPECT_EQ(Columns(), (std::vector<std::string>{"time|timestamptz|\\N|NO", "n|int2|\\N|YES",
                                                 "x|float8|\\N|YES", "label|varchar|20|YES"}));
  EXPECT_EQ(
      Value("select pg_get_indexdef(indexrelid) from pg_index where indrelid = 'user_batch'::regclass and "
            "indisprimary"),
      "CREATE UNIQUE INDEX user_batch_pkey ON public.user_batch USING btree (\"time\")");
}

TEST_F(UserLogs, ATableThatMatchesKeepsItsRows) {
  StoreOne();
  EXPECT_TRUE(Create()) << Error();
  EXPECT_TRUE(Create({{L"N", 0, 0}, {L"X", 1, 0}, {L"Label", 2, 20}})) << Error();
  EXPECT_TRUE(dbms->CreateUserLogTable(L"BATCH", kDefinition, 0)) << Error();
  EXPECT_EQ(Count(), "1");
}

TEST_F(UserLogs, ATableThatDiffersLosesItsRows) {
  const std::vector<UserLogColumn> definitions[] = {
      {{L"n", 1, 0}, {L"x", 1, 0}, {L"label", 2, 20}},                   // another type
      {{L"n", 0, 0}, {L"x", 1, 0}, {L"label", 2, 21}},                   // another length
      {{L"x", 1, 0}, {L"n", 0, 0}, {L"label", 2, 20}},                   // another order
      {{L"n", 0, 0}, {L"x", 1, 0}},                                      // a column that is no more
      {{L"n", 0, 0}, {L"x", 1, 0}, {L"label", 2, 20}, {L"more", 0, 0}},  // a column that is new
      {{L"n", 0, 0}, {L"y", 1, 0}, {L"label", 2, 20}},                   // another name
      {},                                                                // no column any more
  };
  for (const std::vector<UserLogColumn>& definition : definitions) {
    Run("drop table if exists user_batch");
    StoreOne();
    EXPECT_TRUE(Create(definition)) << Error();
    EXPECT_EQ(Count(), "0");
    EXPECT_EQ(Columns().size(), definition.size() + 1);
    Run("insert into user_batch(time) values (now())");
    EXPECT_TRUE(Create(definition)) << Error();
    EXPECT_EQ(Count(), "1");
  }
}

TEST_F(UserLogs, ADroppedTableStaysDroppedWhenItCannotBeCreated) {
  StoreOne();
  EXPECT_FALSE(Create({{L"n", 0, 0}, {L"x y z", 1, 0}}));
  EXPECT_TRUE(Holds(Error(), "syntax error")) << Error();
  EXPECT_EQ(Value("select count(*) from pg_class where relname = 'user_batch'"), "0");
}

TEST_F(UserLogs, KeepsDroppingATableWhoseColumnNamesAreQuoted) {
  const std::vector<UserLogColumn> quoted = {{L"\"My n\"", 0, 0}};
  ASSERT_TRUE(Create(quoted)) << Error();
  ASSERT_TRUE(Insert(kStart * 1000, {L"1"})) << Error();
  EXPECT_TRUE(Create(quoted)) << Error();
  EXPECT_EQ(Count(), "0");
}

TEST_F(UserLogs, ATextAboutTheDatabaseDropsNothing) {
  StoreOne();
  const std::string name = Value("select current_database()");
  const std::wstring database = Database();
  const std::string services = testing::TempDir() + name + ".conf";
  std::ofstream(services) << "[plant]\ndbname=" << name << '\n';
  const Environment file("PGSERVICEFILE", services.c_str());
  const Environment standard("PGDATABASE", name.c_str());
  for (const std::wstring& text :
       {L"dbname=" + database + L" connect_timeout=3", L"connect_timeout=3 dbname='" + database + L"'",
        L"postgresql:///" + database + L"?connect_timeout=3", database + L";-c search_path=public",
        std::wstring(L"service=plant"), std::wstring(L"connect_timeout=3"), std::wstring()}) {
    const auto other = NewDbmsOn(text);
    EXPECT_TRUE(other->CreateUserLogTable(L"batch", kDefinition, 30))
        << testing::PrintToString(text) << testing::PrintToString(std::wstring(other->GetLastError()));
    EXPECT_EQ(Count(), "1") << testing::PrintToString(text);
  }
  std::remove(services.c_str());
}

TEST_F(UserLogs, ATableOfAnotherSchemaCounts) {
  Run("create schema other; create table other.user_batch(time timestamptz, n int2, x float8, label varchar(20))");
  EXPECT_TRUE(Create()) << Error();
  EXPECT_EQ(Value("select to_regclass('public.user_batch') is null"), "t");
}

TEST_F(UserLogs, NamesInMixedCaseMeet) {
  ASSERT_TRUE(dbms->CreateUserLogTable(L"MixedCase", kDefinition, 30)) << Error();
  ASSERT_TRUE(dbms->InsertUserLogData(L"mIXEDcASE", {kStart * 1000, {L"1", L"1", L"'a'"}})) << Error();
  std::vector<UserLogRow> rows;
  ASSERT_TRUE(dbms->GetUserLogData(L"MIXEDCASE", kStart, kEnd, L"", {}, rows)) << Error();
  EXPECT_EQ(rows.size(), 1u);
  EXPECT_EQ(Value("select count(*) from user_mixedcase"), "1");
}

TEST_F(UserLogs, ConditionsTakeBindsOfBothKinds) {
  ASSERT_TRUE(Create()) << Error();
  ASSERT_TRUE(Insert(kStart * 1000, {L"1", L"1.5", L"'it''s'"})) << Error();
  ASSERT_TRUE(Insert(kStart * 1000 + 1, {L"2", L"2.5", L"'b:1'"})) << Error();
  ASSERT_TRUE(Insert(kStart * 1000 + 2, {L"3", L"null", L"null"})) << Error();
  EXPECT_EQ(Found(L"x > :1", {2.0}), Texts{L"2"});
  EXPECT_EQ(Found(L"label = :1", {L"it's"}), Texts{L"1"});
  EXPECT_EQ(Found(L"label = :1 or n = :2", {L"b:1", 3.0}), (Texts{L"2", L"3"}));
  EXPECT_EQ(Found(L"n = :2 or label = :1", {L"b:1", 3.0}), (Texts{L"2", L"3"}));
  EXPECT_EQ(Found(L"x > :1 and x < :1 + 1", {2.0}), Texts{L"2"});
  EXPECT_EQ(Found(L"label = 'b:1'"), Texts{L"2"});
  EXPECT_EQ(Found(L"x is null"), Texts{L"3"});
  EXPECT_EQ(Found(L"n < 3 or true"), (Texts{L"1", L"2", L"3"}));
}

TEST_F(UserLogs, AConditionThatTheServerRefusesFails) {
  StoreOne();
  std::vector<UserLogRow> rows;
  EXPECT_FALSE(dbms->GetUserLogData(L"batch", kStart, kEnd, L"nothing > :1", {1.0}, rows));
  EXPECT_TRUE(Holds(Error(), "nothing")) << Error();
  EXPECT_EQ(Get().size(), 1u);
}

TEST_F(UserLogs, BoundsComeInEitherOrderAndAreIncluded) {
  ASSERT_TRUE(Create()) << Error();
  for (int i = 0; i < 10; ++i) ASSERT_TRUE(Insert((kStart + i) * 1000, {std::to_wstring(i), L"0", L"''"}));
  std::vector<UserLogRow> rows;
  EXPECT_TRUE(dbms->GetUserLogData(L"batch", kStart + 2, kStart + 5, L"", {}, rows));
  EXPECT_TRUE(dbms->GetUserLogData(L"batch", kStart + 5, kStart + 2, L"", {}, rows));
  ASSERT_EQ(rows.size(), 8u);
  for (std::size_t i = 0; i < 8; ++i) EXPECT_EQ(rows[i].values[0], std::to_wstring(2 + i % 4));
  EXPECT_TRUE(dbms->GetUserLogData(L"batch", kStart + 5, kStart + 5, L"", {}, rows));
  EXPECT_TRUE(dbms->GetUserLogData(L"batch", 0, kEnd, L"", {}, rows));
  EXPECT_TRUE(dbms->GetUserLogData(L"batch", kEnd, -1, L"", {}, rows));
  EXPECT_EQ(rows.size(), 8u);
}

TEST_F(UserLogs, KeepsARowWithoutValues) {
  ASSERT_TRUE(Create()) << Error();
  EXPECT_TRUE(Insert(kStart * 1000 + 123, {})) << Error();
  EXPECT_EQ(Rows("select extract(epoch from time), n, x, label from user_batch"),
            std::vector<std::string>{"1700000000.123000|\\N|\\N|\\N"});
  EXPECT_EQ(Get().at(0).values, (Texts{L"", L"", L""}));
}

TEST_F(UserLogs, ASecondRowOfTheSameMillisecondIsRefused) {
  StoreOne();
  EXPECT_FALSE(Insert(kStart * 1000, {L"2", L"2", L"'b'"}));
  EXPECT_TRUE(Holds(Error(), "duplicate key value violates unique constraint")) << Error();
  EXPECT_TRUE(Insert(kStart * 1000 + 1, {L"2", L"2", L"'b'"})) << Error();
}

std::wstring Literal(const std::wstring& text) {
  std::wstring literal = L"'";
  for (const wchar_t c : text) literal.append(c == L'\'' ? 2 : 1, c);
  return literal + L"'";
}

std::wstring ShortestText(double value) {
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};
}

double Number(const std::wstring& text) {
  const std::string narrow(text.begin(), text.end());
  double value = 0;
  std::from_chars(narrow.data(), narrow.data() + narrow.size(), value);
  return value;
}

TEST_F(UserLogs, RandomRowsComeBackAsTheyWere) {
  ASSERT_TRUE(Create({{L"n", 0, 0}, {L"x", 1, 0}, {L"label", 2, 200}})) << Error();
  Random random(31);
  for (int i = 0; i < 400; ++i) {
    const std::wstring n = std::to_wstring(random.Any<std::int16_t>());
    const double x = random.Double();
    const std::wstring label = Wide(random.Text(static_cast<std::size_t>(random.Between(0, 200))));
    const std::int64_t timeMs = random.Between(kStart * 1000, kEnd * 1000);
    ASSERT_TRUE(Insert(timeMs, {n, Literal(ShortestText(x)), Literal(label)})) << Error();
    EXPECT_EQ(Value("select (extract(epoch from time) * 1000)::int8 from user_batch"),
              std::to_string(timeMs));
    const std::vector<UserLogRow> rows = Get();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].values[0], n);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(Number(rows[0].values[1])), std::bit_cast<std::uint64_t>(x));
    EXPECT_EQ(rows[0].values[2], label);
    Run("delete from user_batch");
  }
}

TEST_F(UserLogs, ATextWithANulCharacterIsRefused) {
  StoreOne();
  EXPECT_FALSE(Insert(kStart * 1000 + 1, {L"2", L"2", std::wstring(L"'a'),\0 b", 8)}));
  EXPECT_TRUE(Holds(Error(), "NUL character")) << Error();
  std::vector<UserLogRow> rows;
  EXPECT_FALSE(dbms->GetUserLogData(L"batch", kStart, kEnd, L"label = :1", {std::wstring(L"a\0b", 3)}, rows));
  EXPECT_TRUE(Holds(Error(), "NUL character")) << Error();
  EXPECT_TRUE(rows.empty());
  EXPECT_EQ(Value("select count(*) from user_batch"), "1");
}

}  // namespace
