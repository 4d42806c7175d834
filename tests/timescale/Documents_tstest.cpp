// The health queries of docs/running.md.

#include <fstream>

#include "TimescaleTest.h"

namespace {

class Documents : public TimescaleTest {};

// The blocks of SQL in a document.
std::vector<std::string> Queries(const char* document) {
  std::ifstream file(document);
  std::vector<std::string> queries;
  bool inside = false;
  for (std::string line; std::getline(file, line);) {
    if (line == "```") inside = false;
    if (inside) queries.back() += line + "\n";
    if (line == "```sql") {
      inside = true;
      queries.emplace_back();
    }
  }
  return queries;
}

TEST_F(Documents, EveryHealthQueryGivesAnAnswer) {
  const auto dbms = NewDbms();
  ASSERT_TRUE(dbms->CreateLogTable(10)) << dbms->GetLastError();
  Run("insert into datalog select now() - day * interval '1 day', 'PUMP', day from generate_series(0, 5) day");
  Run("select compress_chunk(chunk) from show_chunks('datalog', older_than => interval '4 days') chunk");

  const std::vector<std::string> queries = Queries(DBMSAPI_RUNNING_DOCUMENT);
  ASSERT_EQ(queries.size(), 8u);
  for (const std::string& query : queries) EXPECT_NO_THROW(Rows(query)) << query;

  EXPECT_EQ(Rows(queries[0]).size(), 1u);                                   // the newest sample
  EXPECT_EQ(Rows(queries[3]), std::vector<std::string>{"datalog|2"});       // due and not compressed
  EXPECT_EQ(Rows(queries[4]), std::vector<std::string>{"datalog|6|1|20"});  // two indexes a chunk
}

}  // namespace
