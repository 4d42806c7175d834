// No text that the library gives out holds the password, for whatever reason it cannot connect.

#include <DbmsAPI/Diagnostics.h>
#include <SQLAPI.h>

#include "platform/Socket.h"
#include "server/DbmsTest.h"

namespace {

constexpr wchar_t kWrong[] = L"Wr0ng-and-Secret";

class Passwords : public DbmsTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(DbmsTest::SetUp());
    SetDbmsDebugSink([this](const wchar_t* line) { said += line; });
  }
  void TearDown() override {
    SetDbmsDebugSink({});
    DbmsTest::TearDown();
  }

  // Fails to connect; the argument for the password and the database text each hold one. Returns the error.
  std::wstring Fail(const std::wstring& host, int port, const std::wstring& database,
                    const std::wstring& user) {
    const auto dbms =
        Dbms::GetDbms(DbmsType::TirelScada, host.c_str(), port, database.c_str(), user.c_str(), kWrong);
    said.clear();
    EXPECT_FALSE(dbms->Connect());
    std::wstring version;
    EXPECT_FALSE(dbms->GetServerVersion(version));
    EXPECT_EQ(version, dbms->GetLastError());
    EXPECT_FALSE(version.empty());
    EXPECT_NE(said.find(version), std::wstring::npos);
    for (const std::wstring& text : {version, said}) {
      EXPECT_EQ(text.find(L"ecret"), std::wstring::npos) << testing::PrintToString(text);
    }
    return version;
  }

  std::wstring said;
};

TEST_F(Passwords, AreInNoTextOfAFailedConnect) {
  const platform::Socket closed = platform::Socket::Bound();
  Fail(L"127.0.0.1", closed.Port(), L"db", User());
  Fail(Host(), Port(), Database(), User());
  Fail(Host(), Port(), L"no_such_database", L"no_such_user");
  Fail(L"no host's name", Port(), L"db", User());
  Fail(Host(), -1, L"db", User());
}

TEST_F(Passwords, OfADatabaseTextAreInNoTextOfAFailedConnect) {
  const std::wstring name = L"dbname=" + Database() + L" ";
  for (const wchar_t* keywords :
       {L"password=Secret", L"password='Secret", L"password = Se\\cret Secret", L"passwordd=Secret",
        L"password=Secret sslmode=sometimes", L"password=Secret connect_timeout=soon",
        L"password=Secret port=none", L"passfile=/nowhere password=Secret", L"password=Secret;-c nonsense=1",
        L"password=Secret sslrootcert=/nowhere sslmode=verify-full",
        L"password=Secret options='-c nonsense=Secret"}) {
    SCOPED_TRACE(testing::PrintToString(std::wstring(keywords)));
    Fail(Host(), Port(), name + keywords, User());
  }
  for (const wchar_t* uri : {L"postgresql://u:Secret@h:x/db", L"postgresql://u:Secret@[::1/db",
                             L"postgres://u:Secret@h/db?bogus=1", L"postgres://u:Se%zzcret@h/db",
                             L"postgresql://u:Secret@h/db?password=Secret&sslmode"}) {
    SCOPED_TRACE(testing::PrintToString(std::wstring(uri)));
    Fail(Host(), Port(), uri, User());
  }
}

TEST_F(Passwords, AreInNoTextOfAFailedStatement) {
  const auto dbms = NewDbms();
  said.clear();
  EXPECT_FALSE(dbms->CreateUserLogTable(L"a b", {{L"n", 0, 0}}, 0));
  EXPECT_FALSE(said.empty());
  EXPECT_EQ(said.find(Password()), std::wstring::npos);
}

// A text as a literal of a statement.
std::wstring Literal(const std::wstring& text) {
  std::wstring literal = L"E'";
  for (const wchar_t c : text)
    literal += c == L'\'' || c == L'\\' ? std::wstring(L"\\") + c : std::wstring(1, c);
  return literal + L"'";
}

TEST_F(Passwords, OfAnyCharactersAreTakenAsTheyAre) {
  const std::wstring role = Database() + L"_role";
  const auto owner = NewDbms();
  ASSERT_TRUE(owner->Connect());
  const auto run = [&](const std::wstring& statement) {
    SACommand(owner->GetConnection().get(), statement.c_str()).Execute();
  };
  run(L"set password_encryption to 'scram-sha-256'");
  run(L"create role " + role + L" login");
  for (const wchar_t* password :
       {L"o'brien''s", L" blank before and after ", L"back\\slash\\", L"\"double\" = ;@,:1 $1",
        L"\U0001F525 \u00e4", L"postgresql://u:p@h/d?x=%20", L"\u00a0\t"}) {
    SCOPED_TRACE(testing::PrintToString(std::wstring(password)));
    run(L"alter role " + role + L" password " + Literal(password));
    const auto by = [&](const std::wstring& database, const wchar_t* argument) {
      const auto dbms = Dbms::GetDbms(DbmsType::TirelScada, Host().c_str(), Port(), database.c_str(),
                                      role.c_str(), argument);
      return dbms->Connect();
    };
    EXPECT_TRUE(by(Database(), password));
    EXPECT_TRUE(by(L"dbname=" + Database() + L" password=" + Literal(password).substr(1), L""));
    EXPECT_FALSE(by(Database(), (std::wstring(password) + L"x").c_str()));
    EXPECT_EQ(said.find(password), std::wstring::npos);
  }
  run(L"drop role " + role);
}

}  // namespace
