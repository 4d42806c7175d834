// The program itself is killed, or its disk is full.

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <set>
#include <thread>

#include "historian/recorder/RecorderTest.h"
#include "server/Random.h"

namespace historian {
namespace {

constexpr std::int64_t kPerCall = 50;

class RecorderProcess : public RecorderTest {
 protected:
  // Records from a number on until it is killed; writes each number to the pipe before and, negative, after
  // it is accepted.
  [[noreturn]] void RecordForever(std::int64_t number, int pipe) {
    RecorderOptions options = Options();
    options.onEvent = nullptr;
    Recorder recorder(NewDbms(), options);
    const auto say = [pipe](std::int64_t what) {
      if (::write(pipe, &what, sizeof what) != sizeof what) ::_exit(1);
    };
    for (;; ++number) {
      say(number);
      if (!recorder.Record(Samples(number * kPerCall, kPerCall))) ::_exit(2);
      if (number % 5 == 0 && !recorder.Record(std::vector<AlarmRecord>{AnAlarm(number)})) ::_exit(2);
      say(-number);
    }
  }

  struct Said {
    std::set<std::int64_t> begun, accepted;
  };

  // Runs a recorder in a separate process and kills it a while after its first output.
  void RunAndKill(std::int64_t number, std::chrono::microseconds after, Said& said) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      ::close(ends[0]);
      RecordForever(number, ends[1]);
    }
    ::close(ends[1]);
    std::thread killer;
    std::int64_t what = 0;
    while (::read(ends[0], &what, sizeof what) == sizeof what) {
      (what > 0 ? said.begun : said.accepted).insert(std::abs(what));
      if (killer.joinable()) continue;
      killer = std::thread([child, after] {
        std::this_thread::sleep_for(after);
        ::kill(child, SIGKILL);
      });
    }
    if (killer.joinable()) killer.join();
    ::close(ends[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
  }
};

TEST_F(RecorderProcess, IsKilledAtTwoHundredRandomInstants) {
  Random random(7);
  Said said;
  for (int run = 0; run < 200; ++run) {
    const std::int64_t next = said.begun.empty() ? 1 : *said.begun.rbegin() + 1;
    ASSERT_NO_FATAL_FAILURE(RunAndKill(next, std::chrono::microseconds(random.Between(0, 30000)), said));
  }
  ASSERT_GE(said.begun.size(), 200u);

  Recorder recorder(NewDbms(), Options());
  ExpectAllSettled(recorder);
  const RecorderReport report = recorder.Report();
  EXPECT_EQ(report.stored, report.accepted);
  std::set<std::string> accepted, begun;
  for (const std::int64_t number : said.accepted) {
    for (const std::string& line : Lines(Samples(number * kPerCall, kPerCall))) accepted.insert(line);
  }
  for (const std::int64_t number : said.begun) {
    for (const std::string& line : Lines(Samples(number * kPerCall, kPerCall))) begun.insert(line);
  }
  const auto history = History();
  const std::set<std::string> stored(history.begin(), history.end());
  EXPECT_EQ(stored.size(), history.size());
  EXPECT_TRUE(std::includes(stored.begin(), stored.end(), accepted.begin(), accepted.end()))
      << "what was accepted is stored";
  EXPECT_TRUE(std::includes(begun.begin(), begun.end(), stored.begin(), stored.end())) << "and nothing else";
  const auto alarms = std::stoll(Value("select count(*) from alarm"));
  EXPECT_EQ(report.stored, static_cast<std::int64_t>(history.size()) + alarms);
  std::int64_t alarmsAccepted = 0;
  for (const std::int64_t number : said.accepted) alarmsAccepted += number % 5 == 0 ? 1 : 0;
  EXPECT_GE(alarms, alarmsAccepted);
}

// A limit on the size of files acts like a full disk.
TEST_F(RecorderProcess, HasNoSpaceForTheSpool) {
  const auto before = ::signal(SIGXFSZ, SIG_IGN);
  rlimit unlimited{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &unlimited), 0);
  Run("alter table datalog rename to away");
  Recorder recorder(NewDbms(), Options());
  ASSERT_TRUE(recorder.Record(Samples(0, 100)));
  rlimit limited = unlimited;
  limited.rlim_cur = 1 << 20;
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limited), 0);
  std::int64_t accepted = 100;
  while (recorder.Record(Samples(accepted, 100))) accepted += 100;
  EXPECT_FALSE(recorder.Record(Samples(accepted, 100)));
  EXPECT_TRUE(events.WaitFor(RecorderState::Full));
  EXPECT_EQ(recorder.Report().accepted, accepted);
  ExpectTrueCounts(recorder.Report());

  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &unlimited), 0);
  ::signal(SIGXFSZ, before);
  EXPECT_TRUE(recorder.Record(Samples(accepted, 100)));
  Run("alter table away rename to datalog");
  ExpectAllSettled(recorder);
  EXPECT_EQ(History(), Lines(Samples(0, accepted + 100)));
  EXPECT_EQ(recorder.Report().state, RecorderState::Storing);
}

}  // namespace
}  // namespace historian
