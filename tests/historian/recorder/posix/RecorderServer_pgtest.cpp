// The server itself: stopped hard, frozen, its disk full. Each test has a server of its own, run by
// own_server.sh.

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "historian/recorder/RecorderTest.h"

namespace historian {
namespace {

class RecorderServer : public RecorderTest {
 protected:
  // Has something done to the server and waits until it is.
  void Ask(const std::string& what) {
    const char* const requests = std::getenv("DBMSAPI_REQUESTS");
    ASSERT_TRUE(requests) << "run this by own_server.sh";
    const std::filesystem::path request =
        std::filesystem::path(requests) / (std::to_string(++requests_) + "-" + what);
    std::ofstream(request).flush();
    const auto end = std::chrono::steady_clock::now() + kLongEnough;
    while (!std::filesystem::exists(request.string() + ".done")) {
      ASSERT_LT(std::chrono::steady_clock::now(), end) << what;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  }

  int requests_ = 0;
};

TEST_F(RecorderServer, IsStoppedHardTwentyTimesUnderLoad) {
  Recorder recorder(NewDbms(), Options());
  std::atomic<bool> enough = false;
  std::atomic<std::int64_t> accepted = 0;
  std::thread plant([&] {
    for (std::int64_t first = 0; !enough; first += 500) {
      EXPECT_TRUE(recorder.Record(Samples(first, 500)));
      EXPECT_TRUE(recorder.Record(std::vector<AlarmRecord>{AnAlarm(first)}));
      EXPECT_TRUE(recorder.Record(std::vector<SystemLogRecord>{ALogRecord(first)}));
      accepted = first + 500;
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  });
  for (int i = 0; i < 20 && !HasFatalFailure(); ++i) {
    // In the middle of the stream: once something more has been stored.
    const std::int64_t stored = recorder.Report().stored;
    while (recorder.Report().stored == stored) std::this_thread::yield();
    Ask("stop");
    ExpectTrueCounts(recorder.Report());
    Ask("start");
  }
  enough = true;
  plant.join();
  ExpectAllSettled(recorder);
  Reconnect();
  EXPECT_EQ(History(), Lines(Samples(0, accepted)));
  EXPECT_EQ(Value("select count(*) from alarm"), std::to_string(accepted / 500));
  EXPECT_EQ(Value("select count(*) from system_log"), std::to_string(accepted / 500));
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
  Ask("freeze");
  for (int i = 1; i <= 10; ++i) EXPECT_TRUE(recorder.Record(Samples(1000 * i, 1000)));
  EXPECT_TRUE(events.WaitFor(RecorderState::Waiting));
  ExpectTrueCounts(recorder.Report());
  EXPECT_EQ(recorder.Report().waiting, 10000);
  Ask("thaw");
  ExpectAllSettled(recorder);
  EXPECT_EQ(History(), Lines(Samples(0, 11000)));
  // What the frozen server had been sent it carries out after all; that is none of the plant's duplicates.
  EXPECT_EQ(recorder.Report().stored, 11000);
}

TEST_F(RecorderServer, HasNoSpace) {
  Recorder recorder(NewDbms(), Options());
  ASSERT_TRUE(recorder.Record(Samples(0, 1000)));
  ExpectAllSettled(recorder);
  Ask("fill");
  ASSERT_TRUE(recorder.Record(Samples(1000, 30000)));
  EXPECT_TRUE(events.WaitFor(RecorderState::Waiting, "53100"));
  EXPECT_GE(recorder.Report().waiting, 10000);
  ExpectTrueCounts(recorder.Report());
  Ask("empty");
  ExpectAllSettled(recorder);
  EXPECT_EQ(History(), Lines(Samples(0, 31000)));
  EXPECT_EQ(recorder.Report().duplicates, 0);
}

}  // namespace
}  // namespace historian
