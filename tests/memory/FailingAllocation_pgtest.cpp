// Each allocation of each operation fails in turn: std::bad_alloc leaves the operation, and the object goes
// on.

#include <SQLAPI.h>

#include <algorithm>

#include "FailingNew.h"
#include "chaos/OperationsTest.h"

namespace {

constexpr std::size_t kMaxAllocations = 10000;

class FailingAllocation : public OperationsTest, public ::testing::WithParamInterface<Family> {
 protected:
  // Whether the operation has come to its k-th allocation.
  bool Fail(const Operation& operation, std::size_t k) {
    Run(operation.prepare);
    const auto dbms = NewDbms(DbmsType::PostgreSQL);
    EXPECT_TRUE(dbms->Connect()) << LastMessage(*dbms);
    bool done = false, thrown = false;
    {
      const FailingNew failing(k);
      try {
        done = operation.call(*dbms);
      } catch (const std::bad_alloc&) {
        thrown = true;
      }
    }
    EXPECT_EQ(thrown, FailingNew::HasFailed());
    EXPECT_NE(thrown, done) << LastMessage(*dbms);
    if (!thrown) return false;
    EXPECT_EQ(std::count(operation.holds.begin(), operation.holds.end(), Held(operation)) > 0, true);
    ExpectItGoesOn(*dbms, operation);
    return true;
  }
};

TEST_P(FailingAllocation, OfEachOperation) {
  const auto dbms = NewDbms(DbmsType::PostgreSQL);
  ASSERT_TRUE(GetParam().create(*dbms)) << LastMessage(*dbms);
  for (const Operation& operation : GetParam().operations) {
    std::size_t k = 1;
    for (; k <= kMaxAllocations && !HasFatalFailure(); ++k) {
      SCOPED_TRACE(testing::Message() << operation.name << ", allocation " << k);
      if (!Fail(operation, k)) break;
    }
    EXPECT_GT(k, 1u) << "the operation allocates nothing";
    EXPECT_LE(k, kMaxAllocations) << "the operation does not end";
    RecordProperty(operation.name, static_cast<int>(k) - 1);
  }
}

INSTANTIATE_WITH_EACH_FAMILY(FailingAllocation);

}  // namespace
