#include "DbmsAPI/frame/DatabaseName.h"

#include "scripted/ScriptedTest.h"

namespace {

constexpr wchar_t kAsk[] = L"select current_database()";

TEST(DatabaseName, ATextIsANameUnlessItHoldsMore) {
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
  for (const auto& [text, isName] : texts)
    EXPECT_EQ(IsDatabaseName(text), isName) << testing::PrintToString(text);
}

TEST(DatabaseName, ANameThatTheServerCutsIsNotTheDatabasesName) {
  EXPECT_TRUE(IsDatabaseName(std::wstring(63, L'd')));
  EXPECT_FALSE(IsDatabaseName(std::wstring(64, L'd')));
  EXPECT_TRUE(IsDatabaseName(std::wstring(31, L'\xe4')));
  EXPECT_FALSE(IsDatabaseName(std::wstring(32, L'\xe4')));
}

class AskedDatabaseName : public ScriptedTest {
 protected:
  std::wstring Name(const wchar_t* text) {
    EXPECT_TRUE(dbms->Connect());
    SACommand command(dbms->GetConnection().get());
    return DatabaseName(command, text);
  }
};

TEST_F(AskedDatabaseName, ANameIsTakenWithoutAsking) {
  EXPECT_EQ(Name(L"scada"), L"scada");
  EXPECT_TRUE(server.sent.empty());
}

TEST_F(AskedDatabaseName, TheServerIsAskedForTheRest) {
  server.Answer(kAsk, {{L"plant"}});
  EXPECT_EQ(Name(L"service=plant_service"), L"plant");
  EXPECT_EQ(server.Statements(), Texts{kAsk});
}

}  // namespace
