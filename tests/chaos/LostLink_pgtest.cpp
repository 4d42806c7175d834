// The network between client and server fails without the server noticing.

#include <future>

#include "chaos/ChaosTest.h"

namespace {

using Point = StatementGate::Point;
using Then = StatementGate::Then;

constexpr wchar_t kClosed[] = L"server closed the connection unexpectedly";

Then Cut(int) { return Then::Close; }

class CutLink : public ChaosTest {};

TEST_P(CutLink, BeforeEachStatement) { AtEachStatement(Point::Before, Cut, {kClosed}); }

TEST_P(CutLink, InTheMiddleOfEachStatement) { AtEachStatement(Point::Inside, Cut, {kClosed}); }

TEST_P(CutLink, AfterEachStatement) { AtEachStatement(Point::After, Cut, {kClosed}); }

INSTANTIATE_WITH_EACH_FAMILY(CutLink);

// Nothing comes through any more until the system gives the connection up.
class SilentLink : public ChaosTest {
 protected:
  void SwallowFrom(Point point) {
    for (const Operation& operation : Operations()) {
      SCOPED_TRACE(operation.name);
      const auto dbms = Begin(operation);
      std::promise<void> silent, givenUp;
      gate->At(operation.Statements(), point, [&](int) {
        silent.set_value();
        givenUp.get_future().wait();
        return Then::Close;
      });
      auto called = std::async(std::launch::async, [&] { return operation.call(*dbms); });
      silent.get_future().wait();
      EXPECT_EQ(called.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
      givenUp.set_value();
      EXPECT_FALSE(called.get());
      EXPECT_TRUE(Says(*dbms, {kClosed}));
      const std::size_t last = operation.holds.size() - 1;
      EXPECT_EQ(Held(operation), operation.holds[point == Point::After ? last : last - 1]);
      ExpectItGoesOn(*dbms, operation);
    }
  }
};

TEST_P(SilentLink, SwallowsTheLastStatement) { SwallowFrom(Point::Before); }

TEST_P(SilentLink, SwallowsItsAnswer) { SwallowFrom(Point::After); }

INSTANTIATE_WITH_EACH_FAMILY(SilentLink);

}  // namespace
