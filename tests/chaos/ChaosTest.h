#pragma once

#include "chaos/OperationsTest.h"
#include "chaos/StatementGate.h"

// Tests each operation of a family with a fault.
class ChaosTest : public OperationsTest, public ::testing::WithParamInterface<Family> {
 protected:
  void SetUp() override;
  void TearDown() override;

  const std::vector<Operation>& Operations() const { return GetParam().operations; }

  // A closed gate to the server.
  std::unique_ptr<StatementGate> NewGate() const;
  // An object that connects through the gate.
  std::shared_ptr<Dbms> NewGatedDbms() const;
  // The same, connected, after everything of the operation was removed from the database.
  std::shared_ptr<Dbms> Begin(const Operation& operation);
  // The same without the gate.
  std::shared_ptr<Dbms> BeginDirectly(const Operation& operation);

  // Locks what the operation needs, in a transaction on the test's own connection. Returns a query that is
  // true while somebody waits for a lock.
  std::string Hold(const Operation& operation);

  // Lets a fault happen at each statement of each operation. Expects an exact outcome, a message that
  // contains one of the causes, and an exact outcome of a second call.
  void AtEachStatement(StatementGate::Point point, const StatementGate::Fault& fault, const Texts& causes);

  std::unique_ptr<StatementGate> gate;

 private:
  void AtStatement(const Operation& operation, int n, StatementGate::Point point,
                   const StatementGate::Fault& fault, const Texts& causes);
};
