// The name of the database, which the columns of a user log table are looked up by.

#include "scripted/ScriptedTest.h"

namespace {

constexpr wchar_t kCount[] = L"select count(*) from pg_stat_user_tables where relname = lower('user_batch')";
constexpr wchar_t kAsk[] = L"select current_database()";

std::wstring Columns(const std::wstring& database) {
  return L"select column_name, udt_name, character_maximum_length from information_schema.columns where table_catalog = '" +
         database + L"' and table_name = lower('user_batch') order by ordinal_position";
}

class UserLogDatabases : public ScriptedTest {
 protected:
  // What is sent for a table that exists and is kept.
  Texts Create(const std::wstring& database, const std::wstring& name) {
    const auto object = Dbms::GetDbms(DbmsType::TirelScada, L"h", 1, database.c_str(), L"u", L"p");
    server.Forget();
    server.Answer(kCount, {{L"1"}});
    server.Answer(kAsk, {{name}});
    server.Answer(Columns(name), {{L"time", L"timestamptz", std::nullopt}});
    EXPECT_TRUE(object->CreateUserLogTable(L"batch", {}, 0));
    return server.Statements();
  }

  // Whether the text counts as the name.
  bool IsName(const std::wstring& text) {
    const Texts sent = Create(text, text.empty() ? L"plant" : text);
    EXPECT_EQ(sent.front(), kCount);
    EXPECT_EQ(sent.back(), Columns(text.empty() ? L"plant" : text));
    EXPECT_LE(sent.size(), 3u);
    return sent.size() == 2;
  }
};

TEST_F(UserLogDatabases, ATextIsANameUnlessItHoldsMore) {
  const struct {
    const wchar_t* text;
    bool isName;
  } texts[] = {
      {L"scada", true},
      {L"Scada_2", true},
      {L"plant-7.history", true},
      {L"o'clock", true},
      {L"\x8a13\x5e93", true},
      {L"", false},
      {L"dbname=scada", false},
      {L"dbname=scada connect_timeout=3", false},
      {L"connect_timeout=3 dbname='my db'", false},
      {L"dbname = 'it\\'s'", false},
      {L"service=plant", false},
      {L"sslmode=verify-full", false},
      {L"postgresql://", false},
      {L"postgresql://host/scada", false},
      {L"postgres://host/scada?connect_timeout=3", false},
      {L"scada;-c timezone=UTC", false},
      {L"scada;", false},
      {L"other@scada", false},
      {L"my db", false},
      {L" scada", false},
      {L"scada\t", false},
  };
  for (const auto& [text, isName] : texts) EXPECT_EQ(IsName(text), isName) << testing::PrintToString(text);
}

TEST_F(UserLogDatabases, ANameThatTheServerCutsIsNotTheDatabasesName) {
  EXPECT_TRUE(IsName(std::wstring(63, L'd')));
  EXPECT_FALSE(IsName(std::wstring(64, L'd')));
  EXPECT_TRUE(IsName(std::wstring(31, L'\xe4')));
  EXPECT_FALSE(IsName(std::wstring(32, L'\xe4')));
}

TEST_F(UserLogDatabases, ANameIsTakenWithoutAsking) {
  EXPECT_EQ(Create(L"scada", L"scada"), (Texts{kCount, Columns(L"scada")}));
}

TEST_F(UserLogDatabases, TheServerIsAskedForTheRest) {
  EXPECT_EQ(Create(L"service=plant_service", L"plant"), (Texts{kCount, kAsk, Columns(L"plant")}));
}

}  // namespace
