#include "server/config/ConfigTest.h"

namespace {

using Lines = std::vector<std::string>;

std::vector<NetworkStatusRecord> Stations(int count) {
  std::vector<NetworkStatusRecord> records;
  for (int i = 1; i <= count; ++i) {
    records.push_back({L"S" + std::to_wstring(i), L"10.0.0.1", L"", L"up", i, 0, 100, -i, 0, 100});
  }
  return records;
}

class NetworkStatus : public ConfigTest {
 protected:
  void SetUp() override {
    ConfigTest::SetUp();
    if (HasFatalFailure()) return;
    ASSERT_TRUE(dbms->CreateNetworkTable());
  }

  std::string Count() { return Value("select count(*) from network_table"); }
};

TEST_F(NetworkStatus, TheTableMayExistAlready) {
  ASSERT_TRUE(dbms->InsertNetworkStatus(Stations(1)));
  EXPECT_TRUE(dbms->CreateNetworkTable());
  EXPECT_EQ(Count(), "1");
  EXPECT_EQ(Value("select pg_get_constraintdef(oid) from pg_constraint "
                  "where contype <> 'n' and conrelid = 'network_table'::regclass"),
            "PRIMARY KEY (station, address)");
}

TEST_F(NetworkStatus, RecordsAreStoredFieldByField) {
  EXPECT_TRUE(dbms->InsertNetworkStatus({{L"it's", L"10.0.0.1:102", L"pump", L"up", 1, 2, 3, 4, 5, 6},
                                         {L"", L"", L"", L"", INT32_MIN, -1, 0, 0, 1, INT32_MAX},
                                         {L"S3", L":1", L"{}", L"%s", 7, 8, 9, 10, 11, 12}}));
  EXPECT_EQ(Rows("select * from network_table order by station, address"),
            (Lines{"||||-2147483648|-1|0|0|1|2147483647", "S3|:1|{}|%s|7|8|9|10|11|12",
                   "it's|10.0.0.1:102|pump|up|1|2|3|4|5|6"}));
}

TEST_F(NetworkStatus, TextsOfEveryPlaneAreStored) {
  EXPECT_TRUE(
      dbms->InsertNetworkStatus({{kEveryPlane, kEveryPlane, kEveryPlane, kEveryPlane, 1, 2, 3, 4, 5, 6}}));
  const std::string planes = EveryPlane();
  EXPECT_EQ(Rows("select station, address, description, status from network_table"),
            Lines{planes + "|" + planes + "|" + planes + "|" + planes});
  EXPECT_TRUE(dbms->UpdateNetworkStatus(kEveryPlane, (L"now " + std::wstring(kEveryPlane)).c_str(), L"a", 1,
                                        2, 3, 4, 5, 6));
  EXPECT_EQ(Value("select status from network_table"), "now " + planes);
}

TEST_F(NetworkStatus, AsManyRecordsAsParametersAllowAreOneStatement) {
  ASSERT_TRUE(dbms->InsertNetworkStatus(Stations(6553)));
  EXPECT_EQ(Value("select count(*) || ' ' || min(read) || ' ' || max(read) || ' ' || min(write) "
                  "from network_table"),
            "6553 1 6553 -6553");
}

TEST_F(NetworkStatus, OneRecordMoreIsRefusedAndNothingIsStored) {
  EXPECT_FALSE(dbms->InsertNetworkStatus(Stations(6554)));
  ASSERT_EQ(debugLines.size(), 1u);
  EXPECT_TRUE(debugLines[0].starts_with(L"on exception(3, "));
  EXPECT_EQ(Count(), "0");
  EXPECT_TRUE(dbms->InsertNetworkStatus(Stations(1)));
}

TEST_F(NetworkStatus, KeepsTheEmptyListWhichTheServerRefuses) {
  EXPECT_FALSE(dbms->InsertNetworkStatus({}));
  EXPECT_TRUE(LastErrorSays(L"syntax error at end of input"));
}

TEST_F(NetworkStatus, ADuplicateStoresNoneOfTheBatch) {
  std::vector<NetworkStatusRecord> records = Stations(3);
  records.push_back(records[1]);
  EXPECT_FALSE(dbms->InsertNetworkStatus(records));
  EXPECT_TRUE(LastErrorSays(L"duplicate key"));
  EXPECT_EQ(Count(), "0");
}

TEST_F(NetworkStatus, AnUpdateRewritesTheStation) {
  ASSERT_TRUE(dbms->InsertNetworkStatus(Stations(2)));
  EXPECT_TRUE(dbms->UpdateNetworkStatus(L"S2", L"down", L"10.0.0.9", -1, 2, 3, 4, 5, -6));
  EXPECT_TRUE(dbms->UpdateNetworkStatus(L"S9", L"down", L"10.0.0.9", 1, 2, 3, 4, 5, 6));
  EXPECT_EQ(Rows("select * from network_table order by station"),
            (Lines{"S1|10.0.0.1||up|1|0|100|-1|0|100", "S2|10.0.0.9||down|-1|2|3|4|5|-6"}));
}

TEST_F(NetworkStatus, KeepsUpdatingByStationAlone) {
  ASSERT_TRUE(dbms->InsertNetworkStatus(
      {{L"S", L"a", L"", L"up", 1, 1, 1, 1, 1, 1}, {L"S", L"b", L"", L"up", 1, 1, 1, 1, 1, 1}}));
  EXPECT_FALSE(dbms->UpdateNetworkStatus(L"S", L"down", L"c", 2, 2, 2, 2, 2, 2));
  EXPECT_TRUE(LastErrorSays(L"duplicate key"));
  Run("alter table network_table drop constraint network_table_pkey");
  EXPECT_TRUE(dbms->UpdateNetworkStatus(L"S", L"down", L"c", 2, 2, 2, 2, 2, 2));
  EXPECT_EQ(Rows("select address, status from network_table"), (Lines{"c|down", "c|down"}));
}

TEST_F(NetworkStatus, KeepsQuotesInAnUpdateWhichTheServerRefuses) {
  ASSERT_TRUE(dbms->InsertNetworkStatus({{L"it's", L"a", L"", L"up", 1, 1, 1, 1, 1, 1}}));
  EXPECT_FALSE(dbms->UpdateNetworkStatus(L"it's", L"down", L"a", 2, 2, 2, 2, 2, 2));
  EXPECT_EQ(Value("select status from network_table"), "up");
}

TEST_F(NetworkStatus, AllRowsAreDeleted) {
  ASSERT_TRUE(dbms->InsertNetworkStatus(Stations(3)));
  EXPECT_TRUE(dbms->DeleteAllNetworkStatus());
  EXPECT_EQ(Count(), "0");
}

}  // namespace
