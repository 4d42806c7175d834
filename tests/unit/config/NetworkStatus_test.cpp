#include "scripted/ScriptedTest.h"

namespace {

const NetworkStatusRecord kFirst = {L"S1", L"10.0.0.1", L"pump", L"up", 1, 2, 3, 4, 5, 6};

class NetworkStatus : public ScriptedTest {};

TEST_F(NetworkStatus, TheTableIsCreatedByOneStatement) {
  EXPECT_TRUE(dbms->CreateNetworkTable());
  EXPECT_EQ(
      server.Statements(),
      Texts{
          L"create table if not exists network_table (station text not null,address text not null,description text,status text,read int not null,readErr int not null,readPerct int not null,write int not null,writeErr int not null,writePerct int not null,primary key (station,address))"});
}

TEST_F(NetworkStatus, ThreeRecordsAreOneStatementOfThirtyParameters) {
  const NetworkStatusRecord second = {L"S2", L"", L"", L"", -1, -2, -3, -4, -5, -6};
  const NetworkStatusRecord third = {L"it's", L":1", L"d", L"s", INT32_MAX, INT32_MIN, 0, 0, 0, 100};
  EXPECT_TRUE(dbms->InsertNetworkStatus({kFirst, second, third}));
  ASSERT_EQ(
      server.Statements(),
      Texts{
          L"insert into network_table values (:1,:2,:3,:4,:5,:6,:7,:8,:9,:10),(:11,:12,:13,:14,:15,:16,:17,:18,:19,:20),(:21,:22,:23,:24,:25,:26,:27,:28,:29,:30)"});
  EXPECT_EQ(server.sent[0].binds,
            (Texts{L"text S1",          L"text 10.0.0.1", L"text pump", L"text up", L"int4 1",
                   L"int4 2",           L"int4 3",        L"int4 4",    L"int4 5",  L"int4 6",  //
                   L"text S2",          L"text ",         L"text ",     L"text ",   L"int4 -1",
                   L"int4 -2",          L"int4 -3",       L"int4 -4",   L"int4 -5",
                   L"int4 -6",  //
                   L"text it's",        L"text :1",       L"text d",    L"text s",  L"int4 2147483647",
                   L"int4 -2147483648", L"int4 0",        L"int4 0",    L"int4 0",  L"int4 100"}));
}

TEST_F(NetworkStatus, ManyRecordsAreStillOneStatement) {
  EXPECT_TRUE(dbms->InsertNetworkStatus(std::vector<NetworkStatusRecord>(6553, kFirst)));
  ASSERT_EQ(server.sent.size(), 1u);
  EXPECT_EQ(server.sent[0].binds.size(), 65530u);
  EXPECT_TRUE(server.sent[0].statement.ends_with(
      L"),(:65521,:65522,:65523,:65524,:65525,:65526,:65527,:65528,:65529,:65530)"));
}

TEST_F(NetworkStatus, KeepsTheBlankRemovedForAnEmptyList) {
  ASSERT_TRUE(dbms->Connect());
  server.FailStatement(1, {3, 7, L"ERROR:  syntax error at end of input"});
  EXPECT_FALSE(dbms->InsertNetworkStatus({}));
  EXPECT_EQ(server.Statements(), Texts{L"insert into network_table values"});
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  syntax error at end of input");
}

TEST_F(NetworkStatus, KeepsUpdatingByStationAlone) {
  EXPECT_TRUE(dbms->UpdateNetworkStatus(L"S1", L"down", L"10.0.0.9", 10, 1, 90, 20, 2, 91));
  EXPECT_EQ(
      server.Statements(),
      Texts{
          L"update network_table set status = 'down', address = '10.0.0.9', read = 10, readerr = 1, readperct = 90, write = 20, writeerr = 2, writeperct = 91  where station = 'S1';"});
  EXPECT_TRUE(server.sent[0].binds.empty());
}

TEST_F(NetworkStatus, CountersMayBeNegative) {
  EXPECT_TRUE(dbms->UpdateNetworkStatus(L"S1", L"", L"", -1, -2, -3, -4, INT32_MIN, INT32_MAX));
  EXPECT_EQ(
      server.Statements(),
      Texts{
          L"update network_table set status = '', address = '', read = -1, readerr = -2, readperct = -3, write = -4, writeerr = -2147483648, writeperct = 2147483647  where station = 'S1';"});
}

TEST_F(NetworkStatus, KeepsQuotesInAnUpdateAsTheyAre) {
  ASSERT_TRUE(dbms->Connect());
  server.FailStatement(1, {3, 7, L"ERROR:  unterminated quoted string"});
  EXPECT_FALSE(dbms->UpdateNetworkStatus(L"it's", L"up", L"a", 1, 2, 3, 4, 5, 6));
  EXPECT_EQ(
      server.Statements(),
      Texts{
          L"update network_table set status = 'up', address = 'a', read = 1, readerr = 2, readperct = 3, write = 4, writeerr = 5, writeperct = 6  where station = 'it's';"});
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  unterminated quoted string");
}

TEST_F(NetworkStatus, AllRowsAreDeletedByOneStatement) {
  EXPECT_TRUE(dbms->DeleteAllNetworkStatus());
  EXPECT_EQ(server.Statements(), Texts{L"delete from network_table"});
}

}  // namespace
