// A pooler that may give each transaction of a client another connection to the server. The library does not
// support it; this shows what happens, as the README says.

#include "server/DbmsTest.h"

namespace {

ReportDigitalData Row(std::int64_t time) {
  ReportDigitalData row = {};
  row.time = time;
  row.tag_name = L"PUMP";
  return row;
}

class PgBouncerByTransaction : public DbmsTest {};

// Two clients have prepared statements with the same name on two connections. The next transaction gets the
// connection of the other client, so its values go into the other client's statement.
TEST_F(PgBouncerByTransaction, StoresValuesByTheStatementOfAnotherClient) {
  const auto hours = NewDbms(), days = NewDbms();
  ASSERT_TRUE(hours->CreateReportDataTables(0)) << hours->GetLastError();
  const auto insertHour = [&](int n) { return hours->InsertReportDigitalData(L"hour", {Row(3600 * n)}); };
  const auto insertDay = [&](int n) { return days->InsertReportDigitalData(L"day", {Row(86400 * n)}); };
  ASSERT_TRUE(insertHour(1) && insertHour(2)) << hours->GetLastError();
  Run("begin");  // keeps the connection on which the hours are prepared
  ASSERT_TRUE(insertDay(1) && insertDay(2)) << days->GetLastError();

  EXPECT_TRUE(insertHour(3)) << hours->GetLastError();
  EXPECT_TRUE(insertHour(4)) << hours->GetLastError();
  EXPECT_TRUE(insertHour(5)) << hours->GetLastError();
  EXPECT_EQ(Value("select count(*) from report_data_digital_hour"), "2");
  EXPECT_EQ(Value("select count(*) from report_data_digital_day"), "5");
}

}  // namespace
