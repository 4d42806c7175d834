// User logs whose layout is changed while others read them.

#include <atomic>
#include <iostream>
#include <thread>

#include "TimescaleTest.h"

namespace {

using Columns = std::vector<UserLogColumn>;

constexpr int kReaders = 4, kRounds = 20;

class UserLogs : public TimescaleTest {
 protected:
  void SetUp() override {
    TimescaleTest::SetUp();
    // The server looks for a deadlock after this time.
    Run("alter database " + Value("select current_database()") + " set deadlock_timeout = '20ms'");
    dbms = NewDbms();
  }

  std::string ColumnCount() {
    return Value("select count(*) from information_schema.columns where table_name = 'user_batches'");
  }

  std::shared_ptr<Dbms> dbms;
};

// Dropping a hypertable may deadlock with a reader of its chunks; either of them may fail.
TEST_F(UserLogs, AChangeOfLayoutBesideReadersIsMadeOrFailsWhole) {
  const Columns layouts[] = {{{L"a", 0, 0}}, {{L"a", 0, 0}, {L"b", 1, 0}}};
  ASSERT_TRUE(dbms->CreateUserLogTable(L"batches", layouts[0], 0)) << dbms->GetLastError();
  std::atomic<bool> stop = false;
  std::vector<std::thread> readers;
  for (int i = 0; i < kReaders; ++i) {
    readers.emplace_back([&stop, reader = NewUntoldDbms()] {
      while (!stop) {
        std::vector<UserLogRow> rows;
        reader->GetUserLogData(L"batches", 1, 4'000'000'000, nullptr, {}, rows);
      }
    });
  }

  int failed = 0;
  for (int round = 1; round <= kRounds; ++round) {
    Run("insert into user_batches(time, a) select now() - day * interval '1 day', 1 from generate_series(1, 60) day");
    const Columns& next = layouts[round % 2];
    if (!dbms->CreateUserLogTable(L"batches", next, 0)) {
      ++failed;
      const std::wstring error = dbms->GetLastError();
      EXPECT_NE(error.find(L"deadlock detected"), std::wstring::npos) << error;
      EXPECT_EQ(ColumnCount(), std::to_string(3 - next.size() + 1)) << "the old table";
      EXPECT_EQ(Value("select count(*) from user_batches"), "60");
      while (failed < 500 && !dbms->CreateUserLogTable(L"batches", next, 0)) ++failed;
    }
    EXPECT_EQ(ColumnCount(), std::to_string(next.size() + 1));
    EXPECT_EQ(Value("select count(*) from user_batches"), "0");
  }
  stop = true;
  for (std::thread& reader : readers) reader.join();
  std::cout << "CreateUserLogTable with another layout: " << failed << " of " << kRounds + failed
            << " calls failed\n";
}

}  // namespace
