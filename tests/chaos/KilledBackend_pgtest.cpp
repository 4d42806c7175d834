// The process of the connection is killed at the server, as by an administrator or for lack of memory.

#include <future>

#include "chaos/ChaosTest.h"

namespace {

using Point = StatementGate::Point;

constexpr wchar_t kTerminated[] = L"terminating connection due to administrator command";
constexpr wchar_t kClosed[] = L"server closed the connection unexpectedly";

class KilledBackend : public ChaosTest {
 protected:
  const StatementGate::Fault kill = [this](int backend) {
    EXPECT_EQ(Value("select pg_terminate_backend(" + std::to_string(backend) + ")"), "t");
    return StatementGate::Then::Relay;
  };

  // The server's message. A batch of samples gets libpq's own message, which follows it, because PQexec
  // returns the last one.
  Texts Reason() const {
    return GetParam().name == std::string_view("TagHistory") ? Texts{kTerminated, kClosed}
                                                             : Texts{kTerminated};
  }

  void KillOthers() {
    Run("select pg_terminate_backend(pid) from " + std::string(kOtherBackends) + " as others");
  }
};

TEST_P(KilledBackend, BeforeEachStatement) { AtEachStatement(Point::Before, kill, Reason()); }

// The server reports nothing when it has read only half of a statement.
TEST_P(KilledBackend, InTheMiddleOfEachStatement) {
  AtEachStatement(Point::Inside, kill, {kTerminated, kClosed});
}

TEST_P(KilledBackend, AfterEachStatement) { AtEachStatement(Point::After, kill, Reason()); }

TEST_P(KilledBackend, WhileItWaitsForALock) {
  for (const Operation& operation : Operations()) {
    SCOPED_TRACE(operation.name);
    const auto dbms = Begin(operation);
    const std::string isWaiting = Hold(operation);
    auto called = std::async(std::launch::async, [&] { return operation.call(*dbms); });
    WaitUntil(isWaiting);
    KillOthers();
    EXPECT_FALSE(called.get());
    EXPECT_TRUE(Says(*dbms, Reason()));
    Run("rollback");
    EXPECT_EQ(Held(operation), operation.holds.front());
    ExpectItGoesOn(*dbms, operation);
  }
}

TEST_P(KilledBackend, BetweenOperations) {
  for (const Operation& operation : Operations()) {
    SCOPED_TRACE(operation.name);
    const auto dbms = Begin(operation);
    gate->At(0, Point::Before, {});
    EXPECT_TRUE(operation.call(*dbms)) << LastMessage(*dbms);
    EXPECT_EQ(gate->Statements(), operation.Statements());
    KillOthers();
    WaitUntil("select not exists " + std::string(kOtherBackends));
    EXPECT_EQ(operation.call(*dbms), operation.probes);
    EXPECT_TRUE(Says(*dbms, Reason()));
    EXPECT_EQ(Held(operation), operation.holds.back());
    ExpectItGoesOn(*dbms, operation);
  }
}

INSTANTIATE_WITH_EACH_FAMILY(KilledBackend);

}  // namespace
