// The server is stopped immediately, frozen, or its disk is full. Each test has its own: private_server.sh.

#include <atomic>
#include <thread>

#include "historian/recorder/RecorderTest.h"
#include "server/PrivateServer.h"

namespace historian {
namespace {

class RecorderServer : public RecorderTest {};

TEST_F(RecorderServer, IsStoppedHardTwentyTimesUnderLoad) {
  constexpr int kPlants = 8;
  constexpr std::int64_t kPerCall = 20;
  Recorder recorder(NewDbms(), Options());
  std::atomic<bool> enough = false;
  std::atomic<std::int64_t> calls = 0;
  std::vector<std::thread> plants;
  for (int i = 0; i < kPlants; ++i) {
    plants.emplace_back([&] {
      while (!enough) {
        const std::int64_t call = calls++;
        EXPECT_TRUE(recorder.Record(Samples(call * kPerCall, kPerCall)));
        EXPECT_TRUE(recorder.Record(std::vector<AlarmRecord>{AnAlarm(call)}));
        EXPECT_TRUE(recorder.Record(std::vector<SystemLogRecord>{ALogRecord(call)}));
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
      }
    });
  }
  for (int i = 0; i < 20 && !HasFatalFailure(); ++i) {
    // In the middle of the stream, after something more has been stored.
    const std::int64_t stored = recorder.Report().stored;
    while (recorder.Report().stored == stored) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    ControlServer("stop");
    ExpectTrueCounts(recorder.Report());
    ControlServer("start");
  }
  enough = true;
  for (std::thread& plant : plants) plant.join();
  ExpectAllSettled(recorder);
  Reconnect();
  EXPECT_EQ(History(), Lines(Samples(0, calls * kPerCall)));
  EXPECT_EQ(Value("select count(*) from alarm"), std::to_string(calls));
  EXPECT_EQ(Value("select count(*) from system_log"), std::to_string(calls));
  EXPECT_EQ(recorder.Report().stored, recorder.Report().accepted);
}

TEST_F(RecorderServer, IsFrozen) {
  RecorderOptions options = Options();
  options.callLimit = std::chrono::milliseconds(500);
  const std::wstring database = L"dbname=" + Database() + L" connect_timeout=2";
  Recorder recorder(Dbms::GetDbms(DbmsType::TirelScada, Host().c_str(), Port(), database.c_str(),
                                  User().c_str(), Password().c_str()),
                    options);
  ASSERT_TRUE(recorder.Record(Samples(0, 1000)));
  ExpectAllSettled(recorder);
  ControlServer("freeze");
  for (int i = 1; i <= 10; ++i) EXPECT_TRUE(recorder.Record(Samples(1000 * i, 1000)));
  EXPECT_TRUE(events.WaitFor(RecorderState::Waiting));
  ExpectTrueCounts(recorder.Report());
  EXPECT_EQ(recorder.Report().waiting, 10000);
  ControlServer("thaw");
  ExpectAllSettled(recorder);
  EXPECT_EQ(History(), Lines(Samples(0, 11000)));
  // The frozen server finally executes what it had received; this must not count as duplicates.
  EXPECT_EQ(recorder.Report().stored, 11000);
}

// With the recorder's default limit, which is one minute when DbmsAPI does not check for silence.
TEST_F(RecorderServer, IsFrozenForAMinute) {
  RecorderOptions options = Options();
  const std::wstring database = Database() + L";-c dbmsapi.silence_check=0";
  Recorder recorder(Dbms::GetDbms(DbmsType::TirelScada, Host().c_str(), Port(), database.c_str(),
                                  User().c_str(), Password().c_str()),
                    options);
  ASSERT_TRUE(recorder.Record(Samples(0, 1000)));
  ExpectAllSettled(recorder);
  ControlServer("freeze");
  const auto frozen = std::chrono::steady_clock::now();
  for (int i = 1; i <= 10; ++i) EXPECT_TRUE(recorder.Record(Samples(1000 * i, 1000)));
  EXPECT_TRUE(events.WaitFor(RecorderState::Waiting));
  EXPECT_GE(std::chrono::steady_clock::now() - frozen, options.callLimit);
  EXPECT_EQ(recorder.Report().waiting, 10000);
  EXPECT_TRUE(recorder.Record(Samples(11000, 1000)));
  ExpectTrueCounts(recorder.Report());
  ControlServer("thaw");
  ExpectAllSettled(recorder);
  EXPECT_EQ(History(), Lines(Samples(0, 12000)));
  EXPECT_EQ(recorder.Report().stored, 12000);
}

TEST_F(RecorderServer, HasNoSpace) {
  Recorder recorder(NewDbms(), Options());
  ASSERT_TRUE(recorder.Record(Samples(0, 1000)));
  ExpectAllSettled(recorder);
  ControlServer("fill");
  ASSERT_TRUE(recorder.Record(Samples(1000, 30000)));
  EXPECT_TRUE(events.WaitFor(RecorderState::Waiting, "53100"));
  EXPECT_GE(recorder.Report().waiting, 10000);
  ExpectTrueCounts(recorder.Report());
  ControlServer("empty");
  ExpectAllSettled(recorder);
  EXPECT_EQ(History(), Lines(Samples(0, 31000)));
  EXPECT_EQ(recorder.Report().duplicates, 0);
}

}  // namespace
}  // namespace historian
