// Parameters, rows and failures of commands.

#include <cfloat>
#include <cmath>
#include <limits>

#include "ClientTest.h"

namespace {

using Lines = std::vector<std::wstring>;

class Commands : public ClientTest {
 protected:
  void SetUp() override {
    ClientTest::SetUp();
    Connect();
  }
};

TEST_F(Commands, BindsValuesWithTheirTypes) {
  SACommand command(&connection,
                    L"select pg_typeof(:1), pg_typeof(:2), pg_typeof(:3), pg_typeof(:4), pg_typeof(:5)");
  command << true << short{1} << 2 << 3LL << 4.5;
  command.Execute();
  EXPECT_EQ(Fetch(command), (Lines{L"boolean|smallint|integer|bigint|double precision"}));
}

TEST_F(Commands, BindsLongByItsSize) {
  SACommand command(&connection, L"select pg_typeof(:1)");
  command << 1L;
  command.Execute();
  EXPECT_EQ(Fetch(command), (Lines{sizeof(long) == 4 ? L"integer" : L"bigint"}));
}

TEST_F(Commands, DeliversBoundValuesUnchanged) {
  Run("create table t (b bool, s int2, l int4, i int8, d float8, x text)");
  SACommand command(&connection, L"insert into t values (:1, :2, :3, :4, :5, :6)");
  command << false << std::numeric_limits<short>::min() << std::numeric_limits<int>::min()
          << std::numeric_limits<long long>::min() << -DBL_MAX << L"";
  command.Execute();
  command << true << std::numeric_limits<short>::max() << std::numeric_limits<int>::max()
          << std::numeric_limits<long long>::max() << std::numeric_limits<double>::denorm_min() << L"it's \\";
  command.Execute();
  command << SANull() << SANull() << SANull() << SANull() << SANull() << SANull();
  command.Execute();
  EXPECT_EQ(Rows("select * from t order by b"),
            (std::vector<std::string>{"f|-32768|-2147483648|-9223372036854775808|-1.7976931348623157e+308|",
                                      "t|32767|2147483647|9223372036854775807|5e-324|it's \\",
                                      "\\N|\\N|\\N|\\N|\\N|\\N"}));
}

TEST_F(Commands, KeepsTheBitsOfADouble) {
  SACommand command(&connection, L"select encode(float8send(:1), 'hex'), :1");
  for (const double value : {0.1, -0.0, std::numeric_limits<double>::infinity(), DBL_MIN}) {
    command << value;
    command.Execute();
    ASSERT_TRUE(command.FetchNext());
    EXPECT_EQ(command.Field(2).asDouble(), value);
    EXPECT_EQ(std::signbit(command.Field(2).asDouble()), std::signbit(value));
  }
  command << -0.0;
  command.Execute();
  ASSERT_TRUE(command.FetchNext());
  EXPECT_EQ(Wide(command.Field(1).asString()), L"8000000000000000");
}

TEST_F(Commands, LeavesTheTypeOfATextToTheServer) {
  Run("create table t (v varchar(10), j jsonb, i int, ts timestamptz, k \"char\")");
  SACommand command(&connection, L"insert into t values (:1, :2, :3, :4, :5)");
  command << L"name" << L"{\"a\":1}" << L"42" << L"2024-01-02 03:04:05+00" << L"x";
  command.Execute();
  EXPECT_EQ(Rows("select v, j ->> 'a', i, extract(epoch from ts)::int8, k from t"),
            (std::vector<std::string>{"name|1|42|1704164645|x"}));
}

TEST_F(Commands, LetsAMarkerOccurInSeveralPlaces) {
  SACommand command(&connection,
                    L"select :2::text || :1::text || :2::text, ':1', '2024-01-01 10:20:30'::timestamp");
  EXPECT_EQ(command.ParamCount(), 2);
  command << L"a" << L"b";
  command.Execute();
  EXPECT_EQ(Fetch(command), (Lines{L"bab|:1|2024-01-01 10:20:30"}));
}

TEST_F(Commands, BindsByNumberAndByName) {
  SACommand command(&connection, L"select :7::int, :name::text, :3::int");
  command.Param(3).setAsLong() = 3;
  command.Param(7).setAsShort() = 7;
  command.Param(L"name").setAsString() = L"called";
  command.Execute();
  EXPECT_EQ(Fetch(command), (Lines{L"7|called|3"}));
  EXPECT_SA_ERROR(SA_Library_Error, 0, command.Param(1));
  EXPECT_SA_ERROR(SA_Library_Error, 0, command.Param(0));
  EXPECT_SA_ERROR(SA_Library_Error, 0, command.Param(L"nobody"));
}

TEST_F(Commands, StartsBindingOverAfterExecuteAndWithANewText) {
  SACommand command(&connection, L"select :1::int + :2::int");
  command << 1 << 2;
  EXPECT_SA_ERROR(SA_Library_Error, 0, command << 3);
  command.Execute();
  command << 10;
  command.Execute();
  EXPECT_EQ(Fetch(command), (Lines{L"12"})) << "the second value stays bound";
  command << 20;
  command.setCommandText(L"select :1::int");
  EXPECT_SA_ERROR(SA_Library_Error, 0, command.Execute());
  command << 30;
  command.Execute();
  EXPECT_EQ(Fetch(command), (Lines{L"30"}));
}

TEST_F(Commands, RefusesTextsThatWouldBeCutOff) {
  SACommand command(&connection, L"select :1::text");
  command << SAString(L"a\0b", 3);
  EXPECT_SA_ERROR(SA_Library_Error, 0, command.Execute());
  EXPECT_SA_ERROR(SA_Library_Error, 0, command.setCommandText(SAString(L"select 1\0, 2", 12)));
}

TEST_F(Commands, DeliversRowsAndColumns) {
  SACommand command(&connection, L"select i as number, 'r' || i as name from generate_series(1, 3) i");
  EXPECT_EQ(command.FieldCount(), 0);
  command.Execute();
  EXPECT_EQ(command.FieldCount(), 2);
  EXPECT_EQ(Wide(command.Field(1).Name()), L"number");
  ASSERT_TRUE(command.FetchNext());
  EXPECT_EQ(command.Field(L"number").asLong(), 1);
  EXPECT_EQ(Wide(command.Field(L"name").asString()), L"r1");
  EXPECT_EQ(Fetch(command), (Lines{L"2|r2", L"3|r3"}));
  EXPECT_FALSE(command.FetchNext());
  EXPECT_TRUE(command.Field(1).isNull());
  EXPECT_SA_ERROR(SA_Library_Error, 0, command.Field(0));
  EXPECT_SA_ERROR(SA_Library_Error, 0, command.Field(3));
  EXPECT_SA_ERROR(SA_Library_Error, 0, command.Field(L"Number"));
}

TEST_F(Commands, DescribesAResultWithoutRows) {
  SACommand command(&connection, L"select 1 as a, 2 as b where false");
  command.Execute();
  EXPECT_EQ(command.FieldCount(), 2);
  EXPECT_FALSE(command.FetchNext());
  EXPECT_FALSE(command.FetchNext());
}

TEST_F(Commands, HaveNoRowsWithoutAResult) {
  SACommand command(&connection, L"create table t (a int)");
  EXPECT_FALSE(command.FetchNext());
  command.Execute();
  EXPECT_EQ(command.FieldCount(), 0);
  EXPECT_FALSE(command.FetchNext());
  command.setCommandText(L"");
  command.Execute();
  EXPECT_FALSE(command.FetchNext());
}

TEST_F(Commands, ReportWhatTheServerRefuses) {
  SACommand command(&connection, L"select no_such_column");
  const SAException error = Thrown([&] { command.Execute(); });
  EXPECT_EQ(error.ErrClass(), SA_DBMS_API_Error);
  EXPECT_EQ(error.ErrNativeCode(), 7);
  EXPECT_EQ(
      Wide(error.ErrText()),
      L"ERROR:  column \"no_such_column\" does not exist\nLINE 1: select no_such_column\n               ^");
  EXPECT_EQ(error.SqlState(), "42703");
  EXPECT_EQ(command.FieldCount(), 0);
  EXPECT_FALSE(command.FetchNext());
  EXPECT_TRUE(connection.isAlive());
}

// The server quotes the rows that it refuses in the lines after the message.
TEST_F(Commands, ReportRefusedRowsWithoutTheirValues) {
  Run("create table u (name text primary key, password text not null check (password <> 'secret'))");
  const auto text = [&](const wchar_t* statement) { return Wide(Thrown([&] { Ask(statement); }).ErrText()); };
  EXPECT_EQ(text(L"insert into u values ('op', 'secret')"),
            L"ERROR:  new row for relation \"u\" violates check constraint \"u_password_check\"");
  Ask(L"insert into u values ('op', 'other')");
  EXPECT_EQ(text(L"insert into u values ('op', 'again')"),
            L"ERROR:  duplicate key value violates unique constraint \"u_pkey\"");
  EXPECT_EQ(text(L"select 'secret'::json"), L"ERROR:  invalid input syntax for type json");
  Ask(L"create view v as select * from u");
  EXPECT_EQ(text(L"drop table u"),
            L"ERROR:  cannot drop table u because other objects depend on it\n"
            L"DETAIL:  view v depends on table u\n"
            L"HINT:  Use DROP ... CASCADE to drop the dependent objects too.");
}

TEST_F(Commands, ReportAFailureMidwayAfterTheRowsBeforeIt) {
  SACommand command(&connection, L"select 6 / (4 - i) from generate_series(1, 9) i");
  command.Execute();
  std::vector<int> rows;
  EXPECT_SA_ERROR(SA_DBMS_API_Error, 7,
                  while (command.FetchNext()) rows.push_back(command.Field(1).asLong()));
  EXPECT_EQ(rows, (std::vector<int>{2, 3, 6}));
  EXPECT_TRUE(command.Field(1).isNull());
  EXPECT_FALSE(command.FetchNext());
  EXPECT_EQ(Ask(L"select 1"), L"1");
}

TEST_F(Commands, ReportAFailureAfterTheFirstRowAtOnce) {
  SACommand command(&connection, L"select 6 / (2 - i) from generate_series(1, 9) i");
  EXPECT_SA_ERROR(SA_DBMS_API_Error, 7, command.Execute());
  EXPECT_FALSE(command.FetchNext());
}

// The row arrives before the refused commit; the caller must not take the statement for done.
TEST_F(Commands, ReportAFailureOfTheCommitAfterTheRow) {
  Run("create table p (a int primary key);"
      "create table c (a int references p deferrable initially deferred)");
  SACommand command(&connection, L"insert into c values (1) returning a");
  EXPECT_SA_ERROR(SA_DBMS_API_Error, 7, command.Execute());
  SACommand bound(&connection, L"insert into c values (:1)");
  bound << 2;
  EXPECT_SA_ERROR(SA_DBMS_API_Error, 7, bound.Execute());
  EXPECT_EQ(Value("select count(*) from c"), "0");
}

TEST_F(Commands, RunSeveralStatementsInOneText) {
  SACommand command(&connection,
                    L"create table t (a int); insert into t values (1), (2); "
                    L"select a from t; select 'passed over'");
  command.Execute();
  EXPECT_EQ(Fetch(command), (Lines{L"1", L"2"}));
  command.setCommandText(L"select a from t where a > 2; select 'passed over', 'too'");
  command.Execute();
  EXPECT_EQ(command.FieldCount(), 1);
  EXPECT_FALSE(command.FetchNext());
  command.setCommandText(L"insert into t values (3); select 1 / 0");
  EXPECT_SA_ERROR(SA_DBMS_API_Error, 7, command.Execute());
  EXPECT_EQ(Value("select count(*) from t"), "2");
}

TEST_F(Commands, RunWhatMustNotBeInATransaction) {
  Ask(L"create table t (a int)");
  Ask(L"vacuum t");
  Ask(L"create materialized view v as select a from t");
  EXPECT_EQ(Value("select count(*) from pg_matviews"), "1");
}

TEST_F(Commands, DiscardUnreadRowsOfAnother) {
  SACommand first(&connection, L"select i, repeat('x', 1000) from generate_series(1, 20000) i");
  first.Execute();
  ASSERT_TRUE(first.FetchNext());
  EXPECT_EQ(Ask(L"select 'second'"), L"second");
  EXPECT_EQ(first.Field(1).asLong(), 1) << "the row at hand stays";
  EXPECT_SA_ERROR(SA_Library_Error, 0, first.FetchNext());
  EXPECT_FALSE(first.FetchNext());
  first.Execute();
  EXPECT_EQ(Fetch(first).size(), 20000u);
}

TEST_F(Commands, LoseNothingWhenAllRowsWereRead) {
  SACommand first(&connection, L"select 1");
  first.Execute();
  ASSERT_TRUE(first.FetchNext());
  Ask(L"select 2");
  EXPECT_FALSE(first.FetchNext());
}

TEST_F(Commands, DiscardTheirOwnUnreadRows) {
  SACommand command(&connection, L"select i from generate_series(:1::int, 100000) i");
  command << 1;
  command.Execute();
  ASSERT_TRUE(command.FetchNext());
  command << 99999;
  command.Execute();
  EXPECT_EQ(Fetch(command), (Lines{L"99999", L"100000"}));
}

TEST_F(Commands, LeaveTheConnectionUsableWhenTheyGoWithRowsUnread) {
  {
    SACommand command(&connection, L"select i from generate_series(1, 1000000) i");
    command.Execute();
    ASSERT_TRUE(command.FetchNext());
  }
  EXPECT_TRUE(connection.isAlive());
  EXPECT_EQ(Ask(L"select 1"), L"1");
}

TEST_F(Commands, LeaveCopyToTheNativeConnection) {
  Run("create table t (a int); insert into t values (1)");
  EXPECT_SA_ERROR(SA_Library_Error, 0, Ask(L"copy t from stdin"));
  EXPECT_SA_ERROR(SA_Library_Error, 0, Ask(L"copy t to stdout"));
  EXPECT_EQ(Ask(L"select count(*) from t"), L"1");
}

TEST_F(Commands, NeedAConnection) {
  SACommand command(&connection, L"select 1");
  connection.Disconnect();
  EXPECT_SA_ERROR(SA_Library_Error, 0, command.Execute());
  SACommand orphan(nullptr, L"select 1");
  EXPECT_SA_ERROR(SA_Library_Error, 0, orphan.Execute());
}

}  // namespace
