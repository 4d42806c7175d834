// Native access, together with commands.

#include "ClientTest.h"

namespace {

constexpr int kCommandOk = 1;
constexpr int kTuplesOk = 2;
constexpr int kCopyIn = 4;
constexpr int kFatalError = 7;

class Native : public ClientTest {
 protected:
  void SetUp() override {
    ClientTest::SetUp();
    Run("create table t (a int, b text)");
    Connect();
  }

  PGconn* Link() { return static_cast<pgConnectionHandles*>(connection.NativeHandles())->conn; }

  int Execute(const char* statement) {
    PGresult* result = api.PQexec(Link(), statement);
    const int status = api.PQresultStatus(result);
    api.PQclear(result);
    return status;
  }

  // Statuses of the remaining results.
  std::vector<int> Finish() {
    std::vector<int> statuses;
    while (PGresult* result = api.PQgetResult(Link())) {
      statuses.push_back(api.PQresultStatus(result));
      api.PQclear(result);
    }
    return statuses;
  }

  const pgAPI& api = static_cast<const pgAPI&>(*connection.NativeAPI());
};

TEST_F(Native, HasALinkOnlyWhileConnected) {
  auto* handles = static_cast<pgConnectionHandles*>(connection.NativeHandles());
  EXPECT_NE(handles->conn, nullptr);
  connection.Destroy();
  EXPECT_EQ(handles->conn, nullptr);
  EXPECT_EQ(connection.NativeHandles(), handles);
  EXPECT_EQ(handles->conn, nullptr);
  Connect();
  EXPECT_NE(Link(), nullptr);
  connection.Disconnect();
  EXPECT_EQ(handles->conn, nullptr);
}

TEST_F(Native, ExecutesStatements) {
  EXPECT_EQ(Execute("insert into t values (1, 'one')"), kCommandOk);
  EXPECT_EQ(Execute("select * from t"), kTuplesOk);
  EXPECT_EQ(Execute("select no_such_column"), kFatalError);
  EXPECT_EQ(Rows("select * from t"), (std::vector<std::string>{"1|one"}));
}

TEST_F(Native, ReportsWhatFailed) {
  PGresult* result = api.PQexec(Link(), "select no_such_column");
  EXPECT_TRUE(std::string(api.PQresultErrorMessage(result)).starts_with("ERROR:  column \"no_such_column\""));
  EXPECT_TRUE(std::string(api.PQerrorMessage(Link())).starts_with("ERROR:  column \"no_such_column\""));
  EXPECT_STREQ(api.PQresultErrorField(result, 'C'), "42703");
  api.PQclear(result);
}

TEST_F(Native, CopiesIntoATable) {
  PGconn* link = Link();
  PGresult* started = api.PQexec(link, "copy t from stdin");
  EXPECT_EQ(api.PQresultStatus(started), kCopyIn);
  api.PQclear(started);
  const std::string rows = "1\tone\n2\ttwo\n";
  EXPECT_EQ(api.PQputCopyData(link, rows.data(), static_cast<int>(rows.size())), 1);
  EXPECT_EQ(api.PQputCopyEnd(link, nullptr), 1);
  EXPECT_EQ(Finish(), (std::vector<int>{kCommandOk}));
  EXPECT_EQ(Rows("select * from t"), (std::vector<std::string>{"1|one", "2|two"}));
  EXPECT_EQ(Ask(L"select count(*) from t"), L"2");
}

// The context of the server's message would quote the row that it refuses.
TEST_F(Native, ReportsARefusedCopyWithoutItsValues) {
  PGconn* link = Link();
  api.PQclear(api.PQexec(link, "copy t from stdin"));
  EXPECT_EQ(api.PQputCopyData(link, "1\tsecret\tsecret\n", 16), 1);
  EXPECT_EQ(api.PQputCopyEnd(link, nullptr), 1);
  PGresult* result = api.PQgetResult(link);
  EXPECT_EQ(ErrorText(api, result, link), "ERROR:  extra data after last expected column");
  EXPECT_EQ(std::string(api.PQresultErrorMessage(result)).find("secret"), std::string::npos);
  api.PQclear(result);
  EXPECT_EQ(Finish(), std::vector<int>());
}

TEST_F(Native, CancelsACopy) {
  PGconn* link = Link();
  api.PQclear(api.PQexec(link, "copy t from stdin"));
  EXPECT_EQ(api.PQputCopyData(link, "1\tone\n", 6), 1);
  EXPECT_EQ(api.PQputCopyEnd(link, "cancelled"), 1);
  EXPECT_EQ(Finish(), (std::vector<int>{kFatalError}));
  EXPECT_EQ(Rows("select * from t"), std::vector<std::string>());
}

TEST_F(Native, FindsTheLinkIdleWhateverACommandLeftUnread) {
  SACommand command(&connection, L"select i from generate_series(1, 100000) i");
  command.Execute();
  ASSERT_TRUE(command.FetchNext());
  EXPECT_EQ(Execute("insert into t values (1)"), kCommandOk);
  EXPECT_SA_ERROR(SA_Library_Error, 0, command.FetchNext());
}

TEST_F(Native, LeavesCommandsALinkEvenInTheMiddleOfACopy) {
  api.PQclear(api.PQexec(Link(), "copy t from stdin"));
  EXPECT_EQ(Ask(L"select 1"), L"1");
  PGconn* link = Link();
  api.PQclear(api.PQexec(link, "insert into t values (1), (2)"));
  api.PQclear(api.PQexec(link, "copy t to stdout"));
  EXPECT_TRUE(connection.isAlive());
  EXPECT_EQ(Ask(L"select count(*) from t"), L"2");
}

TEST_F(Native, SharesItsTransactionsWithCommands) {
  EXPECT_EQ(Execute("begin"), kCommandOk);
  Ask(L"insert into t values (1)");
  EXPECT_EQ(Value("select count(*) from t"), "0");
  connection.Commit();
  EXPECT_EQ(Value("select count(*) from t"), "1");
}

}  // namespace
