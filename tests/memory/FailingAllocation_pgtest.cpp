// Each allocation of each operation fails in turn: std::bad_alloc leaves the operation, and the object stays
// usable.

#include <SQLAPI.h>

#include <algorithm>

#include "FailingNew.h"
#include "chaos/OperationsTest.h"

namespace {

// Longer operations take long to repeat, so one object is used for all their allocations.
constexpr int kShortStatements = 10;

class FailingAllocation : public OperationsTest, public ::testing::WithParamInterface<Family> {
 protected:
  std::shared_ptr<Dbms> Connected() const {
    auto dbms = NewDbms(DbmsType::PostgreSQL);
    EXPECT_TRUE(dbms->Connect()) << LastMessage(*dbms);
    return dbms;
  }

  // Whether the operation reached its k-th allocation.
  bool Fail(Dbms& dbms, const Operation& operation, std::size_t k) {
    const std::optional<bool> done = CallWithFailure(k, [&] { return operation.call(dbms); });
    EXPECT_EQ(!done, FailingNew::HasFailed());
    EXPECT_TRUE(done.value_or(true)) << LastMessage(dbms);
    const auto& holds = operation.holds;
    EXPECT_NE(std::find(holds.begin(), holds.end(), Held(operation)), holds.end());
    return FailingNew::HasFailed();
  }

  // How many allocations the operation makes.
  std::size_t FailEach(const Operation& operation) {
    const bool isShort = operation.Statements() <= kShortStatements;
    auto dbms = Connected();
    for (std::size_t k = 1; k <= kMaxAllocations; ++k) {
      SCOPED_TRACE(testing::Message() << operation.name << ", allocation " << k);
      Run(operation.prepare);
      if (!Fail(*dbms, operation, k)) return k - 1;
      if (!isShort) continue;
      ExpectItGoesOn(*dbms, operation);
      dbms = Connected();
    }
    ADD_FAILURE() << "the operation does not end";
    return kMaxAllocations;
  }
};

TEST_P(FailingAllocation, OfEachOperation) {
  const auto dbms = NewDbms(DbmsType::PostgreSQL);
  ASSERT_TRUE(GetParam().create(*dbms)) << LastMessage(*dbms);
  for (const Operation& operation : GetParam().operations) {
    const std::size_t allocations = FailEach(operation);
    EXPECT_GT(allocations, 0u) << operation.name;
    RecordProperty(operation.name, std::to_string(allocations));
  }
}

INSTANTIATE_WITH_EACH_FAMILY(FailingAllocation);

}  // namespace
