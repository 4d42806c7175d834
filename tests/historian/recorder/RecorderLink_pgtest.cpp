// The link to the server: cut, half open, slow.

#include <memory>
#include <thread>

#include "historian/recorder/RecorderTest.h"
#include "server/Random.h"
#include "server/TcpGate.h"

namespace historian {
namespace {

class RecorderLink : public RecorderTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(RecorderTest::SetUp());
    const std::wstring host = Host();
    gate = std::make_unique<TcpGate>(std::string(host.begin(), host.end()), Port());
  }
  // Encryption would move the bytes that a test counts on.
  std::shared_ptr<Dbms> Through() const {
    const std::wstring database = L"dbname=" + Database() + L" sslmode=disable gssencmode=disable";
    return Dbms::GetDbms(DbmsType::TirelScada, L"127.0.0.1", gate->Port(), database.c_str(), User().c_str(),
                         Password().c_str());
  }
  void TearDown() override {
    gate.reset();
    RecorderTest::TearDown();
  }

  std::unique_ptr<TcpGate> gate;
};

// Cut anywhere: while connecting, in BEGIN, in COPY, in COMMIT, after it.
TEST_F(RecorderLink, IsCutAtFiftyRandomBytes) {
  Random random(20240711);
  Recorder recorder(Through(), Options());
  ASSERT_TRUE(recorder.Record(Samples(0, 2000)));
  ExpectAllSettled(recorder);
  const std::int64_t batchBytes = gate->Bytes();
  std::int64_t first = 2000;
  for (int cut = 1; cut <= 50; ++cut, first += 2000) {
    gate->CutAfter(random.Between(0, batchBytes));
    while (gate->Faults() < cut) {
      ASSERT_TRUE(recorder.Record(Samples(first, 2000)));
      ASSERT_TRUE(recorder.Record(std::vector<AlarmRecord>{AnAlarm(first)}));
      ASSERT_TRUE(recorder.WaitUntilStored(kLongEnough)) << recorder.Report().lastError;
      if (gate->Faults() < cut) first += 2000;
    }
  }
  ExpectAllSettled(recorder);
  EXPECT_EQ(gate->Faults(), 50);
  EXPECT_EQ(History(), Lines(Samples(0, first)));
  const RecorderReport report = recorder.Report();
  EXPECT_EQ(report.stored, report.accepted) << "a batch that was stored without an answer is no duplicate";
  EXPECT_EQ(std::to_string(report.stored - first), Value("select count(*) from alarm"));
}

// The answer to COMMIT never comes: the batch is stored, and neither sent again nor counted as duplicate.
TEST_F(RecorderLink, IsCutAfterEveryCommit) {
  // Samples of today, so that nothing but the batches goes over the link; batch numbers of two digits.
  const std::int64_t now = std::chrono::duration_cast<std::chrono::milliseconds>(
                               std::chrono::system_clock::now().time_since_epoch())
                               .count();
  const auto fresh = [now](std::int64_t first) {
    auto samples = Samples(100000 + first, 100);
    for (LogSample& sample : samples) sample.timeMs += now - kFirstMs;
    return samples;
  };
  Recorder recorder(Through(), Options());
  std::int64_t first = 0;
  const auto record = [&] {
    ASSERT_TRUE(recorder.Record(fresh(first)));
    ASSERT_TRUE(recorder.WaitUntilStored(kLongEnough)) << recorder.Report().lastError;
    first += 100;
  };
  for (int i = 0; i < 12; ++i) ASSERT_NO_FATAL_FAILURE(record());
  for (int i = 1; i <= 10; ++i) {
    const std::int64_t before = gate->Bytes();
    ASSERT_NO_FATAL_FAILURE(record());
    // The same again; its last byte is that of COMMIT.
    gate->CutAfter(gate->Bytes() - before);
    ASSERT_NO_FATAL_FAILURE(record());
    EXPECT_EQ(gate->Faults(), i);
  }
  ExpectAllSettled(recorder);
  EXPECT_EQ(recorder.Report().stored, first);
  EXPECT_EQ(Value("select count(*) from datalog"), std::to_string(first));
}

TEST_F(RecorderLink, IsHalfOpen) {
  RecorderOptions options = Options();
  options.callLimit = std::chrono::milliseconds(300);
  Recorder recorder(Through(), options);
  ASSERT_TRUE(recorder.Record(Samples(0, 1000)));
  ExpectAllSettled(recorder);
  std::int64_t first = 1000;
  for (const std::int64_t bytes : {0, 100, 20000}) {
    gate->SwallowAfter(bytes);
    ASSERT_TRUE(recorder.Record(Samples(first, 1000)));
    EXPECT_TRUE(events.WaitFor(RecorderState::Waiting));
    ASSERT_TRUE(recorder.WaitUntilStored(kLongEnough)) << recorder.Report().lastError;
    events.Clear();
    first += 1000;
  }
  // A connection from which nothing is read either: sent data fills the buffers, and then sending blocks.
  gate->StallAfter(1000);
  ASSERT_TRUE(recorder.Record(Samples(first, 100000)));
  EXPECT_TRUE(events.WaitFor(RecorderState::Waiting));
  ExpectAllSettled(recorder);
  EXPECT_EQ(History(), Lines(Samples(0, first + 100000)));
  EXPECT_EQ(recorder.Report().duplicates, 0);
}

TEST_F(RecorderLink, IsSlow) {
  gate->Delay(std::chrono::milliseconds(20));
  Recorder recorder(Through(), Options());
  for (int i = 0; i < 10; ++i) ASSERT_TRUE(recorder.Record(Samples(1000 * i, 1000)));
  ExpectAllSettled(recorder);
  EXPECT_EQ(History(), Lines(Samples(0, 10000)));
}

// The recorder ends although the server does not answer.
TEST_F(RecorderLink, IsHalfOpenWhenTheRecorderEnds) {
  {
    Recorder recorder(Through(), Options());
    ASSERT_TRUE(recorder.Record(Samples(0, 10)));
    ExpectAllSettled(recorder);
    gate->SwallowAfter(10);
    ASSERT_TRUE(recorder.Record(Samples(10, 10)));
    while (gate->Faults() == 0) std::this_thread::yield();
  }
  Recorder recorder(NewDbms(), Options());
  ExpectAllSettled(recorder);
  EXPECT_EQ(History(), Lines(Samples(0, 20)));
}

// The program has ended, but the server has not noticed and is still storing the batch when the next program
// starts.
TEST_F(RecorderLink, WaitsForACommitThatIsStillOnItsWay) {
  const auto waiting = [](int count) {
    return "select count(*) = " + std::to_string(count) +
           " from pg_stat_activity where datname = current_database() and wait_event_type = 'Lock'";
  };
  Run("create function hold() returns trigger language plpgsql as $$ begin perform pg_advisory_xact_lock(7); "
      "return null; end $$");
  Run("create constraint trigger hold after insert on datalog deferrable initially deferred for each row "
      "execute function hold()");
  Run("select pg_advisory_lock(7)");
  {
    Recorder recorder(NewDbms(), Options());
    ASSERT_TRUE(recorder.Record(Samples(0, 10)));
    WaitUntil(waiting(1));
  }
  Recorder recorder(NewDbms(), Options());
  WaitUntil(waiting(2));
  Run("select pg_advisory_unlock(7)");
  ExpectAllSettled(recorder);
  EXPECT_EQ(History(), Lines(Samples(0, 10)));
  EXPECT_EQ(recorder.Report().stored, 10);
  EXPECT_EQ(recorder.Report().duplicates, 0);
}

}  // namespace
}  // namespace historian
