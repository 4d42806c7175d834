// A prepared statement is used by every command with the same text, as recorded by a ProtocolTap.

#include "ParsingTest.h"

namespace {

class Reuse : public ParsingTest {
 protected:
  // The messages that a new command sends.
  template <class A, class B>
  std::string SentByAnother(A a, B b) {
    SACommand command(&connection, L"insert into t values (:1, :2)");
    command << a << b;
    tap->Take();
    command.Execute();
    return tap->Take();
  }
};

TEST_F(Reuse, AvoidsParsing) {
  EXPECT_EQ(SentByAnother(1, L"one"), kParsedAndRun);
  EXPECT_EQ(SentByAnother(2, L"two"), kPreparedAndRun);
  EXPECT_EQ(SentByAnother(3, L"three"), kRun);
  insert.setCommandText(L"insert into t values (:1, :2)");
  EXPECT_EQ(Sent(4, L"four"), kRun);
  EXPECT_EQ(Sent(5, L"five"), kRun);
  EXPECT_EQ(Value("select string_agg(b, ' ' order by a) from t"), "one two three four five");
}

TEST_F(Reuse, NeedsTheSameTypes) {
  EXPECT_EQ(SentByAnother(1, L"one"), kParsedAndRun);
  EXPECT_EQ(SentByAnother(2.0, L"two"), kParsedAndRun);
  EXPECT_EQ(SentByAnother(3.0, L"three"), kPreparedAndRun);
  EXPECT_EQ(SentByAnother(SANull(), SANull()), kRun);
  EXPECT_EQ(Rows("select * from t order by a"),
            (std::vector<std::string>{"1|one", "2|two", "3|three", "\\N|\\N"}));
}

TEST_F(Reuse, EndsWithAFailure) {
  Run("alter table t add primary key (a)");
  EXPECT_EQ(SentByAnother(1, L"one"), kParsedAndRun);
  EXPECT_SA_ERROR(SA_DBMS_API_Error, 7, SentByAnother(1, L"again"));
  EXPECT_EQ(SentByAnother(2, L"two"), kParsedAndRun);
}

TEST_F(Reuse, EndsWithTheConnection) {
  EXPECT_EQ(SentByAnother(1, L"one"), kParsedAndRun);
  EXPECT_EQ(SentByAnother(2, L"two"), kPreparedAndRun);
  connection.Destroy();
  Reconnect();
  EXPECT_EQ(SentByAnother(3, L"three"), kParsedAndRun);
}

// The number of columns that a new command reads.
class Columns : public Reuse {
 protected:
  int Read() {
    SACommand command(&connection, L"select * from t where a >= :1");
    command << 0;
    command.Execute();
    return command.FieldCount();
  }
};

TEST_F(Columns, AreThoseThatTheTableHasNow) {
  EXPECT_EQ(Read(), 2);
  Run("alter table t add c int");
  EXPECT_EQ(Read(), 3) << "parsed for the first time";
  Run("alter table t add d int");
  tap->Take();
  EXPECT_EQ(Read(), 4) << "prepared before the table was altered";
  EXPECT_EQ(tap->Take(), std::string(kRun) + kParsedAndRun);
  Run("drop table t; create table t (a int)");
  EXPECT_EQ(Read(), 1);
  EXPECT_EQ(Read(), 1);
  tap->Take();
  EXPECT_EQ(Read(), 1);
  EXPECT_EQ(tap->Take(), kRun);
}

TEST_F(Columns, AreReadByTheCallerAgainInATransaction) {
  EXPECT_EQ(Read(), 2);
  EXPECT_EQ(Read(), 2);
  Run("alter table t add c int");
  Ask(L"begin");
  const SAException error = Thrown([&] { Read(); });
  EXPECT_EQ(error.SqlState(), "0A000");
  connection.Rollback();
  EXPECT_EQ(Read(), 3);
}

TEST_F(Columns, AreThoseOfTheSearchPath) {
  Run("create schema s; create table s.t (a int, b text, c text)");
  EXPECT_EQ(Read(), 2);
  EXPECT_EQ(Read(), 2);
  Ask(L"set search_path to s");
  EXPECT_EQ(Read(), 3);
  Ask(L"set search_path to public");
  EXPECT_EQ(Read(), 2);
}

TEST_F(Reuse, GoesToTheTableOfTheSearchPath) {
  Run("create schema s; create table s.t (a int, b text)");
  for (int i = 0; i < 3; ++i) SentByAnother(i, L"public");
  Ask(L"set search_path to s");
  EXPECT_EQ(SentByAnother(3, L"s"), kRun);
  EXPECT_EQ(Rows("select * from s.t"), (std::vector<std::string>{"3|s"}));
}

TEST_F(Reuse, FollowsATableThatIsReplaced) {
  EXPECT_EQ(SentByAnother(1, L"one"), kParsedAndRun);
  EXPECT_EQ(SentByAnother(2, L"two"), kPreparedAndRun);
  Run("drop table t");
  Run("create table t (a int, b text, c int default 7)");
  EXPECT_EQ(SentByAnother(3, L"three"), kRun);
  EXPECT_EQ(Rows("select * from t"), (std::vector<std::string>{"3|three|7"}));
}

TEST_F(Reuse, IsCheckedForEachRole) {
  const std::string role = Value("select 'role_' || current_database()");
  Run("create role " + role);
  for (int i = 0; i < 3; ++i) SentByAnother(i, L"owner");
  Ask(L"set role " + std::wstring(role.begin(), role.end()));
  EXPECT_EQ(Thrown([&] { SentByAnother(3, L"role"); }).SqlState(), "42501");
  Ask(L"reset role");
  EXPECT_EQ(SentByAnother(4, L"owner"), kParsedAndRun);
  Run("drop role " + role);
  EXPECT_EQ(Value("select count(*) from t"), "4");
}

}  // namespace
