#include "historian/StoreRows.h"

#include "historian/HistorianTest.h"
#include "historian/Samples.h"

namespace historian {
namespace {

constexpr std::int64_t kStart = 1700000000000;

// Counts the temporary tables that are created.
class StoreRowsTest : public HistorianTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(HistorianTest::SetUp());
    Run("create table created (name text)");
    Run("create function note() returns event_trigger language plpgsql as $$ begin insert into created "
        "select object_identity from pg_event_trigger_ddl_commands() where object_identity like 'pg_temp%'; "
        "end $$");
    Run("create event trigger note on ddl_command_end when tag in ('CREATE TABLE') execute function note()");
  }

  std::int64_t Store(const std::vector<LogSample>& samples) {
    Link link(*dbms, "test");
    link.Run("begin");
    const std::int64_t stored = StoreRows(link, MakeCopyRows(samples));
    link.Run("commit");
    return stored;
  }
  std::string Created() { return Value("select count(*) from created"); }
};

TEST_F(StoreRowsTest, NewRowsGoStraightIntoTheTable) {
  EXPECT_EQ(Store(Cycles(kStart, 100, 10)), 1000);
  EXPECT_EQ(Store({}), 0);
  EXPECT_EQ(Value("select count(*) from datalog"), "1000");
  EXPECT_EQ(Created(), "0");
}

TEST_F(StoreRowsTest, RowsThatAreThereAreLeftOut) {
  Store(Cycles(kStart, 100, 10));
  auto samples = Cycles(kStart + 95000, 10, 10);
  for (LogSample& sample : samples) sample.value = -1;
  EXPECT_EQ(Store(samples), 50);
  EXPECT_EQ(Store(samples), 0);
  EXPECT_EQ(Value("select count(*) from datalog where value = -1"), "50");
  EXPECT_EQ(Value("select count(*) from datalog"), "1050");
  EXPECT_EQ(Created(), "0");
}

// The first and the last possible instant, and a session with another date style.
TEST_F(StoreRowsTest, RowsOfAnyTimeAreFoundWhateverTheSessionSets) {
  SetForSessions("datestyle to 'SQL, DMY'");
  SetForSessions("timezone to 'America/St_Johns'");
  dbms = NewDbms();
  const std::vector<LogSample> samples = {
      {1, L"A", 1}, {kStart + 7, L"\U0001F600\t\\", 2}, {9224318015999000, L"A", 3}};
  for (const LogSample& sample : samples) EXPECT_EQ(Store({sample}), 1);
  for (const LogSample& sample : samples) EXPECT_EQ(Store({sample}), 0);
  auto more = samples;
  more.push_back({kStart, L"B", 4});
  EXPECT_EQ(Store(more), 1);
  EXPECT_EQ(Created(), "0");
}

TEST_F(StoreRowsTest, RowsGoThroughATemporaryTableWhereMuchElseIsThere) {
  Store(Cycles(kStart, 100, 10));
  auto samples = Cycles(kStart, 100, 1);
  for (std::size_t cycle = 1; cycle < 100; ++cycle) samples[cycle].tagName = L"NEW";
  EXPECT_EQ(Store(samples), 99);
  EXPECT_EQ(Value("select count(*) from datalog where tag_name = 'NEW'"), "99");
  EXPECT_EQ(Created(), "1");
}

// A row is stored between the search for rows that are there and the COPY of the others, as another session
// may do. As a trigger stores it here, it is rolled back with that COPY.
TEST_F(StoreRowsTest, RowsGoThroughATemporaryTableWhereOthersComeMeanwhile) {
  Store(Cycles(kStart, 1, 1));
  Run("create sequence attempts");
  Run("create function interfere() returns trigger language plpgsql as $$ begin if nextval('attempts') = 2 "
      "then insert into datalog values (to_timestamp(1700000005), 'TAG0', -1); end if; return null; end $$");
  Run("create trigger interfere before insert on datalog for each statement execute function interfere()");
  EXPECT_EQ(Store(Cycles(kStart, 10, 1)), 9);
  EXPECT_EQ(Created(), "1");
  EXPECT_EQ(Value("select count(*) from datalog where value >= 0"), "10");
}

}  // namespace
}  // namespace historian
