#include <SQLAPI.h>

#include <stdexcept>

#include "GooseMessage.h"
#include "server/config/ConfigTest.h"

namespace {

using Lines = std::vector<std::string>;

class GooseLog : public ConfigTest {
 protected:
  void SetUp() override {
    ConfigTest::SetUp();
    if (HasFatalFailure()) return;
    ASSERT_TRUE(dbms->CreateGooseTable());
  }

  // The time stored for a message with this text, in UTC.
  std::string TimeOf(const wchar_t* invalidityTime) {
    Run("delete from iec_goose");
    EXPECT_TRUE(dbms->InsertGooseMessage(GooseMessage(invalidityTime)));
    return Value(
        "select to_char(invalidityTime at time zone 'UTC', 'YYYY-MM-DD HH24:MI:SS.US') from iec_goose");
  }

  std::string Count() { return Value("select count(*) from iec_goose"); }
};

TEST_F(GooseLog, TheTableMayExistAlready) {
  ASSERT_TRUE(dbms->InsertGooseMessage(GooseMessage(L"0")));
  EXPECT_TRUE(dbms->CreateGooseTable());
  EXPECT_EQ(Count(), "1");
  EXPECT_EQ(
      Value(
          "select pg_get_constraintdef(oid) from pg_constraint where contype <> 'n' and conrelid = 'iec_goose'::regclass"),
      "PRIMARY KEY (\"time\", goose_controlblock_ref)");
}

TEST_F(GooseLog, AMessageIsStoredFieldByField) {
  EXPECT_TRUE(dbms->InsertGooseMessage(GooseMessage(L"1700000000123")));
  EXPECT_EQ(
      Rows("select goose_controlblock_ref, dataset, goose_id, allowedtolive, structure_number, "
           "sequence_number, simulation, ndscom, statevalid, srcmac, dstmac, appid, datasetvalues, "
           "datasetvaluesselfallocated, dstmacset, isobserver, vlanset, vlanid, vlanprio from iec_goose"),
      Lines{"IED1LD0/LLN0$GO$gcb1|IED1LD0/LLN0$ds1|gcb1|2000|3|-4|t|f|t|00:11:22:33:44:55|01:0c:cd:01:00:01|"
            "4096|{true,0.5}|f|t|f|t|101|4"});
}

TEST_F(GooseLog, TheServersClockStampsTheMessage) {
  Run("create table clock as select clock_timestamp() as before");
  EXPECT_TRUE(dbms->InsertGooseMessage(GooseMessage(L"0")));
  EXPECT_EQ(Value("select time between before and clock_timestamp() from iec_goose, clock"), "t");
}

TEST_F(GooseLog, TheMessagesOwnTimeIsMilliseconds) {
  EXPECT_EQ(TimeOf(L"1700000000123"), "2023-11-14 22:13:20.123000");
  EXPECT_EQ(TimeOf(L"1700000000000"), "2023-11-14 22:13:20.000000");
  EXPECT_EQ(TimeOf(L"0"), "1970-01-01 00:00:00.000000");
  EXPECT_EQ(TimeOf(L"-1"), "1969-12-31 23:59:59.999000");
  EXPECT_EQ(TimeOf(L"  1700000000123"), "2023-11-14 22:13:20.123000");
  EXPECT_EQ(TimeOf(L"1700000000123 ms"), "2023-11-14 22:13:20.123000");
  EXPECT_EQ(TimeOf(L"1.700000000123e12"), "2023-11-14 22:13:20.123000");
  EXPECT_EQ(TimeOf(L"0x18BCFE5687B"), "2023-11-14 22:13:20.123000");
}

TEST_F(GooseLog, AnInfiniteTimeIsStoredAsInfinity) {
  EXPECT_TRUE(dbms->InsertGooseMessage(GooseMessage(L"inf")));
  EXPECT_TRUE(dbms->InsertGooseMessage(GooseMessage(L"-infinity")));
  EXPECT_EQ(Rows("select invalidityTime::text from iec_goose order by 1"), (Lines{"-infinity", "infinity"}));
}

TEST_F(GooseLog, TimesThatTheServerCannotHoldAreRefused) {
  for (const wchar_t* text : {L"nan", L"1e300"}) EXPECT_FALSE(dbms->InsertGooseMessage(GooseMessage(text)));
  EXPECT_EQ(Count(), "0");
}

TEST_F(GooseLog, ATimeThatIsNoNumberReachesTheCallerAndNothingIsStored) {
  try {
    dbms->InsertGooseMessage(GooseMessage(L"yesterday"));
    ADD_FAILURE() << "nothing thrown";
  } catch (const std::invalid_argument& error) {
    EXPECT_STREQ(error.what(), "invalid stod argument");
  }
  EXPECT_EQ(Count(), "0");
  EXPECT_TRUE(dbms->InsertGooseMessage(GooseMessage(L"0")));
}

TEST_F(GooseLog, ATimeOutOfRangeReachesTheCallerAndNothingIsStored) {
  try {
    dbms->InsertGooseMessage(GooseMessage(L"1e309"));
    ADD_FAILURE() << "nothing thrown";
  } catch (const std::out_of_range& error) {
    EXPECT_STREQ(error.what(), "stod argument out of range");
  }
  EXPECT_EQ(Count(), "0");
  EXPECT_TRUE(dbms->InsertGooseMessage(GooseMessage(L"0")));
}

TEST_F(GooseLog, ASecondMessageOfTheSameTimestampIsRefused) {
  SACommand(dbms->GetConnection().get(), L"begin").Execute();
  EXPECT_TRUE(dbms->InsertGooseMessage(GooseMessage(L"0")));
  EXPECT_FALSE(dbms->InsertGooseMessage(GooseMessage(L"0")));
  EXPECT_TRUE(LastErrorSays(L"duplicate key"));
  dbms->GetConnection()->Rollback();
}

TEST_F(GooseLog, KeepsQuotesInValuesWhichTheServerRefuses) {
  GooseMessageRecord message = GooseMessage(L"0");
  message.dataSetValues = L"it's";
  EXPECT_FALSE(dbms->InsertGooseMessage(message));
  EXPECT_EQ(Count(), "0");
}

TEST_F(GooseLog, OtherTextsAreStoredAsTheyAre) {
  for (const wchar_t* text : {L"", L"{} {0} %s", L"at :1, 10:30", L"a\\b", L"$1 $$ --", kEveryPlane}) {
    Run("delete from iec_goose");
    GooseMessageRecord message = GooseMessage(L"0");
    message.GOOSE_ID = text;
    message.dataSetValues = text;
    EXPECT_TRUE(dbms->InsertGooseMessage(message));
    EXPECT_EQ(Value("select goose_id = datasetvalues from iec_goose"), "t");
  }
  EXPECT_EQ(Value("select datasetvalues from iec_goose"), EveryPlane());
}

TEST_F(GooseLog, KeepsTheResetDoingNothing) {
  ASSERT_TRUE(dbms->InsertGooseMessage(GooseMessage(L"0")));
  EXPECT_TRUE(dbms->ResetGooseLog());
  EXPECT_EQ(Count(), "1");
  const auto unreachable =
      Dbms::GetDbms(DbmsType::TirelScada, L"127.0.0.1", 1, Database().c_str(), User().c_str(), L"");
  EXPECT_TRUE(unreachable->ResetGooseLog());
  EXPECT_FALSE(unreachable->GetConnection()->isConnected());
}

}  // namespace
