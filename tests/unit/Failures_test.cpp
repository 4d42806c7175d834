// Every operation when the server refuses the connection or a statement fails.

#include "AllOperations.h"
#include "DbmsAPI/frame/Timescale.h"
#include "scripted/ScriptedTest.h"

namespace {

// Operations that behave differently when a statement fails. Their own tests cover that.
bool HasItsOwnRule(int number) {
  return number == 5       // rolls back
         || number == 42   // continues after a drop that failed
         || number == 65;  // sends nothing
}

bool NeedsNoConnection(int number) { return number == 65; }

class EveryOperation : public ScriptedTest {
 protected:
  // How many statements an operation sends when nothing fails.
  std::size_t CountStatements(const OperationCall& operation) {
    server.Forget();
    const auto object = NewDbms();
    operation.call(*object);
    return server.sent.size();
  }
};

TEST_F(EveryOperation, IsListedInVirtualOrder) {
  ASSERT_EQ(AllOperations().size(), 69u);
  for (std::size_t i = 0; i < 69; ++i) EXPECT_EQ(AllOperations()[i].number, static_cast<int>(i) + 1);
}

TEST_F(EveryOperation, SendsNothingWhenTheServerRefuses) {
  server.RefuseConnections({3, 1, L"connection refused"});
  for (const OperationCall& operation : AllOperations()) {
    SCOPED_TRACE(operation.name);
    server.Forget();
    debugLines.clear();
    const auto object = NewDbms();
    const bool result = operation.call(*object);
    EXPECT_TRUE(server.sent.empty());
    EXPECT_EQ(result, NeedsNoConnection(operation.number));
    if (NeedsNoConnection(operation.number)) continue;
    EXPECT_EQ(debugLines, Texts{L"on exception(3, 1) - connection refused\n"});
    EXPECT_STREQ(object->GetLastError(), L"connection refused");
  }
}

TEST_F(EveryOperation, StopsAtTheStatementThatFails) {
  for (const int version : {0, 212, 218}) {
    for (const OperationCall& operation : AllOperations()) {
      if (HasItsOwnRule(operation.number)) continue;
      TimescaleVersion = version;
      const std::size_t count = CountStatements(operation);
      for (std::size_t k = 1; k <= count; ++k) {
        SCOPED_TRACE(testing::Message() << operation.name << ", version " << version << ", statement " << k);
        const auto object = NewDbms();
        server.Forget();
        debugLines.clear();
        server.FailStatement(k, {3, 7, L"ERROR:  refused"});
        EXPECT_FALSE(operation.call(*object));
        EXPECT_EQ(server.sent.size(), k);
        EXPECT_EQ(debugLines, Texts{L"on exception(3, 7) - ERROR:  refused\n"});
        EXPECT_STREQ(object->GetLastError(), L"ERROR:  refused");
      }
    }
  }
}

TEST_F(EveryOperation, LosesAServerThatDiesUnderIt) {
  for (const OperationCall& operation : AllOperations()) {
    if (HasItsOwnRule(operation.number) || CountStatements(operation) == 0) continue;
    SCOPED_TRACE(operation.name);
    const auto object = NewDbms();
    object->hostSelector = [](const wchar_t*) { return L"standby"; };
    server.alive = false;
    server.FailStatement(1, {3, 7, L"server closed the connection unexpectedly"});
    EXPECT_FALSE(operation.call(*object));
    EXPECT_EQ(Access::Host(*object), L"standby");
    std::erase(server.events, L"connected?");  // without asking the server
    ASSERT_FALSE(server.events.empty());
    EXPECT_EQ(server.events.back(), L"destroy");
    server.alive = true;
  }
}

}  // namespace
