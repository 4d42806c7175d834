// What a command finds parsed by an earlier one of the same text, as a tap on the wire sees it.

#include "ParsingTest.h"

namespace {

class TakingOver : public ParsingTest {
 protected:
  // What executing a command of its own sends.
  template <class A, class B>
  std::string SentByAnother(A a, B b) {
    SACommand command(&connection, L"insert into t values (:1, :2)");
    command << a << b;
    tap->Take();
    command.Execute();
    return tap->Take();
  }
};

TEST_F(TakingOver, SparesTheParsing) {
  EXPECT_EQ(SentByAnother(1, L"one"), kParsedAndRun);
  EXPECT_EQ(SentByAnother(2, L"two"), kRun);
  EXPECT_EQ(SentByAnother(3, L"three"), kRun);
  insert.setCommandText(L"insert into t values (:1, :2)");
  EXPECT_EQ(Sent(4, L"four"), kRun);
  EXPECT_EQ(Sent(5, L"five"), kRun);
  EXPECT_EQ(Value("select string_agg(b, ' ' order by a) from t"), "one two three four five");
}

TEST_F(TakingOver, EndsWhenAnythingCameBetween) {
  EXPECT_EQ(SentByAnother(1, L"one"), kParsedAndRun);
  Ask(L"select 1");
  EXPECT_EQ(SentByAnother(2, L"two"), kParsedAndRun);
  connection.NativeHandles();
  EXPECT_EQ(SentByAnother(3, L"three"), kParsedAndRun);
  EXPECT_EQ(SentByAnother(4, L"four"), kParsedAndRun);
  EXPECT_EQ(Value("select count(*) from t"), "4");
}

TEST_F(TakingOver, NeedsTheSameTypes) {
  EXPECT_EQ(SentByAnother(1, L"one"), kParsedAndRun);
  EXPECT_EQ(SentByAnother(2.0, L"two"), kParsedAndRun);
  EXPECT_EQ(SentByAnother(3.0, L"three"), kRun);
  EXPECT_EQ(SentByAnother(SANull(), SANull()), kRun);
  EXPECT_EQ(Rows("select * from t order by a"),
            (std::vector<std::string>{"1|one", "2|two", "3|three", "\\N|\\N"}));
}

TEST_F(TakingOver, EndsWithAFailure) {
  Run("alter table t add primary key (a)");
  EXPECT_EQ(SentByAnother(1, L"one"), kParsedAndRun);
  EXPECT_SA_ERROR(SA_DBMS_API_Error, 7, SentByAnother(1, L"again"));
  EXPECT_EQ(SentByAnother(2, L"two"), kParsedAndRun);
}

TEST_F(TakingOver, EndsWithTheLink) {
  EXPECT_EQ(SentByAnother(1, L"one"), kParsedAndRun);
  connection.Destroy();
  Reconnect();
  EXPECT_EQ(SentByAnother(2, L"two"), kParsedAndRun);
}

TEST_F(TakingOver, IsNotForCommandsThatReadRows) {
  const auto columns = [this] {
    SACommand command(&connection, L"select * from t where a >= :1");
    command << 0;
    command.Execute();
    return command.FieldCount();
  };
  EXPECT_EQ(columns(), 2);
  Run("alter table t add c int");
  tap->Take();
  EXPECT_EQ(columns(), 3);
  EXPECT_EQ(tap->Take(), kParsedAndRun);
}

TEST_F(TakingOver, FollowsATableThatIsMadeAnew) {
  EXPECT_EQ(SentByAnother(1, L"one"), kParsedAndRun);
  Run("drop table t");
  Run("create table t (a int, b text, c int default 7)");
  EXPECT_EQ(SentByAnother(2, L"two"), kRun);
  EXPECT_EQ(Rows("select * from t"), (std::vector<std::string>{"2|two|7"}));
}

}  // namespace
