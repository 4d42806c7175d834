#include "scripted/ScriptedTest.h"

namespace {

using Queue = std::deque<std::vector<TagValueRecord>>;

const TagValueRecord kA = {1700000000123, L"A", L"on"};
const TagValueRecord kB = {1700000000000, L"B", L"off"};
const TagValueRecord kNone = {1700000000000, L"", L"none"};

class TagValueQueue : public ScriptedTest {
 protected:
  // The one statement that a queue is sent as.
  std::wstring Send(Queue queue) {
    server.Forget();
    EXPECT_TRUE(dbms->InsertTagValueQueue(L"Page", queue));
    EXPECT_TRUE(queue.empty());
    EXPECT_EQ(server.sent.size(), 1u);
    return server.sent.at(0).statement;
  }
};

TEST_F(TagValueQueue, EverythingQueuedIsOneStatement) {
  EXPECT_EQ(
      Send({{kA, kB}, {}, {kB}}),
      L"insert into Page values (to_timestamp(1700000000.123), 'A', 'on'), (to_timestamp(1.7e+09), 'B', 'off'), (to_timestamp(1.7e+09), 'B', 'off')");
  EXPECT_TRUE(server.sent.at(0).binds.empty());
}

TEST_F(TagValueQueue, NeitherLevelNorTransactionIsTouched) {
  ASSERT_TRUE(dbms->Connect());
  Send({{kA}});
  std::erase(server.events, L"connected?");
  EXPECT_TRUE(server.events.empty());
}

TEST_F(TagValueQueue, MoreThanABatchIsStillOneStatement) {
  const std::wstring statement = Send({std::vector<TagValueRecord>(1500, kB), {kA}});
  EXPECT_EQ(statement.size(), std::wstring(L"insert into Page values ").size() +
                                  1500 * std::wstring(L"(to_timestamp(1.7e+09), 'B', 'off'), ").size() +
                                  std::wstring(L"(to_timestamp(1700000000.123), 'A', 'on')").size());
}

TEST_F(TagValueQueue, AnEmptyQueueConnectsAndIsRefused) {
  Queue queue;
  EXPECT_FALSE(dbms->InsertTagValueQueue(L"Page", queue));
  EXPECT_EQ(server.connects.size(), 1u);
  EXPECT_TRUE(server.sent.empty());
  EXPECT_STREQ(dbms->GetLastError(), L"");
}

TEST_F(TagValueQueue, ARecordWithoutATagBeforeTheFirstRowLeavesNoTrace) {
  EXPECT_EQ(Send({{kNone, kNone}, {kA}}),
            L"insert into Page values (to_timestamp(1700000000.123), 'A', 'on')");
}

TEST_F(TagValueQueue, KeepsTheDoubleSeparatorOfARecordWithoutATag) {
  EXPECT_EQ(
      Send({{kA, kNone, kB}}),
      L"insert into Page values (to_timestamp(1700000000.123), 'A', 'on'), , (to_timestamp(1.7e+09), 'B', 'off')");
  EXPECT_EQ(Send({{kA}, {kNone}}), L"insert into Page values (to_timestamp(1700000000.123), 'A', 'on'), ");
}

TEST_F(TagValueQueue, KeepsTheHeadAloneWithoutAUsableRow) {
  EXPECT_EQ(Send({{}}), L"insert into Page values ");
  EXPECT_EQ(Send({{kNone}, {kNone}}), L"insert into Page values ");
}

TEST_F(TagValueQueue, KeepsQuotesInTextsAsTheyAre) {
  EXPECT_EQ(Send({{{1000, L"it's", L"'"}}}), L"insert into Page values (to_timestamp(1), 'it's', ''')");
}

TEST_F(TagValueQueue, KeepsNothingQueuedWhenTheStatementFails) {
  ASSERT_TRUE(dbms->Connect());
  Queue queue = {{kA}, {kB}};
  server.FailStatement(1, {3, 7, L"ERROR:  duplicate key"});
  EXPECT_FALSE(dbms->InsertTagValueQueue(L"Page", queue));
  EXPECT_TRUE(queue.empty());
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  duplicate key");
}

TEST_F(TagValueQueue, AServerOutOfReachLeavesTheQueue) {
  server.RefuseConnections({3, 1, L"refused"});
  Queue queue = {{kA}, {kB}};
  EXPECT_FALSE(dbms->InsertTagValueQueue(L"Page", queue));
  EXPECT_EQ(queue.size(), 2u);
}

}  // namespace
