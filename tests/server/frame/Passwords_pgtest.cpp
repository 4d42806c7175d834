// The password is in no text that the library gives out, whatever keeps it from connecting.

#include <DbmsAPI/Diagnostics.h>

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

  // Fails to connect with a password of the argument, and one in the database text; gives the error.
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

}  // namespace
