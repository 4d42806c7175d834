#include <stdexcept>

#include "GooseMessage.h"
#include "scripted/ScriptedTest.h"

namespace {

class GooseLog : public ScriptedTest {
 protected:
  // The seconds in the statement for a message with this time.
  std::wstring SecondsOf(const wchar_t* invalidityTime) {
    server.Forget();
    EXPECT_TRUE(dbms->InsertGooseMessage(GooseMessage(invalidityTime)));
    const std::wstring& statement = server.sent.at(0).statement;
    const std::wstring before = L"to_timestamp('";
    const std::size_t begin = statement.find(before) + before.size();
    return statement.substr(begin, statement.find(L'\'', begin) - begin);
  }

  // Times with the seconds that their statements have.
  using Conversions = std::initializer_list<std::pair<const wchar_t*, const wchar_t*>>;
  void ExpectSeconds(Conversions expected) {
    for (const auto& [time, seconds] : expected) {
      EXPECT_EQ(SecondsOf(time), seconds) << testing::PrintToString(time);
    }
  }

  // The text of the exception for a message with this time.
  template <class Exception>
  std::string RefusalOf(const wchar_t* invalidityTime) {
    server.Forget();
    try {
      dbms->InsertGooseMessage(GooseMessage(invalidityTime));
    } catch (const Exception& error) {
      EXPECT_TRUE(server.sent.empty());
      return error.what();
    }
    return "nothing thrown";
  }
};

TEST_F(GooseLog, TheTableIsCreatedByOneStatement) {
  EXPECT_TRUE(dbms->CreateGooseTable());
  EXPECT_EQ(
      server.Statements(),
      Texts{
          L"create table if not exists iec_goose (time timestamptz NOT NULL,GOOSE_ControlBlock_Ref text NOT NULL,DataSet text NOT NULL,GOOSE_ID text NOT NULL,AllowedToLive int NOT NULL,Structure_Number int NOT NULL,Sequence_Number int NOT NULL,simulation bool NOT NULL,ndsCom bool NOT NULL,invalidityTime timestamptz NOT NULL,stateValid bool NOT NULL,srcMac text NOT NULL,dstMac text NOT NULL,appId int NOT NULL,dataSetValues text NOT NULL,dataSetValuesSelfAllocated bool NOT NULL,dstMacSet bool NOT NULL,isObserver bool NOT NULL,vlanSet bool NOT NULL,vlanId int NOT NULL,vlanPrio int NOT NULL,primary key (time,GOOSE_ControlBlock_Ref))"});
}

TEST_F(GooseLog, KeepsTheResetDoingNothing) {
  server.RefuseConnections({3, 1, L"refused"});
  EXPECT_TRUE(dbms->ResetGooseLog());
  EXPECT_TRUE(server.sent.empty());
  EXPECT_TRUE(server.events.empty());
  EXPECT_STREQ(dbms->GetLastError(), L"");
}

TEST_F(GooseLog, AMessageIsOneStatementOfQuotedValues) {
  EXPECT_TRUE(dbms->InsertGooseMessage(GooseMessage(L"1700000000123")));
  EXPECT_EQ(
      server.Statements(),
      Texts{
          L"insert into iec_goose (time, GOOSE_ControlBlock_Ref, DataSet, GOOSE_ID, AllowedToLive, Structure_Number,Sequence_Number, simulation, ndsCom, invalidityTime, stateValid, srcMac, dstMac, appId, dataSetValues,dataSetValuesSelfAllocated, dstMacSet, isObserver, vlanSet, vlanId, vlanPrio) values(now(), 'IED1LD0/LLN0$GO$gcb1', 'IED1LD0/LLN0$ds1', 'gcb1', '2000', '3', '-4', 'true', 'false', to_timestamp('1700000000.123'), 'true', '00:11:22:33:44:55', '01:0c:cd:01:00:01', '4096', '{true,0.5}', 'false', 'true', 'false', 'true', '101', '4')"});
  EXPECT_TRUE(server.sent[0].binds.empty());
}

TEST_F(GooseLog, TheOtherFlagsAndExtremeNumbersAreWrittenToo) {
  EXPECT_TRUE(dbms->InsertGooseMessage({L"", L"", L"", INT32_MAX, INT32_MIN, 0,     false, true,  L"0", false,
                                        L"", L"", -1,  L"{}",     true,      false, true,  false, -2,   -3}));
  EXPECT_EQ(
      server.Statements(),
      Texts{
          L"insert into iec_goose (time, GOOSE_ControlBlock_Ref, DataSet, GOOSE_ID, AllowedToLive, Structure_Number,Sequence_Number, simulation, ndsCom, invalidityTime, stateValid, srcMac, dstMac, appId, dataSetValues,dataSetValuesSelfAllocated, dstMacSet, isObserver, vlanSet, vlanId, vlanPrio) values(now(), '', '', '', '2147483647', '-2147483648', '0', 'false', 'true', to_timestamp('0'), 'false', '', '', '-1', '{}', 'true', 'false', 'true', 'false', '-2', '-3')"});
}

TEST_F(GooseLog, KeepsQuotesInValuesAsTheyAre) {
  GooseMessageRecord message = GooseMessage(L"0");
  message.dataSetValues = L"it's";
  ASSERT_TRUE(dbms->Connect());
  server.FailStatement(1, {3, 7, L"ERROR:  syntax error"});
  EXPECT_FALSE(dbms->InsertGooseMessage(message));
  ASSERT_EQ(server.sent.size(), 1u);
  EXPECT_NE(server.sent[0].statement.find(L"'4096', 'it's', 'false'"), std::wstring::npos);
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  syntax error");
}

// ---- invalidityTime ----

TEST_F(GooseLog, MillisecondsBecomeSecondsInTheirShortestForm) {
  ExpectSeconds({{L"1700000000123", L"1700000000.123"},
                 {L"1700000000000", L"1.7e+09"},
                 {L"1700000001000", L"1700000001"},
                 {L"1", L"0.001"},
                 {L"0", L"0"},
                 {L"-1500", L"-1.5"},
                 {L"+1500", L"1.5"},
                 {L"1500.25", L"1.50025"},
                 {L".5", L"5e-04"},
                 {L"1.7e12", L"1.7e+09"},
                 {L"1.7E+12", L"1.7e+09"}});
}

TEST_F(GooseLog, BlanksBeforeTheNumberAreSkipped) {
  ExpectSeconds({{L" \t\n\v\f\r1500", L"1.5"}, {L"  -1500", L"-1.5"}});
}

TEST_F(GooseLog, WhatFollowsTheNumberIsIgnored) {
  ExpectSeconds({{L"1500 ms", L"1.5"},
                 {L"1500ms", L"1.5"},
                 {L"1500e", L"1.5"},
                 {L"1500e+", L"1.5"},
                 {L"1500.5.5", L"1.5005"},
                 {L"1500'); drop table iec_goose", L"1.5"},
                 {L"1500\u00a0ms", L"1.5"}});
}

TEST_F(GooseLog, HexadecimalNumbersAreRead) {
  ExpectSeconds({{L"0x18BCFE5687B", L"1700000000.123"},
                 {L"-0X5dc", L"-1.5"},
                 {L"0x1p4", L"0.016"},
                 {L"0x.8p1", L"0.001"},
                 {L"0x", L"0"},
                 {L"0x-1", L"0"},
                 {L"0xnan", L"0"}});
}

TEST_F(GooseLog, InfinityAndNanAreNumbers) {
  ExpectSeconds({{L"inf", L"inf"}, {L"-Infinity", L"-inf"}, {L"NaN", L"nan"}});
}

TEST_F(GooseLog, ATimeWithoutANumberReachesTheCallerAndNothingIsSent) {
  for (const wchar_t* text : {L"", L" ", L"ms", L"-", L"+", L"+-1", L"--1", L"- 1", L".", L"e5", L",5",
                              L"x10", L"\u00a01", L"\uff11"}) {
    EXPECT_EQ(RefusalOf<std::invalid_argument>(text), "invalid stod argument");
  }
  EXPECT_STREQ(dbms->GetLastError(), L"");
}

TEST_F(GooseLog, ATimeOutOfRangeReachesTheCallerAndNothingIsSent) {
  for (const wchar_t* text : {L"1e309", L"-1e309", L"1e-400", L"0x1p1024"}) {
    EXPECT_EQ(RefusalOf<std::out_of_range>(text), "stod argument out of range");
  }
  EXPECT_EQ(RefusalOf<std::out_of_range>(std::wstring(400, L'9').c_str()), "stod argument out of range");
  EXPECT_STREQ(dbms->GetLastError(), L"");
}

TEST_F(GooseLog, TheObjectWorksOnAfterARefusedTime) {
  EXPECT_THROW(dbms->InsertGooseMessage(GooseMessage(L"ms")), std::invalid_argument);
  EXPECT_EQ(SecondsOf(L"1500"), L"1.5");
}

TEST_F(GooseLog, TheConnectionIsCheckedBeforeTheTime) {
  server.RefuseConnections({3, 1, L"refused"});
  EXPECT_FALSE(dbms->InsertGooseMessage(GooseMessage(L"ms")));
  EXPECT_STREQ(dbms->GetLastError(), L"refused");
}

}  // namespace
