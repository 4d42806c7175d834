#include <algorithm>
#include <fstream>
#include <thread>

#include "historian/recorder/SpoolTest.h"

namespace historian::recorder {
namespace {

using TimeList = std::vector<std::int64_t>;

TEST_F(SpoolTest, GivesBackWhatWasAppended) {
  Spool spool = Open();
  Add(spool, 1, 3);
  const auto batch = spool.Next({}, kAll, kMost);
  ASSERT_TRUE(batch);
  EXPECT_EQ(batch->number, 1);
  EXPECT_EQ(Times(spool, batch), (std::vector<std::int64_t>{1, 2, 3}));
  EXPECT_FALSE(spool.Next(Outcome{2, {}}, kAll, kMost));
  ExpectCounts(spool, {3, 2, 1, 0, 0}, 0);
}

TEST_F(SpoolTest, RefusesTheNewestWhenItIsFull) {
  Spool spool = Open({1000, false});
  std::int64_t accepted = 0;
  while (spool.Append(Kind::Sample, {Samples(accepted, 1)}).admission == Spool::Admission::Accepted)
    ++accepted;
  EXPECT_GT(accepted, 5);
  EXPECT_LT(accepted, 20);
  ExpectCounts(spool, {accepted, 0, 0, 0, 0}, accepted);
  EXPECT_EQ(Times(spool, spool.Next({}, kAll, kMost)).size(), static_cast<std::size_t>(accepted));
  spool.Next(Outcome{accepted, {}}, kAll, kMost);
  EXPECT_EQ(spool.Append(Kind::Sample, {Samples(0, 1)}).admission, Spool::Admission::Accepted);
}

TEST_F(SpoolTest, DropsTheOldestWhenItIsFullAndThatIsWanted) {
  Spool spool = Open({1000, true});
  std::int64_t dropped = 0;
  for (int i = 0; i < 50; ++i) {
    const auto answer = spool.Append(Kind::Sample, {Samples(i, 1)});
    EXPECT_EQ(answer.admission, Spool::Admission::Accepted);
    dropped += answer.dropped;
  }
  const std::int64_t waiting = 50 - dropped;
  EXPECT_GT(dropped, 0);
  ExpectCounts(spool, {50, 0, 0, 0, dropped}, waiting);
  EXPECT_EQ(Times(spool, spool.Next({}, kAll, kMost)).front(), dropped);
  // What is being sent to the server is not dropped.
  EXPECT_EQ(spool.Append(Kind::Sample, {Samples(50, 1)}).admission, Spool::Admission::Full);
}

TEST_F(SpoolTest, IsForOneRecorderAtATime) {
  const Spool spool = Open();
  try {
    Open();
    FAIL();
  } catch (const Error& error) {
    EXPECT_NE(error.Text().find("plant.spool is in use by another recorder"), std::string::npos)
        << error.what();
  }
}

TEST_F(SpoolTest, IsNotMadeOfAnotherFile) {
  std::ofstream(directory.File()) << "something that is no database at all, and longer than a header";
  {
    SqliteDatabase other(directory.File("other.spool"), SqliteDatabase::Access::Create);
    other.Run("create table mine (x)");
  }
  EXPECT_THROW(Spool(directory.File("other.spool"), Syncing::AtCheckpoints, {1000, false}), Error);
  EXPECT_THROW(Spool(directory.File("missing/plant.spool"), Syncing::AtCheckpoints, {1000, false}), Error);
  { Spool made(directory.File("later.spool"), Syncing::AtCheckpoints, {1000, false}); }
  SqliteDatabase(directory.File("later.spool"), SqliteDatabase::Access::ReadWrite)
      .Run("pragma user_version = 2");
  EXPECT_THROW(Spool(directory.File("later.spool"), Syncing::AtCheckpoints, {1000, false}), Error);
}

TEST_F(SpoolTest, ShrinksOnceItIsEmpty) {
  Spool spool = Open();
  for (int i = 0; i < 60; ++i) Add(spool, i, 10000);
  while (spool.Next(Outcome{0, {}}, kAll, 100000)) {
  }
  while (spool.Shrink()) {
  }
  EXPECT_LT(std::filesystem::file_size(directory.File()), 6u << 20);
  EXPECT_LT(std::filesystem::file_size(directory.File("plant.spool-wal")), 1u << 20);
}

TEST_F(SpoolTest, TakesRecordsFromManyThreads) {
  Spool spool = Open();
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&spool, t] {
      for (int i = 0; i < 50; ++i) spool.Append(Kind::Sample, {Samples(1000 * t + 10 * i, 3)});
    });
  }
  TimeList all;
  std::optional<Outcome> done;
  while (all.size() < 8 * 50 * 3) {
    const auto batch = spool.Next(done, kAll, kMost);
    done.reset();
    if (!batch) continue;
    const TimeList taken = Times(spool, batch);
    all.insert(all.end(), taken.begin(), taken.end());
    done = Outcome{static_cast<std::int64_t>(taken.size()), {}};
  }
  for (std::thread& thread : threads) thread.join();
  spool.Next(done, kAll, kMost);
  std::sort(all.begin(), all.end());
  EXPECT_EQ(std::unique(all.begin(), all.end()), all.end());
  ExpectCounts(spool, {1200, 1200, 0, 0, 0}, 0);
}

}  // namespace
}  // namespace historian::recorder
