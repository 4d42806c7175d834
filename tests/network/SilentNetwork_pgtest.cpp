// A network on which every packet is lost, as when a switch or a host loses power: run by silent_network.sh.

#include <chrono>
#include <cstdlib>
#include <future>
#include <stdexcept>

#include <SQLAPI.h>

#include "server/DbmsTest.h"

namespace {

constexpr std::chrono::minutes kLimit{1};  // for every operation, with default settings

class SilentNetwork : public DbmsTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(DbmsTest::SetUp());
    dbms_ = NewDbms();
    ASSERT_TRUE(dbms_->CreateLogTable(0)) << dbms_->GetLastError();
  }
  void TearDown() override {
    if (silent_) Restore();
    DbmsTest::TearDown();
  }

  void Silence() {
    Execute("DBMSAPI_SILENCE_NETWORK");
    silent_ = true;
  }
  void Restore() {
    Execute("DBMSAPI_RESTORE_NETWORK");
    silent_ = false;
  }

  // Runs an operation, which must fail within the limit, and returns its error text.
  template <class Operation>
  std::wstring TextOfFailure(Operation operation) {
    auto done = Start(operation);
    return TextOf(done);
  }
  template <class Operation>
  std::future<bool> Start(Operation operation) {
    return std::async(std::launch::async, [this, operation] { return operation(*dbms_); });
  }
  std::wstring TextOf(std::future<bool>& done) {
    if (done.wait_for(kLimit) != std::future_status::ready) {
      ADD_FAILURE() << "the operation still waits";
      Restore();
    }
    EXPECT_FALSE(done.get());
    return dbms_->GetLastError();
  }

  // The network is back: the next operation connects again.
  void ExpectThatItGoesOn() {
    Restore();
    EXPECT_TRUE(InsertSample(*dbms_)) << dbms_->GetLastError();
    EXPECT_EQ(Value("select count(*) from datalog"), "1");
  }

  static bool InsertSample(Dbms& dbms) { return dbms.InsertLogData({{1700000000123, L"PUMP.SPEED", 21.5}}); }
  static bool GetOldestTime(Dbms& dbms) {
    std::int64_t oldest = 0;
    return dbms.GetOldestLogTime(oldest);
  }

  std::shared_ptr<Dbms> dbms_;

 private:
  static void Execute(const char* variable) {
    const char* const command = std::getenv(variable);
    if (!command) throw std::runtime_error("run this by silent_network.sh");
    if (std::system(command) != 0) throw std::runtime_error(command);
  }

  bool silent_ = false;
};

TEST_F(SilentNetwork, LosesTheStatement) {
  Silence();
  EXPECT_EQ(TextOfFailure(GetOldestTime), L"could not receive data from server: Connection timed out");
  EXPECT_FALSE(dbms_->GetConnection()->isConnected());
  ExpectThatItGoesOn();
}

TEST_F(SilentNetwork, LosesTheBatch) {
  Silence();
  EXPECT_EQ(TextOfFailure(InsertSample), L"could not receive data from server: Connection timed out");
  EXPECT_FALSE(dbms_->GetConnection()->isConnected());
  ExpectThatItGoesOn();
}

// The server is working on the statement when the network fails, so no data is left unacknowledged.
TEST_F(SilentNetwork, LosesTheAnswer) {
  Run("begin; lock table datalog in access exclusive mode");
  auto done = Start(GetOldestTime);
  WaitUntil("select exists (select from pg_stat_activity where wait_event_type = 'Lock' and pid in " +
            std::string(kOtherBackends) + ")");
  Silence();
  EXPECT_EQ(TextOf(done), L"could not receive data from server: Connection timed out");
  EXPECT_FALSE(dbms_->GetConnection()->isConnected());
  Restore();
  Run("rollback");
  ExpectThatItGoesOn();
}

TEST_F(SilentNetwork, LosesTheConnectionAttempt) {
  dbms_->GetConnection()->Destroy();
  Silence();
  EXPECT_EQ(TextOfFailure([](Dbms& dbms) { return dbms.Connect(); }),
            L"connection to server at \"" + Host() + L"\", port " + std::to_wstring(Port()) +
                L" failed: timeout expired");
  ExpectThatItGoesOn();
}

}  // namespace
