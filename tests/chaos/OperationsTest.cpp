#include "chaos/OperationsTest.h"

#include <DbmsAPI/Diagnostics.h>
#include <SQLAPI.h>

#include <algorithm>

void Execute(Dbms& dbms, const wchar_t* statement) {
  SACommand(dbms.GetConnection().get(), statement).Execute();
}

std::string LastMessage(Dbms& dbms) { return testing::PrintToString(std::wstring(dbms.GetLastError())); }

testing::AssertionResult Says(Dbms& dbms, const Texts& texts) {
  const std::wstring said = dbms.GetLastError();
  const bool holds =
      std::any_of(texts.begin(), texts.end(), [&](const auto& text) { return said.find(text) != said.npos; });
  return holds ? testing::AssertionSuccess() : testing::AssertionFailure() << LastMessage(dbms);
}

const wchar_t* KeepHost(const wchar_t* host) {
  ADD_FAILURE() << "another host is asked for";
  return host;
}

void OperationsTest::SetUp() {
  ASSERT_NO_FATAL_FAILURE(DbmsTest::SetUp());
  SetDbmsDebugSink([](const wchar_t*) {});
}

void OperationsTest::TearDown() {
  SetDbmsDebugSink({});
  DbmsTest::TearDown();
}

void OperationsTest::ExpectItGoesOn(Dbms& dbms, const Operation& operation) {
  const int held = Held(operation), whole = operation.holds.back();
  const bool hasStored = held > operation.holds.front() && !operation.IsRead();
  const bool refused = hasStored && operation.again == Again::IsRefused;
  EXPECT_EQ(operation.call(dbms), !refused) << LastMessage(dbms);
  if (refused) {
    EXPECT_EQ(LastSqlState(dbms), "23505");
    EXPECT_EQ(Held(operation), held);
  } else {
    EXPECT_EQ(Held(operation), hasStored && operation.again == Again::Adds ? held + whole : whole);
  }
}
