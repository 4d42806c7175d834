#include <gtest/gtest.h>

#include <SQLAPI.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>

#include "Clusters.h"
#include "DbmsAPI/Diagnostics.h"
#include "historian/Recorder.h"

namespace {

constexpr std::int64_t kFirstMs = 1700000000000;
constexpr std::int64_t kPerCall = 200;
constexpr std::chrono::minutes kLongEnough{2};

// A recorder that follows the primary role from one cluster to the other while a plant records.
class RecorderFailover : public ::testing::Test {
 protected:
  RecorderFailover() {
    SetDbmsDebugSink([](const wchar_t*) {});
    spool_ = std::filesystem::temp_directory_path() /
             ("failover_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) + "_" +
              std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()));
    std::filesystem::create_directories(spool_);
  }
  ~RecorderFailover() override {
    SetDbmsDebugSink({});
    std::error_code ignored;
    std::filesystem::remove_all(spool_, ignored);
  }

  void SetUp() override {
    const auto dbms = clusters.Connect();
    ASSERT_TRUE(dbms->CreateLogTable(0)) << dbms->GetLastError();
    ASSERT_TRUE(dbms->CreateAlarmTable(0)) << dbms->GetLastError();
  }

  historian::RecorderOptions Options() const {
    historian::RecorderOptions options;
    options.spool = spool_ / "plant.spool";
    options.firstPause = std::chrono::milliseconds(20);
    options.longestPause = std::chrono::milliseconds(500);
    return options;
  }

  // Records during `changes`. Afterwards every sample must be at the host, once.
  void RecordWhile(historian::Recorder& recorder, const std::function<void()>& changes) {
    std::atomic<bool> enough = false;
    std::atomic<std::int64_t> calls = 0;
    std::thread plant([&] {
      for (; !enough; ++calls) {
        std::vector<LogSample> samples;
        for (std::int64_t i = calls * kPerCall; i < (calls + 1) * kPerCall; ++i) {
          samples.push_back({kFirstMs + i, L"PUMP", static_cast<double>(i)});
        }
        EXPECT_TRUE(recorder.Record(samples));
        EXPECT_TRUE(recorder.Record(
            std::vector<AlarmRecord>{{kFirstMs + calls, L"PUMP", 1, L"high", 1, 1, 1, 1, kFirstMs, 0}}));
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
      }
    });
    WaitForMore(recorder);
    changes();
    WaitForMore(recorder);
    enough = true;
    plant.join();
    EXPECT_TRUE(recorder.WaitUntilStored(kLongEnough)) << recorder.Report().lastError;
    calls_ = calls;
    const historian::RecorderReport r = recorder.Report();
    EXPECT_EQ(r.accepted, r.stored + r.duplicates + r.setAside + r.dropped + r.waiting);
    EXPECT_EQ(r.stored, calls_ * (kPerCall + 1));
  }

  static void WaitForMore(const historian::Recorder& recorder) {
    const std::int64_t stored = recorder.Report().stored;
    const auto end = std::chrono::steady_clock::now() + kLongEnough;
    while (recorder.Report().stored < stored + 5 * kPerCall) {
      ASSERT_LT(std::chrono::steady_clock::now(), end) << recorder.Report().lastError;
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  }

  void ExpectEverythingAt(const std::wstring& host) const {
    const auto dbms = clusters.ConnectTo(host);
    ASSERT_TRUE(dbms->Connect());
    const std::wstring samples = std::to_wstring(calls_ * kPerCall);
    EXPECT_EQ(Value(*dbms, L"select count(*) from datalog"), calls_ * kPerCall);
    EXPECT_EQ(
        Value(*dbms, L"select count(*) from generate_series(0, " + samples +
                         L" - 1) i join datalog on time ="
                         L" to_timestamp((1700000000000 + i) / 1000.0) and tag_name = 'PUMP' and value = i"),
        calls_ * kPerCall);
    EXPECT_EQ(Value(*dbms, L"select count(*) from alarm"), calls_);
  }
  static std::int64_t Value(Dbms& dbms, const std::wstring& query) {
    SACommand command(dbms.GetConnection().get(), query.c_str());
    command.Execute();
    return command.FetchNext() ? command.Field(1).asInt64() : -1;
  }

  const Clusters clusters;
  std::filesystem::path spool_;
  std::int64_t calls_ = 0;
};

// The operator promotes the replica and makes the old primary read-only; the recorder leaves the server that
// refuses to write.
TEST_F(RecorderFailover, IsPlanned) {
  const auto dbms = clusters.Connect();
  dbms->hostSelector = [this](const wchar_t* current) {
    return current ? clusters.Other(current) : clusters.standby().c_str();
  };
  historian::Recorder recorder(dbms, Options());
  RecordWhile(recorder, [this] {
    clusters.FencePrimary();
    clusters.PromoteStandby();
  });
  ExpectEverythingAt(clusters.standby());
}

// The primary crashes and later comes back read-only; a role change then sends the recorder there by mistake.
TEST_F(RecorderFailover, IsForcedAndTheOldPrimaryComesBackReadOnly) {
  const auto dbms = clusters.Connect();
  std::atomic<bool> mistaken = false;
  std::atomic<int> mistakes = 0;
  dbms->hostSelector = [&](const wchar_t* current) {
    if (current) return clusters.Other(current);
    if (mistaken.exchange(false)) {
      ++mistakes;
      return clusters.primary().c_str();
    }
    return clusters.standby().c_str();
  };
  historian::Recorder recorder(dbms, Options());
  RecordWhile(recorder, [&] {
    clusters.StopPrimary();
    clusters.PromoteStandby();
    WaitForMore(recorder);
    clusters.ReturnPrimary();
    mistaken = true;
    recorder.NotifyRoleChange();
    const auto end = std::chrono::steady_clock::now() + kLongEnough;
    while (recorder.Report().lastSqlState != "25006") {
      ASSERT_LT(std::chrono::steady_clock::now(), end);
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  });
  EXPECT_EQ(mistakes, 1);
  ExpectEverythingAt(clusters.standby());
}

}  // namespace
