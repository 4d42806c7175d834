#include <SQLAPI.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <memory>
#include <numeric>

#include "DbmsAPI/Diagnostics.h"
#include "DbmsAPI/TirelScada.h"
#include "scripted/ScriptedTest.h"

namespace {

constexpr wchar_t kStaging[] =
    L"CREATE TEMP TABLE IF NOT EXISTS _tmp_dl (  time_epoch float8 NOT NULL,  tag_name   text   NOT NULL,  value      float8)";
constexpr wchar_t kTruncate[] = L"TRUNCATE _tmp_dl";
constexpr wchar_t kCopy[] = L"COPY _tmp_dl(time_epoch, tag_name, value) FROM STDIN";
constexpr wchar_t kMove[] =
    L"INSERT INTO datalog(time, tag_name, value) SELECT to_timestamp(time_epoch), tag_name, value FROM _tmp_dl ORDER BY tag_name, time_epoch ON CONFLICT (time, tag_name) DO NOTHING";

class TagHistoryInsert : public ScriptedTest {
 protected:
  std::string Copied() const {
    return std::accumulate(server.copied.begin(), server.copied.end(), std::string());
  }
  bool Noted(const std::wstring& event) const {
    return std::find(server.events.begin(), server.events.end(), event) != server.events.end();
  }
  const std::vector<LogSample> one = {{1700000000123, L"PUMP", 21.5}};
};

TEST_F(TagHistoryInsert, ABatchGoesThroughTheStagingTableInOneTransaction) {
  EXPECT_TRUE(dbms->InsertLogData(one));
  EXPECT_EQ(server.Statements(), (Texts{kStaging, L"BEGIN", kTruncate, kCopy, kMove, L"COMMIT"}));
  EXPECT_EQ(server.copied, std::vector<std::string>{"1700000000.123\tPUMP\t21.5\n"});
  EXPECT_TRUE(Noted(L"copy end"));
  EXPECT_TRUE(debugLines.empty());
}

TEST_F(TagHistoryInsert, AnEmptyBatchRunsTheWholeSequenceWithoutData) {
  EXPECT_TRUE(dbms->InsertLogData({}));
  EXPECT_EQ(server.Statements(), (Texts{kStaging, L"BEGIN", kTruncate, kCopy, kMove, L"COMMIT"}));
  EXPECT_TRUE(server.copied.empty());
  EXPECT_TRUE(Noted(L"copy end"));
}

TEST_F(TagHistoryInsert, SamplesThatCannotBeStoredAreLeftOut) {
  const std::vector<LogSample> samples = {{0, L"A", 1},      {-5, L"A", 1},          {1000, L"", 1},
                                          {1000, L"A", NAN}, {1000, L"A", INFINITY}, {1000, L"A", -INFINITY},
                                          {2000, L"B", 2},   {3000, L"B", DBL_MAX}};
  EXPECT_TRUE(dbms->InsertLogData(samples));
  EXPECT_EQ(Copied(), "2.000\tB\t2\n3.000\tB\t\\N\n");
}

TEST_F(TagHistoryInsert, TagNamesAreEscapedEachTime) {
  EXPECT_TRUE(dbms->InsertLogData({{1000, L"a\tb\\", 1}, {2000, L"a\tb\\", 2}}));
  EXPECT_TRUE(dbms->InsertLogData({{3000, L"a\tb\\", 3}}));
  EXPECT_EQ(Copied(), "1.000\ta\\tb\\\\\t1\n2.000\ta\\tb\\\\\t2\n3.000\ta\\tb\\\\\t3\n");
}

TEST_F(TagHistoryInsert, ACopyNeedsNothingOfItsSource) {
  const std::vector<LogSample> batch = {{1000, L"A", 1}, {1000, L"B", 2}, {2000, L"A", 3}};
  const std::string text = "1.000\tA\t1\n1.000\tB\t2\n2.000\tA\t3\n";
  auto source = std::make_unique<TirelScada>(dynamic_cast<TirelScada&>(*dbms));
  EXPECT_TRUE(source->InsertLogData(batch));
  TirelScada copy(*source);
  source.reset();
  EXPECT_TRUE(copy.InsertLogData(batch));
  EXPECT_EQ(Copied(), text + text);
}

TEST_F(TagHistoryInsert, AnAssignedObjectNeedsNothingOfItsFormerTags) {
  TirelScada object(dynamic_cast<TirelScada&>(*dbms));
  EXPECT_TRUE(dbms->InsertLogData({{1000, L"A", 1}}));
  EXPECT_TRUE(object.InsertLogData({{1000, L"C", 2}, {1000, L"D", 3}, {2000, L"C", 4}}));
  object = dynamic_cast<TirelScada&>(*dbms);
  EXPECT_TRUE(object.InsertLogData({{3000, L"D", 5}, {3000, L"C", 6}, {3000, L"A", 7}}));
  EXPECT_EQ(Copied(),
            "1.000\tA\t1\n1.000\tC\t2\n1.000\tD\t3\n2.000\tC\t4\n3.000\tD\t5\n3.000\tC\t6\n3.000\tA\t7\n");
}

TEST_F(TagHistoryInsert, ALongBatchIsSentInPiecesCutAtALineEnd) {
  std::vector<LogSample> samples(400000, {1700000000123, L"PUMP", 21.5});
  EXPECT_TRUE(dbms->InsertLogData(samples));
  const std::size_t lineBytes = std::string("1700000000.123\tPUMP\t21.5\n").size();
  ASSERT_EQ(Copied().size(), samples.size() * lineBytes);
  ASSERT_EQ(server.copied.size(), 3u);
  for (const std::string& piece : server.copied) EXPECT_EQ(piece.back(), '\n');
  for (std::size_t i = 0; i + 1 < server.copied.size(); ++i) {
    EXPECT_GE(server.copied[i].size(), 4194304u);
    EXPECT_LT(server.copied[i].size() - lineBytes, 4194304u);
  }
}

TEST_F(TagHistoryInsert, AServerOutOfReachIsSentNothing) {
  server.RefuseConnections({3, 1, L"refused"});
  EXPECT_FALSE(dbms->InsertLogData(one));
  EXPECT_TRUE(server.sent.empty());
}

// The statement that fails, the debug line, and the statements sent afterwards.
struct Case {
  std::size_t failing;
  const wchar_t* line;
  Texts statements;
};

TEST_F(TagHistoryInsert, AFailedStepIsReportedAndRolledBack) {
  ASSERT_TRUE(dbms->Connect());
  const Case cases[] = {
      {1, L"[InsertLogData] CREATE TEMP TABLE failed\n", {kStaging}},
      {2, L"[InsertLogData] BEGIN failed\n", {kStaging, L"BEGIN"}},
      {3, L"[InsertLogData] TRUNCATE failed\n", {kStaging, L"BEGIN", kTruncate, L"ROLLBACK"}},
      {4,
       L"[InsertLogData] COPY FROM STDIN failed: ERROR:  no\n",
       {kStaging, L"BEGIN", kTruncate, kCopy, L"ROLLBACK"}},
      {5, L"[InsertLogData] insert failed\n", {kStaging, L"BEGIN", kTruncate, kCopy, kMove, L"ROLLBACK"}},
      {6, L"[InsertLogData] COMMIT failed\n", {kStaging, L"BEGIN", kTruncate, kCopy, kMove, L"COMMIT"}},
  };
  for (const Case& one_case : cases) {
    server.Forget();
    debugLines.clear();
    server.FailStatement(one_case.failing, {3, 7, L"ERROR:  no", "53100"});
    EXPECT_FALSE(dbms->InsertLogData(one));
    EXPECT_EQ(server.Statements(), one_case.statements);
    EXPECT_EQ(debugLines, Texts{one_case.line});
    EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  no");
    EXPECT_EQ(LastSqlState(*dbms), "53100");
    EXPECT_TRUE(dbms->GetConnection()->isConnected());
  }
}

TEST_F(TagHistoryInsert, ARefusedPieceCancelsTheCopy) {
  server.refusedCopyPiece = 1;
  server.connectionError = "no connection to the server\n";
  EXPECT_FALSE(dbms->InsertLogData(one));
  EXPECT_TRUE(Noted(L"copy end cancelled"));
  EXPECT_EQ(server.Statements(), (Texts{kStaging, L"BEGIN", kTruncate, kCopy, L"ROLLBACK"}));
  EXPECT_EQ(debugLines, Texts{L"[InsertLogData] COPY data send failed\n"});
  EXPECT_STREQ(dbms->GetLastError(), L"no connection to the server");
  EXPECT_EQ(LastSqlState(*dbms), "");
}

TEST_F(TagHistoryInsert, ARefusedFirstPieceStopsTheSending) {
  server.refusedCopyPiece = 1;
  EXPECT_FALSE(dbms->InsertLogData(std::vector<LogSample>(400000, {1700000000123, L"PUMP", 21.5})));
  EXPECT_EQ(server.copied.size(), 1u);
}

TEST_F(TagHistoryInsert, AFailedCopyIsReportedWithTheServersText) {
  server.copyFailure = "ERROR:  invalid input syntax \xE2\x82\xAC";
  EXPECT_FALSE(dbms->InsertLogData(one));
  EXPECT_TRUE(Noted(L"copy end"));
  EXPECT_EQ(server.Statements(), (Texts{kStaging, L"BEGIN", kTruncate, kCopy, L"ROLLBACK"}));
  EXPECT_EQ(debugLines, Texts{L"[InsertLogData] COPY data send failed\n"});
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  invalid input syntax \u20ac");
}

TEST_F(TagHistoryInsert, AnErrorTooLongForItsMessageStillRollsBack) {
  ASSERT_TRUE(dbms->Connect());
  server.FailStatement(4, {3, 7, std::wstring(300, L'x')});
  EXPECT_FALSE(dbms->InsertLogData(one));
  EXPECT_EQ(server.Statements(), (Texts{kStaging, L"BEGIN", kTruncate, kCopy, L"ROLLBACK"}));
  EXPECT_EQ(dbms->GetLastError(), std::wstring(300, L'x'));
  ASSERT_EQ(debugLines.size(), 1u);
  EXPECT_EQ(debugLines[0].substr(0, 17), L"invalid parameter");
}

TEST_F(TagHistoryInsert, ARefusedRollbackDropsTheConnection) {
  ASSERT_TRUE(dbms->Connect());
  dbms->hostSelector = [](const wchar_t* host) {
    ADD_FAILURE() << "the server is there";
    return host;
  };
  server.FailStatement(5, {3, 7, L"ERROR:  no"});
  server.FailStatement(6, {3, 7, L"ERROR:  canceling statement due to statement timeout"});
  EXPECT_FALSE(dbms->InsertLogData(one));
  EXPECT_EQ(server.Statements().back(), L"ROLLBACK");
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  no");
  EXPECT_FALSE(dbms->GetConnection()->isConnected());
  EXPECT_TRUE(dbms->InsertLogData(one));
}

TEST_F(TagHistoryInsert, ALostServerIsAbandonedAfterTheReport) {
  ASSERT_TRUE(dbms->Connect());
  dbms->hostSelector = [this](const wchar_t* current) {
    EXPECT_STREQ(current, L"127.0.0.1");
    EXPECT_STREQ(dbms->GetLastError(), L"server closed the connection unexpectedly");
    EXPECT_EQ(debugLines.size(), 1u) << "the failure is reported first";
    return L"standby";
  };
  server.alive = false;
  server.FailStatement(5, {3, 7, L"server closed the connection unexpectedly\n"});
  server.FailStatement(6, {3, 7, L""});
  EXPECT_FALSE(dbms->InsertLogData(one));
  EXPECT_EQ(server.Statements(), (Texts{kStaging, L"BEGIN", kTruncate, kCopy, kMove, L"ROLLBACK"}));
  EXPECT_EQ(Access::Host(*dbms), L"standby");
  EXPECT_FALSE(dbms->GetConnection()->isConnected());

  server.alive = true;
  EXPECT_TRUE(dbms->InsertLogData(one));
  EXPECT_EQ(server.connects.back(), L"standby,5432@scada operator secret 10");
}

TEST_F(TagHistoryInsert, AStepWithoutAResultIsReportedWithTheTextOfTheConnection) {
  ASSERT_TRUE(dbms->Connect());
  server.connectionError = "no connection to the server\n";
  server.FailStatement(1, {3, 7, L""});
  EXPECT_FALSE(dbms->InsertLogData(one));
  EXPECT_STREQ(dbms->GetLastError(), L"no connection to the server");
}

TEST_F(TagHistoryInsert, AFailureWithoutATextKeepsTheTextOfTheFailureBefore) {
  ASSERT_TRUE(dbms->Connect());
  server.FailStatement(2, {3, 7, L"ERROR:  out of memory", "53200"});
  EXPECT_FALSE(dbms->InsertLogData(one));
  server.connectionError.clear();
  server.FailStatement(1, {3, 7, L""});
  EXPECT_FALSE(dbms->InsertLogData(one));
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  out of memory");
  EXPECT_EQ(LastSqlState(*dbms), "53200");
}

TEST_F(TagHistoryInsert, AFailedRollbackKeepsTheTextOfTheStepBefore) {
  ASSERT_TRUE(dbms->Connect());
  server.FailStatement(5, {3, 7, L"ERROR:  disk full", "53100"});
  server.FailStatement(6, {3, 7, L"FATAL:  terminating connection", "57P01"});
  EXPECT_FALSE(dbms->InsertLogData(one));
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  disk full");
  EXPECT_EQ(LastSqlState(*dbms), "53100");
}

TEST_F(TagHistoryInsert, ACopyThatTheServerDoesNotEndDropsTheConnection) {
  constexpr int kCopyOut = 3, kCopyIn = 4, kCopyBoth = 8;
  for (const int status : {kCopyOut, kCopyIn, kCopyBoth}) {
    server.Forget();
    debugLines.clear();
    server.endlessCopyStatus = status;
    EXPECT_FALSE(dbms->InsertLogData(one));
    EXPECT_EQ(server.Statements(), (Texts{kStaging, L"BEGIN", kTruncate, kCopy}));
    EXPECT_EQ(debugLines, Texts{L"[InsertLogData] COPY data send failed\n"});
    EXPECT_STREQ(dbms->GetLastError(), L"The server answered the end of COPY by another COPY");
    EXPECT_FALSE(dbms->GetConnection()->isConnected());
    server.endlessCopyStatus.reset();
    EXPECT_TRUE(dbms->InsertLogData(one));
  }
}

}  // namespace
