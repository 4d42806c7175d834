#include "historian/Spool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <thread>

#include "historian/recorder/SpoolDirectory.h"

namespace historian::recorder {
namespace {

constexpr std::array<bool, kKinds> kAll = {true, true, true};
constexpr std::int64_t kMost = 100;

Piece Samples(std::int64_t first, std::int64_t count) {
  Piece piece;
  for (std::int64_t i = 0; i < count; ++i) AppendRecord(piece.bytes, LogSample{first + i, L"PUMP", 1});
  piece.records = count;
  return piece;
}

class SpoolTest : public ::testing::Test {
 protected:
  Spool Open(SpoolLimit limit = {1 << 30, false}) {
    return Spool(directory.File(), Syncing::AtCheckpoints, limit);
  }
  static void Add(Spool& spool, std::int64_t first, std::int64_t count) {
    ASSERT_EQ(spool.Append(Kind::Sample, {Samples(first, count)}).admission, Spool::Admission::Accepted);
  }
  // Times of the samples of a batch.
  static std::vector<std::int64_t> Times(Spool& spool, const std::optional<Batch>& batch) {
    std::vector<std::int64_t> times;
    if (!batch) return times;
    for (const Piece& piece : spool.Load(*batch)) {
      std::string_view bytes = piece.bytes;
      while (const auto sample = TakeSample(bytes)) times.push_back(sample->timeMs);
    }
    return times;
  }
  static void ExpectCounts(Spool& spool, Totals wanted, std::int64_t waiting) {
    const auto [totals, held] = spool.Count();
    EXPECT_EQ(totals.accepted, wanted.accepted);
    EXPECT_EQ(totals.stored, wanted.stored);
    EXPECT_EQ(totals.duplicates, wanted.duplicates);
    EXPECT_EQ(totals.setAside, wanted.setAside);
    EXPECT_EQ(totals.dropped, wanted.dropped);
    EXPECT_EQ(held.records, waiting);
    EXPECT_EQ(totals.accepted, totals.Done() + held.records);
  }

  SpoolDirectory directory;
};

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

TEST_F(SpoolTest, KeepsEverythingFromRunToRun) {
  {
    Spool spool = Open();
    Add(spool, 1, 3);
    Add(spool, 4, 2);
    spool.Next({}, kAll, 3);
    spool.Next(Outcome{1, {}}, kAll, 3);
  }
  Spool spool = Open();
  ASSERT_TRUE(spool.InFlight());
  EXPECT_EQ(spool.InFlight()->number, 2);
  EXPECT_EQ(Times(spool, spool.InFlight()), (std::vector<std::int64_t>{1, 2, 3}));
  ExpectCounts(spool, {5, 1, 1, 0, 0}, 3);
  EXPECT_EQ(spool.Id().size(), 32u);
}

// The newest do not wait for the oldest, nor these for them.
TEST_F(SpoolTest, TakesSamplesFromBothEndsInTurn) {
  Spool spool = Open();
  for (int i = 0; i < 6; ++i) Add(spool, 10 * i, 2);
  std::vector<std::int64_t> firsts;
  auto batch = spool.Next({}, kAll, 2);
  while (batch) {
    firsts.push_back(Times(spool, batch).front());
    if (firsts.size() == 2) Add(spool, 90, 2);
    batch = spool.Next(Outcome{2, {}}, kAll, 2);
  }
  EXPECT_EQ(firsts, (std::vector<std::int64_t>{50, 0, 90, 10, 40, 20, 30}));
}

TEST_F(SpoolTest, TakesAlarmsAndLogRecordsInTheirOrderAndKindsInTurn) {
  Spool spool = Open();
  const auto add = [&](Kind kind, std::int64_t time) {
    Piece piece;
    if (kind == Kind::Alarm) AppendRecord(piece.bytes, AlarmRecord{time, L"t", 1, L"", 0, 0, 0, 0, 0, 0});
    if (kind == Kind::Log) AppendRecord(piece.bytes, SystemLogRecord{time, 0, 0, 0, 0, L"", L""});
    piece.records = 1;
    spool.Append(kind, {piece});
  };
  for (int time : {1, 2}) {
    Add(spool, time, 1);
    add(Kind::Alarm, time);
    add(Kind::Log, time);
  }
  std::vector<int> kinds;
  std::vector<std::int64_t> ids;
  for (auto batch = spool.Next({}, kAll, 1); batch; batch = spool.Next(Outcome{1, {}}, kAll, 1)) {
    kinds.push_back(static_cast<int>(batch->kind));
    ids.push_back(batch->first);
  }
  EXPECT_EQ(kinds, (std::vector<int>{1, 2, 0, 1, 2, 0}));
  EXPECT_EQ(ids, (std::vector<std::int64_t>{1, 1, 2, 2, 2, 1}));
}

TEST_F(SpoolTest, PassesOverKindsThatAreNotAllowed) {
  Spool spool = Open();
  Add(spool, 1, 1);
  EXPECT_FALSE(spool.Next({}, {false, true, true}, kMost));
  const auto batch = spool.Next({}, kAll, kMost);
  ASSERT_TRUE(batch);
  // Given up without an outcome: it comes again, with another number.
  EXPECT_FALSE(spool.Next({}, {false, true, true}, kMost));
  EXPECT_FALSE(spool.InFlight());
  EXPECT_EQ(spool.Next({}, kAll, kMost)->number, 2);
}

TEST_F(SpoolTest, CountsWhatWasHeldAsideOnceTheBatchIsSettled) {
  Spool spool = Open();
  Add(spool, 1, 5);
  const auto batch = spool.Next({}, kAll, kMost);
  const auto pieces = spool.Load(*batch);
  const auto records = SplitRecords(Kind::Sample, pieces[0].bytes, 5).value();
  spool.HoldAside({{records[0], "22008", "no"}, {records[1], "22008", "no"}});
  spool.HoldAside({{records[2], "22021", "never"}});  // sent again: what counts is the last time
  ExpectCounts(spool, {5, 0, 0, 0, 0}, 5);
  spool.Next(Outcome{3, {}}, kAll, kMost);
  ExpectCounts(spool, {5, 3, 1, 1, 0}, 0);

  SqliteDatabase file(directory.File(), SqliteDatabase::Access::ReadOnly);
  EXPECT_EQ(file.Value("select count(*) from set_aside where sqlstate = '22021' and reason = 'never' and"
                       " record = 'sample of PUMP at 3 ms: 1.000000' and pending = 0"),
            1);
  EXPECT_EQ(file.Value("select count(*) from set_aside"), 1);
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

TEST_F(SpoolTest, RemembersTheRangeOfLateSamplesUntilItIsRefreshed) {
  {
    Spool spool = Open();
    Add(spool, 1, 1);
    Add(spool, 2, 1);
    spool.Next({}, kAll, 1);
    spool.Next(Outcome{1, TimeRange{500, 900}}, kAll, 1);
    spool.Next(Outcome{1, TimeRange{100, 600}}, kAll, 1);
  }
  Spool spool = Open();
  EXPECT_EQ(spool.Late(), (TimeRange{100, 900}));
  spool.ForgetLate({100, 900}, 499);
  EXPECT_EQ(spool.Late(), (TimeRange{500, 900}));
  spool.ForgetLate({100, 900}, 900);  // has grown meanwhile: it stays
  EXPECT_EQ(spool.Late(), (TimeRange{500, 900}));
  spool.ForgetLate({500, 900}, 900);
  EXPECT_FALSE(spool.Late());
}

}  // namespace
}  // namespace historian::recorder
