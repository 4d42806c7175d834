#include "historian/Link.h"

#include "historian/HistorianTest.h"

namespace historian {
namespace {

class LinkTest : public HistorianTest {};

TEST_F(LinkTest, BindsValuesAndReadsRows) {
  Link link(*dbms, "test");
  const Result rows =
      link.Run("select $1 || '', $2::bigint, $3::text, 1.5::float8, true", {"it's \U0001F600", "7", {}});
  ASSERT_EQ(rows.size(), 1);
  EXPECT_EQ(rows.Text(0, 0), "it's \U0001F600");
  EXPECT_EQ(rows.Integer(0, 1), 7);
  EXPECT_TRUE(rows.IsNull(0, 2));
  EXPECT_EQ(rows.Number(0, 3), 1.5);
  EXPECT_TRUE(rows.Bool(0, 4));
}

TEST_F(LinkTest, ThrowsWithOperationTextAndSqlState) {
  Link link(*dbms, "test");
  const Error error = Failure([&] { link.Run("select 1 / 0"); });
  EXPECT_EQ(error.Operation(), "test");
  EXPECT_EQ(error.Text(), "ERROR:  division by zero");
  EXPECT_EQ(error.SqlState(), "22012");
  EXPECT_EQ(link.Run("select 1").Integer(0, 0), 1);
}

TEST_F(LinkTest, ReportsAServerThatCannotBeReached) {
  const auto other = Dbms::GetDbms(DbmsType::TirelScada, Host().c_str(), Port(), L"there_is_no_such_database",
                                   User().c_str(), Password().c_str());
  const Error error = Failure([&] { Link link(*other, "test"); });
  EXPECT_NE(error.Text().find("there_is_no_such_database"), std::string::npos) << error.Text();
  EXPECT_EQ(error.SqlState(), "");
}

TEST_F(LinkTest, CopiesIn) {
  Link link(*dbms, "test");
  link.StartCopy("copy datalog from stdin");
  link.SendCopy("2023-11-14 22:13:20+00\tPUMP\t1\n2023-11-14");
  link.SendCopy(" 22:13:21+00\tPUMP\t2\n");
  EXPECT_EQ(link.FinishCopy(), 2);
  EXPECT_EQ(Value("select sum(value) from datalog"), "3");
}

TEST_F(LinkTest, ReportsARefusedCopyAndCanBeUsedAgain) {
  Link link(*dbms, "test");
  link.StartCopy("copy datalog from stdin");
  link.SendCopy("yesterday-ish\tPUMP\t1\n");
  EXPECT_EQ(Failure([&] { link.FinishCopy(); }).SqlState(), "22007");
  link.StartCopy("copy datalog from stdin");
  link.SendCopy("2023-11-14 22:13:20+00\tPUMP\t1\n");
  link.CancelCopy();
  EXPECT_EQ(link.Run("select count(*) from datalog").Integer(0, 0), 0);
}

TEST_F(LinkTest, DropsALostConnectionSoThatTheNextUseConnects) {
  Link link(*dbms, "test");
  const std::string process(link.Run("select pg_backend_pid()").Text(0, 0));
  Run("select pg_terminate_backend(" + process + ")");
  WaitUntil("select not exists (select from pg_stat_activity where pid = " + process + ")");
  EXPECT_EQ(Failure([&] { link.Run("select 1"); }).SqlState(), "");
  EXPECT_FALSE(dbms->GetConnection()->isConnected());
  EXPECT_EQ(Link(*dbms, "test").Run("select 1").Integer(0, 0), 1);
}

}  // namespace
}  // namespace historian
