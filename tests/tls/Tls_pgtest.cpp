#include <SQLAPI.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "server/DbmsTest.h"

namespace {

constexpr auto kLongEnough = std::chrono::minutes(2);
constexpr auto kPause = std::chrono::milliseconds(50);

class Tls : public DbmsTest {
 protected:
  void SetUp() override {
    const char* const directory = std::getenv("DBMSAPI_TLS");
    ASSERT_NE(directory, nullptr) << "tls_server.sh starts a server with certificates";
    directory_ = directory;
    ASSERT_NO_FATAL_FAILURE(DbmsTest::SetUp());
  }

  // Makes the server use a certificate for later connections.
  void Show(const std::string& name) {
    Run("alter system set ssl_cert_file to '" + directory_ + "/" + name + ".crt'");
    Run("alter system set ssl_key_file to '" + directory_ + "/" + name + ".key'");
    Run("alter system set ssl to on");
    Run("select pg_reload_conf()");
  }

  std::shared_ptr<Dbms> To(const std::wstring& host, const std::string& authority) const {
    const std::wstring root(directory_.begin(), directory_.end());
    const std::wstring file = root + L"/" + std::wstring(authority.begin(), authority.end()) + L".crt";
    return Dbms::GetDbms(DbmsType::TirelScada, host.c_str(), Port(),
                         (L"dbname=" + Database() + L" sslmode=verify-full sslrootcert=" + file).c_str(),
                         User().c_str(), Password().c_str());
  }

  // Connects repeatedly until the error (empty: none) contains the text, because the server takes a moment to
  // use another certificate.
  testing::AssertionResult Comes(const std::wstring& host, const std::string& authority,
                                 const std::wstring& text) const {
    std::wstring error;
    for (const auto end = std::chrono::steady_clock::now() + kLongEnough;
         std::chrono::steady_clock::now() < end; std::this_thread::sleep_for(kPause)) {
      const auto dbms = To(host, authority);
      const bool connected = dbms->Connect();
      error = dbms->GetLastError();
      if (connected == text.empty() && error.find(text) != std::wstring::npos) {
        return testing::AssertionSuccess();
      }
    }
    return testing::AssertionFailure() << testing::PrintToString(error);
  }

  std::string directory_;
};

TEST_F(Tls, ConnectsToTheServerWithTheRightCertificate) {
  Show("right");
  ASSERT_TRUE(Comes(L"localhost", "authority", L""));
  const auto dbms = To(L"localhost", "authority");
  ASSERT_TRUE(dbms->CreateAlarmTable(0)) << testing::PrintToString(std::wstring(dbms->GetLastError()));
  SACommand command(dbms->GetConnection().get(), L"select ssl from pg_stat_ssl where pid = pg_backend_pid()");
  command.Execute();
  ASSERT_TRUE(command.FetchNext());
  EXPECT_TRUE(command.Field(1).asBool());
}

TEST_F(Tls, RefusesACertificateOfAnotherAuthority) {
  Show("right");
  ASSERT_TRUE(Comes(L"localhost", "authority", L""));
  EXPECT_TRUE(Comes(L"localhost", "other", L"certificate verify failed"));
}

TEST_F(Tls, RefusesACertificateForAnotherName) {
  Show("name");
  EXPECT_TRUE(Comes(L"localhost", "authority", L"does not match host name \"localhost\""));
}

TEST_F(Tls, RefusesACertificateThatHasExpired) {
  Show("right");
  ASSERT_TRUE(Comes(L"localhost", "authority", L""));
  Show("expired");
  EXPECT_TRUE(Comes(L"localhost", "authority", L"certificate verify failed"));
}

TEST_F(Tls, RefusesAServerThatSpeaksPlainly) {
  Run("alter system set ssl to off");
  Run("select pg_reload_conf()");
  EXPECT_TRUE(Comes(L"localhost", "authority", L"server does not support SSL, but SSL was required"));
}

TEST_F(Tls, RefusesAnAuthorityThatIsNotThere) {
  Show("right");
  EXPECT_TRUE(Comes(L"localhost", "nobody", L"does not exist"));
}

}  // namespace
