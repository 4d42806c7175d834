#pragma once

#include "chaos/OperationsTest.h"
#include "chaos/StatementGate.h"

// A family of operations, and the faults that each of them meets.
class ChaosTest : public OperationsTest, public ::testing::WithParamInterface<Family> {
 protected:
  void SetUp() override;
  void TearDown() override;

  const std::vector<Operation>& Operations() const { return GetParam().operations; }

  // A gate to the server, closed.
  std::unique_ptr<StatementGate> NewGate() const;
  // An object that reaches the server by the gate.
  std::shared_ptr<Dbms> NewGatedDbms() const;
  // The same, connected, in a database that holds nothing of the operation.
  std::shared_ptr<Dbms> Begin(const Operation& operation);
  // The same without the gate.
  std::shared_ptr<Dbms> BeginDirectly(const Operation& operation);

  // Locks what the operation needs, in a transaction of the independent channel. Returns a query that is true
  // while somebody waits for a lock.
  std::string Hold(const Operation& operation);

  // Lets a fault happen at each statement of each operation, and expects an exact outcome of it, a message
  // that holds one of the causes, and an exact outcome of a second call.
  void AtEachStatement(StatementGate::Point point, const StatementGate::Fault& fault, const Texts& causes);

  std::unique_ptr<StatementGate> gate;

 private:
  void AtStatement(const Operation& operation, int n, StatementGate::Point point,
                   const StatementGate::Fault& fault, const Texts& causes);
};
