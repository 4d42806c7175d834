#include "server/DbmsTest.h"
#include "server/Random.h"

namespace {

constexpr std::int64_t kStartMs = 1700000000000;

class SystemLog : public DbmsTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(DbmsTest::SetUp());
    dbms = NewDbms();
    ASSERT_TRUE(dbms->CreateSystemLogTable(30)) << Error();
  }
  void TearDown() override {
    dbms.reset();
    DbmsTest::TearDown();
  }
  std::string Error() const { return testing::PrintToString(std::wstring(dbms->GetLastError())); }
  std::string Count() { return Value("select count(*) from system_log"); }

  std::shared_ptr<Dbms> dbms;
};

TEST_F(SystemLog, TheTableIsCreatedOnce) {
  ASSERT_EQ(dbms->InsertSystemLog({{kStartMs, 1, 2, 3, 4, L"op", L"started"}}), 1u) << Error();
  EXPECT_TRUE(dbms->CreateSystemLogTable(0)) << Error();
  EXPECT_EQ(Count(), "1");
}

TEST_F(SystemLog, RecordsAreStoredWithTheirMilliseconds) {
  ASSERT_EQ(dbms->InsertSystemLog({{kStartMs + 123, 1, 2, 3, 4, L"op", L"it's up"},
                                   {kStartMs, 32767, -32768, 0, 2147483647, L"", L""},
                                   {1, -1, -2, -3, -2147483647 - 1, L" ", L"\\N"}}),
            3u)
      << Error();
  EXPECT_EQ(
      Rows("select extract(epoch from time), node, module, level, type, user_id, message from system_log "
           "order by time desc"),
      (std::vector<std::string>{"1700000000.123000|1|2|3|4|op|it's up",
                                "1700000000.000000|32767|-32768|0|2147483647|\\N|",
                                "0.001000|-1|-2|-3|-2147483648| |\\N"}));
  EXPECT_EQ(Value("select count(*) from system_log where user_id is null"), "1");
  EXPECT_EQ(Value("select count(*) from system_log where message is null"), "0");
}

TEST_F(SystemLog, RandomRecordsAreStoredAsTheyWere) {
  Random random(51);
  std::vector<SystemLogRecord> records;
  std::vector<std::string> expected;
  for (int i = 0; i < 400; ++i) {
    const std::u32string user = random.Text(static_cast<std::size_t>(random.Between(1, 20)));
    const std::u32string message = random.Text(static_cast<std::size_t>(random.Between(0, 300)));
    const SystemLogRecord record = {kStartMs + i * 1001,
                                    random.Any<std::int16_t>(),
                                    random.Any<std::int16_t>(),
                                    random.Any<std::int16_t>(),
                                    random.Any<std::int32_t>(),
                                    Wide(user),
                                    Wide(message)};
    records.push_back(record);
    expected.push_back(std::to_string(record.time) + '|' + std::to_string(record.node) + '|' +
                       std::to_string(record.module) + '|' + std::to_string(record.level) + '|' +
                       std::to_string(record.type) + '|' + Utf8(user) + '|' + Utf8(message));
  }
  ASSERT_EQ(dbms->InsertSystemLog(records), records.size()) << Error();
  EXPECT_EQ(
      Rows("select (extract(epoch from time) * 1000)::int8, node, module, level, type, user_id, message from "
           "system_log order by time"),
      expected);
}

TEST_F(SystemLog, ADuplicateEndsTheBatchWithTheCountBeforeIt) {
  const SystemLogRecord record = {kStartMs, 1, 2, 3, 4, L"op", L"same"};
  std::vector<SystemLogRecord> records(4, record);
  records[0].message = L"first";
  records[3].message = L"never tried";
  EXPECT_EQ(dbms->InsertSystemLog(records), 2u);
  EXPECT_NE(Error().find("duplicate key value violates unique constraint \\\"system_log_pkey\\\""),
            std::string::npos)
      << Error();
  EXPECT_EQ(Rows("select message from system_log order by message"),
            (std::vector<std::string>{"first", "same"}));
  EXPECT_EQ(dbms->InsertSystemLog({records[3]}), 1u) << Error();
}

TEST_F(SystemLog, WithoutTheTableNothingIsStored) {
  Run("drop table system_log");
  EXPECT_EQ(dbms->InsertSystemLog({{kStartMs, 1, 2, 3, 4, L"op", L"m"}}), 0u);
  EXPECT_NE(Error().find("does not exist"), std::string::npos) << Error();
}

}  // namespace
