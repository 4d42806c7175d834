// Batches that are taken from a spool.

#include "historian/recorder/SpoolTest.h"

namespace historian::recorder {
namespace {

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

// Neither the newest nor the oldest samples wait for the others.
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

TEST_F(SpoolTest, SkipsKindsThatAreNotAllowed) {
  Spool spool = Open();
  Add(spool, 1, 1);
  EXPECT_FALSE(spool.Next({}, {false, true, true}, kMost));
  const auto batch = spool.Next({}, kAll, kMost);
  ASSERT_TRUE(batch);
  // Given up without an outcome: it is taken again, with another number.
  EXPECT_FALSE(spool.Next({}, {false, true, true}, kMost));
  EXPECT_FALSE(spool.InFlight());
  EXPECT_EQ(spool.Next({}, kAll, kMost)->number, 2);
}

TEST_F(SpoolTest, CountsRecordsSetAsideOnceTheBatchIsSettled) {
  Spool spool = Open();
  Add(spool, 1, 5);
  const auto batch = spool.Next({}, kAll, kMost);
  const auto pieces = spool.Load(*batch);
  const auto records = SplitRecords(Kind::Sample, pieces[0].bytes, 5).value();
  spool.HoldAside({{records[0], "22008", "no"}, {records[1], "22008", "no"}});
  spool.HoldAside({{records[2], "22021", "never"}});  // sent again: only the last time counts
  ExpectCounts(spool, {5, 0, 0, 0, 0}, 5);
  spool.Next(Outcome{3, {}}, kAll, kMost);
  ExpectCounts(spool, {5, 3, 1, 1, 0}, 0);

  SqliteDatabase file(directory.File(), SqliteDatabase::Access::ReadOnly);
  EXPECT_EQ(file.Value("select count(*) from set_aside where sqlstate = '22021' and reason = 'never' and"
                       " record = 'sample of PUMP at 3 ms: 1.000000' and pending = 0"),
            1);
  EXPECT_EQ(file.Value("select count(*) from set_aside"), 1);
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
  spool.ForgetLate({100, 900}, 900);  // the range has grown meanwhile, so it stays
  EXPECT_EQ(spool.Late(), (TimeRange{500, 900}));
  spool.ForgetLate({500, 900}, 900);
  EXPECT_FALSE(spool.Late());
}

TEST_F(SpoolTest, NumbersBatchesOnFromRunToRun) {
  {
    Spool spool = Open();
    Add(spool, 1, 1);
    Add(spool, 2, 1);
    EXPECT_EQ(spool.Next({}, kAll, 1)->number, 1);
  }
  Spool spool = Open();
  EXPECT_EQ(spool.InFlight()->number, 1);
  EXPECT_EQ(spool.Next(Outcome{1, {}}, kAll, 1)->number, 2);
}

TEST_F(SpoolTest, ForgetsRecordsSetAsideOfABatchThatIsGivenUp) {
  Spool spool = Open();
  Add(spool, 1, 5);
  const auto pieces = spool.Load(*spool.Next({}, kAll, kMost));
  spool.HoldAside({{SplitRecords(Kind::Sample, pieces[0].bytes, 5).value()[0], "22008", "no"}});
  EXPECT_FALSE(spool.Next({}, {false, true, true}, kMost));
  ASSERT_TRUE(spool.Next({}, kAll, kMost));
  spool.Next(Outcome{5, {}}, kAll, kMost);
  ExpectCounts(spool, {5, 5, 0, 0, 0}, 0);
}

TEST_F(SpoolTest, GivesUpABatchWhenTheServerKnowsALaterOneAndTakesItAgain) {
  Spool spool = Open();
  Add(spool, 1, 3);
  EXPECT_EQ(spool.Next({}, kAll, 3)->number, 1);
  spool.SkipTo(7);
  EXPECT_FALSE(spool.InFlight());
  const auto again = spool.Next({}, kAll, 3);
  ASSERT_TRUE(again);
  EXPECT_EQ(again->number, 8);
  EXPECT_EQ(Times(spool, again), (std::vector<std::int64_t>{1, 2, 3}));
}

TEST_F(SpoolTest, ABatchThatTheServerDoesNotKnowKeepsItsNumber) {
  Spool spool = Open();
  for (int i = 0; i < 3; ++i) Add(spool, 10 * i, 1);
  spool.Next({}, kAll, 1);
  spool.Next(Outcome{1, {}}, kAll, 1);
  spool.SkipTo(1);
  ASSERT_TRUE(spool.InFlight());
  EXPECT_EQ(spool.InFlight()->number, 2);
  EXPECT_EQ(spool.Next(Outcome{1, {}}, kAll, 1)->number, 3);
}

// The ids of lost blocks are assigned again.
TEST_F(SpoolTest, SettlingABatchWithLostBlocksLeavesNewBlocksAlone) {
  {
    Spool spool = Open();
    for (int time : {1, 2, 3}) Add(spool, time, 1);
    const auto batch = spool.Next({}, kAll, kMost);
    ASSERT_EQ(batch->last - batch->first, 2);
  }
  SqliteDatabase(directory.File(), SqliteDatabase::Access::ReadWrite)
      .Run("delete from sample_block where id > (select min(id) from sample_block)");
  Spool spool = Open();
  ASSERT_TRUE(spool.DamageFound());
  EXPECT_EQ(spool.DamageFound()->lost, 2);
  Add(spool, 40, 1);
  const auto next = spool.Next(Outcome{1, {}}, kAll, kMost);
  ASSERT_TRUE(next);
  EXPECT_EQ(Times(spool, next), (std::vector<std::int64_t>{40}));
  ExpectCounts(spool, {4, 1, 0, 0, 2}, 1);
}

}  // namespace
}  // namespace historian::recorder
