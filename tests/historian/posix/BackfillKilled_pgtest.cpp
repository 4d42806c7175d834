// A loading program that is killed again and again.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <limits>
#include <random>
#include <set>
#include <thread>

#include "historian/HistorianTest.h"
#include "historian/Samples.h"

namespace historian {
namespace {

constexpr std::int64_t kStart = 1700000000000;
constexpr std::int64_t kEndless = std::numeric_limits<std::int64_t>::max();
constexpr int kKills = 50;

// Batches of 50 tags over four seconds; half of every fifth batch repeats the one before.
SampleReader Batches(std::int64_t count) {
  return [count](std::int64_t position, std::vector<LogSample>& samples) -> std::optional<std::int64_t> {
    if (position >= count) return std::nullopt;
    const std::int64_t seconds = 4 * position - (position % 5 == 4 ? 2 : 0);
    samples = Cycles(kStart + seconds * 1000, 4, 50);
    return position + 1;
  };
}

class BackfillKilledTest : public HistorianTest, public testing::WithParamInterface<int> {
 protected:
  std::vector<std::shared_ptr<Dbms>> Connections() const {
    std::vector<std::shared_ptr<Dbms>> connections;
    for (int i = 0; i < GetParam(); ++i) connections.push_back(NewDbms());
    return connections;
  }

  // A process that loads until it is killed, some time after its start.
  void LoadAndKill(std::chrono::microseconds after) {
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
      try {
        Backfill(Connections(), "killed", Batches(kEndless));
      } catch (...) {
      }
      _exit(0);
    }
    std::this_thread::sleep_for(after);
    kill(child, SIGKILL);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status)) << "the program ended before it was killed";
  }
};

TEST_P(BackfillKilledTest, LosesNothingStoresNothingTwiceAndContinues) {
  std::mt19937 random(static_cast<unsigned>(GetParam()));
  // Most of the instants are while batches are loaded, some while the program connects.
  for (int i = 0; i < kKills; ++i) {
    ASSERT_NO_FATAL_FAILURE(LoadAndKill(std::chrono::microseconds(random() % 80000)));
  }
  dbms = NewDbms();  // without a connection
  WaitUntil("select count(*) = 0 from " + std::string(kOtherBackends) + " p");

  // The ledger has a row for each stored batch, and for no other.
  const std::int64_t before = std::stoll(Value("select count(*) from historian_backfill"));
  EXPECT_GT(before, 0) << "every program was killed before its first batch";
  EXPECT_EQ(Value("select sum(stored) from historian_backfill"), Value("select count(*) from datalog"));
  const auto begins = Rows("select begins from historian_backfill");
  const std::set<std::string> stored(begins.begin(), begins.end());
  std::vector<std::int64_t> asked;
  const std::int64_t count = std::stoll(Value("select max(ends) from historian_backfill")) + 10;
  const auto read = Batches(count);
  const auto report =
      Backfill(Connections(), "killed", [&](std::int64_t position, std::vector<LogSample>& samples) {
        asked.push_back(position);
        return read(position, samples);
      });
  EXPECT_EQ(report.batchesBefore, before);
  EXPECT_EQ(report.counts.batches, count - before);
  for (const std::int64_t position : asked) {
    EXPECT_EQ(stored.count(std::to_string(position)), 0U) << "batch " << position << " was read again";
  }

  std::vector<LogSample> all;
  for (std::int64_t position = 0; position < count; ++position) {
    std::vector<LogSample> samples;
    read(position, samples);
    all.insert(all.end(), samples.begin(), samples.end());
  }
  Run("alter table datalog rename to loaded");
  ASSERT_TRUE(dbms->CreateLogTable(0));
  ASSERT_TRUE(dbms->InsertLogData(all));
  EXPECT_EQ(Value("select count(*) from loaded"), Value("select count(*) from datalog"));
  EXPECT_EQ(Rows("(select time, tag_name from loaded) except (select time, tag_name from datalog) limit 5"),
            std::vector<std::string>());
}

INSTANTIATE_TEST_SUITE_P(Connections, BackfillKilledTest, testing::Values(1, 2));

}  // namespace
}  // namespace historian
