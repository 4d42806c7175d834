// A pooler that gives a client one connection to the server for as long as the client is connected.

#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "server/DbmsTest.h"
#include "unit/AllOperations.h"

namespace {

class PgBouncerBySession : public DbmsTest {
 protected:
  // The same database without the pooler.
  std::shared_ptr<Dbms> Direct() const {
    const char* const port = std::getenv("DBMSAPI_DIRECT_PORT");
    if (!port) throw std::runtime_error("run this by pgbouncer.sh");
    return Dbms::GetDbms(DbmsType::TirelScada, Host().c_str(), std::atoi(port), Database().c_str(),
                         User().c_str(), Password().c_str());
  }
};

// The result of each operation, with the last error at that time.
std::vector<std::pair<bool, std::wstring>> ResultsOfAllOperations(Dbms& dbms) {
  std::vector<std::pair<bool, std::wstring>> results;
  for (const OperationCall& operation : AllOperations()) {
    const bool succeeded = operation.call(dbms);
    results.emplace_back(succeeded, dbms.GetLastError());
  }
  return results;
}

TEST_F(PgBouncerBySession, ChangesNoResultOfAnyOperation) {
  const auto pooled = ResultsOfAllOperations(*NewDbms());
  Run("drop schema public cascade; create schema public");
  const auto direct = ResultsOfAllOperations(*Direct());
  ASSERT_EQ(pooled.size(), 69);
  for (std::size_t i = 0; i < pooled.size(); ++i) {
    EXPECT_EQ(pooled[i], direct[i]) << AllOperations()[i].name;
  }
}

}  // namespace
