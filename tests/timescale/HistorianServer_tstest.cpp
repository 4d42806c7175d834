// Findings about a whole server, with advice that restarts it or frees its disk. Each test has a server of
// its own: tests/historian/disk/small_disk.sh.

#include <filesystem>

#include "TimescaleTest.h"
#include "historian/HealthChecks.h"
#include "historian/disk/SmallDisk.h"
#include "server/PrivateServer.h"

namespace {

using historian::HealthChecks;
using historian::Verdict;

class HistorianServer : public TimescaleTest {
 protected:
  void SetUp() override {
    TimescaleTest::SetUp();
    dbms = NewDbms();
    ASSERT_TRUE(dbms->CreateLogTable(0)) << dbms->GetLastError();
    // A server that is restarted runs jobs again.
    Run("select alter_job(job_id, scheduled => false) from timescaledb_information.jobs");
  }

  // Samples on each of some days, the last of which is 30 days ago.
  void Store(int days, int samples) {
    Run("insert into datalog select date_trunc('day', now()) - day * interval '1 day' + sample * interval '1 ms', 'A', "
        "random() from generate_series(30, " +
        std::to_string(29 + days) + ") day, generate_series(1, " + std::to_string(samples) + ") sample");
  }

  // Carries out an advice: a statement, or an action in words.
  void CarryOut(const std::string& step) {
    if (step != "restart the server") return Run(step);
    ControlServer("restart");
    Reconnect();
  }

  std::shared_ptr<Dbms> dbms;
  HealthChecks checks{
      [this] { return NewUntoldDbms(); }, [this](const std::string& step) { CarryOut(step); }, {}};
};

TEST_F(HistorianServer, LocksAreToSufficeForAllChunks) {
  Store(70, 1);
  checks.Expect("locks", Verdict::Ok, "takes 210 locks");
  checks.CarryOut(
      "alter system set max_connections = 20; alter system set max_locks_per_transaction = 10; restart the server");
  checks.ExpectCure("locks", Verdict::Failed, "takes 210 locks of 200");
  EXPECT_EQ(Value("show max_locks_per_transaction"), "42");
  EXPECT_EQ(Value("select count(*) from datalog"), "70");
  checks.CarryOut("alter system set max_locks_per_transaction = 15; restart the server");
  checks.ExpectCure("locks", Verdict::Warning, "takes 210 locks of 300");
}

// The server's disk is in memory.
TEST_F(HistorianServer, ARetentionFreesTheDisk) {
  constexpr std::uintmax_t kJustTooLittle = 1'950'000'000;
  Store(1, 1'000'000);
  Run("checkpoint");
  const auto disk = std::filesystem::space(Value("show data_directory"));
  ResizeDisk(std::to_string(disk.capacity - disk.available + kJustTooLittle));
  EXPECT_EQ(checks.Expect("disk", Verdict::Warning, " GB are free").advice,
            "add space, or keep less: historian init --retention DAYS");
  ASSERT_TRUE(dbms->CreateLogTable(10)) << dbms->GetLastError();  // as that command does
  Run("call run_job(" +
      Value("select job_id from timescaledb_information.jobs where proc_name = 'policy_retention' and "
            "hypertable_name = 'datalog'") +
      ")");
  EXPECT_EQ(Value("select count(*) from datalog"), "0");
  checks.Expect("disk", Verdict::Ok, " GB are free");
}

}  // namespace
