#pragma once

#include "chaos/Families.h"
#include "server/DbmsTest.h"

// Shared by all tests of operations under a fault.
class OperationsTest : public DbmsTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  int Held(const Operation& operation) { return std::stoi(Value(operation.held)); }

  // Calls the operation again after a fault, and checks the result and what the database then holds.
  void ExpectItGoesOn(Dbms& dbms, const Operation& operation);
};

// Executes a statement of the client's own.
void Execute(Dbms& dbms, const wchar_t* statement);

// The message of the last failure, for output.
std::string LastMessage(Dbms& dbms);

// Whether it contains one of the texts.
using Texts = std::vector<std::wstring>;
testing::AssertionResult Says(Dbms& dbms, const Texts& texts);

// A hostSelector that must not be called, because the server is there.
const wchar_t* KeepHost(const wchar_t* host);

inline std::string NameOfFamily(const testing::TestParamInfo<Family>& family) { return family.param.name; }

// Runs the tests of a suite with each family.
#define INSTANTIATE_WITH_EACH_FAMILY(suite) \
  INSTANTIATE_TEST_SUITE_P(, suite, testing::ValuesIn(Families()), NameOfFamily)
