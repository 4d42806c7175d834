#include <SQLAPI.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "Clusters.h"

namespace {

constexpr int kSamplesPerBatch = 500;
constexpr std::int64_t kFirstMs = 1700000000000;

class Failover : public ::testing::Test {
 protected:
  // A batch of samples that no other batch shares.
  static std::vector<LogSample> Batch(int number) {
    std::vector<LogSample> samples;
    for (int i = 0; i < kSamplesPerBatch; ++i) {
      samples.push_back({kFirstMs + number * kSamplesPerBatch + i, L"PUMP", static_cast<double>(number)});
    }
    return samples;
  }

  static sa_int64_t Count(Dbms& dbms, const std::wstring& what) {
    EXPECT_TRUE(dbms.Connect()) << dbms.GetLastError();
    SACommand command(dbms.GetConnection().get(), (L"select count(*) from datalog " + what).c_str());
    command.Execute();
    return command.FetchNext() ? command.Field(1).asInt64() : -1;
  }

  static std::wstring ServerAddress(Dbms& dbms) {
    SACommand command(dbms.GetConnection().get(), L"select host(inet_server_addr())");
    command.Execute();
    return command.FetchNext() ? std::wstring(command.Field(1).asString()) : std::wstring();
  }

  // Sends a batch until it is stored, as a client would; returns how often it failed.
  static int InsertUntilStored(Dbms& dbms, int number) {
    using namespace std::chrono;
    const auto end = steady_clock::now() + minutes(2);
    int failures = 0;
    while (!dbms.InsertLogData(Batch(number))) {
      ++failures;
      if (steady_clock::now() > end) throw std::runtime_error("no server takes the batch");
      std::this_thread::sleep_for(milliseconds(20));
    }
    return failures;
  }

  const Clusters clusters;
};

TEST_F(Failover, TheServerDiesWhileSamplesAreInserted) {
  const auto dbms = clusters.Connect();
  std::vector<std::wstring> hostsLeft;
  dbms->hostSelector = [&](const wchar_t* current) {
    hostsLeft.emplace_back(current);
    return clusters.Other(current);
  };
  ASSERT_TRUE(dbms->CreateSystemLogTable(0)) << dbms->GetLastError();
  ASSERT_TRUE(dbms->CreateLogTable(0)) << dbms->GetLastError();

  std::atomic<int> stored = 0;
  std::atomic<bool> promoted = false;
  std::thread operators([&] {
    while (stored < 20) std::this_thread::yield();
    clusters.StopPrimary();
    clusters.PromoteStandby();
    promoted = true;
  });
  // Stops the primary in the middle of the stream, and continues until many batches are on the new one.
  int batches = 0, failures = 0, sentAgain = 0;
  for (int more = 20; more > 0; ++batches) {
    const int failed = InsertUntilStored(*dbms, batches);
    failures += failed;
    sentAgain += failed > 0 ? 1 : 0;
    ++stored;
    if (promoted) --more;
  }
  operators.join();

  EXPECT_GE(failures, 1) << "the client must have noticed";
  EXPECT_GE(sentAgain, 1);
  ASSERT_FALSE(hostsLeft.empty());
  EXPECT_EQ(hostsLeft.front(), clusters.primary());
  EXPECT_EQ(ServerAddress(*dbms), clusters.standby());

  // Every batch for which InsertLogData returned true is stored whole and once, even if it was sent again.
  EXPECT_EQ(Count(*dbms, L""), sa_int64_t{batches} * kSamplesPerBatch);
  for (int number = 0; number < batches; ++number) {
    EXPECT_EQ(Count(*dbms, L"where value = " + std::to_wstring(number)), kSamplesPerBatch) << number;
  }
}

// A planned switchover: the replica takes over and the client is notified, without any failure.
TEST_F(Failover, TheRoleChangesForOneObject) {
  const auto dbms = clusters.Connect();
  const auto bystander = clusters.Connect();
  int asked = 0;
  dbms->hostSelector = [&](const wchar_t* current) {
    EXPECT_EQ(current, nullptr);
    ++asked;
    return clusters.standby().c_str();
  };
  ASSERT_TRUE(dbms->CreateLogTable(0)) << dbms->GetLastError();
  ASSERT_TRUE(bystander->Connect());
  ASSERT_TRUE(dbms->InsertLogData(Batch(0)));

  clusters.PromoteStandby();
  dbms->NotifyRoleChange();
  EXPECT_FALSE(dbms->GetConnection()->isConnected());
  EXPECT_TRUE(dbms->InsertLogData(Batch(0))) << dbms->GetLastError();
  EXPECT_TRUE(dbms->InsertLogData(Batch(1))) << dbms->GetLastError();

  EXPECT_EQ(asked, 1);
  EXPECT_EQ(ServerAddress(*dbms), clusters.standby());
  EXPECT_EQ(Count(*dbms, L""), 2 * kSamplesPerBatch);
  EXPECT_TRUE(bystander->GetConnection()->isConnected());
  EXPECT_EQ(ServerAddress(*bystander), clusters.primary());
  EXPECT_STREQ(dbms->GetLastError(), L"");
}

TEST_F(Failover, TheRoleChangesForAll) {
  const std::shared_ptr<Dbms> writers[] = {clusters.Connect(), clusters.Connect()};
  const auto bystander = clusters.Connect();  // has no hostSelector
  ASSERT_TRUE(bystander->CreateLogTable(0)) << bystander->GetLastError();
  int number = 0;
  for (const auto& writer : writers) {
    writer->hostSelector = [&](const wchar_t*) { return clusters.standby().c_str(); };
    ASSERT_TRUE(writer->InsertLogData(Batch(number++)));
  }

  clusters.PromoteStandby();
  Dbms::BroadcastRoleChange();
  for (const auto& writer : writers) {
    EXPECT_TRUE(writer->InsertLogData(Batch(number++))) << writer->GetLastError();
    EXPECT_EQ(ServerAddress(*writer), clusters.standby());
    EXPECT_EQ(Count(*writer, L""), number < 4 ? 3 * kSamplesPerBatch : 4 * kSamplesPerBatch);
  }
  EXPECT_EQ(ServerAddress(*bystander), clusters.primary());
}

}  // namespace
