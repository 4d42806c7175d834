// A recorder used by many threads, and Backfill with several connections.

#include "historian/Recorder.h"

#include <atomic>

#include "historian/Backfill.h"
#include "historian/Samples.h"
#include "historian/recorder/RecorderTest.h"
#include "threads/Parallel.h"

namespace historian {
namespace {

constexpr int kRecording = 8;
constexpr std::int64_t kPerCall = 100;

class RecorderThreads : public RecorderTest {
 protected:
  // The work of one recording thread, with tag names of its own.
  static void RecordSomething(Recorder& recorder, int thread, int calls) {
    for (int call = 0; call < calls; ++call) {
      EXPECT_TRUE(recorder.Record(Samples(call * kPerCall, kPerCall, L"TAG" + std::to_wstring(thread))));
      EXPECT_TRUE(recorder.Record(std::vector<AlarmRecord>{AnAlarm(thread * 1000 + call)}));
      EXPECT_TRUE(recorder.Record(std::vector<SystemLogRecord>{ALogRecord(thread * 1000 + call)}));
    }
  }

  void ExpectAllStored(const Recorder& recorder, std::int64_t calls) {
    ExpectAllSettled(recorder);
    EXPECT_EQ(Value("select count(*) from datalog"), std::to_string(calls * kPerCall));
    EXPECT_EQ(Value("select count(*) from alarm"), std::to_string(calls));
    EXPECT_EQ(Value("select count(*) from system_log"), std::to_string(calls));
    EXPECT_EQ(recorder.Report().stored, calls * (kPerCall + 2));
    EXPECT_EQ(recorder.Report().duplicates, 0);
  }
};

// While the worker stores, its session is ended again and again, the report is read and the role changes.
TEST_F(RecorderThreads, EightRecordWhileAllElseGoesOn) {
  constexpr int kCalls = 40;
  RecorderOptions options = Options();
  std::atomic<Recorder*> observed = nullptr;
  options.onEvent = [&](const RecorderEvent& event) {
    events.Add(event);
    if (const Recorder* one = observed) ExpectTrueCounts(one->Report());
  };
  Recorder recorder(NewDbms(), options);
  observed = &recorder;
  std::vector<std::function<void()>> bodies;
  std::atomic<int> left = kRecording;
  for (int thread = 0; thread < kRecording; ++thread) {
    bodies.emplace_back([&, thread] {
      RecordSomething(recorder, thread, kCalls);
      --left;
    });
  }
  bodies.emplace_back([&] {
    while (left > 0) ExpectTrueCounts(recorder.Report());
    EXPECT_TRUE(recorder.WaitUntilStored(kLongEnough));
  });
  bodies.emplace_back([&] {
    while (left > 0) {
      Run("select pg_terminate_backend(pid) from " + std::string(kOtherBackends) + " p");
      recorder.NotifyRoleChange();
      recorder.WaitUntilStored(std::chrono::milliseconds(20));
    }
  });
  InParallel(bodies);
  ExpectAllStored(recorder, kRecording * kCalls);
}

// Each recorder ends while it stores what several threads have just recorded, or while it still connects.
TEST_F(RecorderThreads, EndsInTheMiddleOfItsWork) {
  constexpr int kRuns = 12, kCalls = 5;
  for (int run = 0; run < kRuns; ++run) {
    Recorder recorder(NewDbms(), Options());
    std::vector<std::function<void()>> bodies;
    for (int thread = 0; thread < 3; ++thread) {
      bodies.emplace_back([&, thread] { RecordSomething(recorder, run * 3 + thread, kCalls); });
    }
    InParallel(bodies);
  }
  Recorder recorder(NewDbms(), Options());
  ExpectAllStored(recorder, kRuns * 3 * kCalls);
}

class BackfillThreads : public HistorianTest {};

TEST_F(BackfillThreads, LoadOverSeveralConnections) {
  // Each batch repeats half of the one before.
  std::vector<LogSample> samples;
  for (int batch = 0; batch < 60; ++batch) {
    const auto cycles = Cycles(kFirstMs + batch * 5000, 10, 20);
    samples.insert(samples.end(), cycles.begin(), cycles.end());
  }
  std::int64_t seen = 0;
  const auto report = Backfill({dbms, NewDbms(), NewDbms()}, "test", InBatches(samples, 200),
                               {[&](const BackfillProgress& progress) {
                                 seen = progress.counts.samples;
                                 return true;
                               }});
  EXPECT_EQ(seen, 60 * 200);
  EXPECT_EQ(report.counts.stored, 305 * 20);
  EXPECT_EQ(report.counts.duplicates, 60 * 200 - 305 * 20);
  EXPECT_EQ(Value("select count(*) from datalog"), std::to_string(305 * 20));
}

}  // namespace
}  // namespace historian
