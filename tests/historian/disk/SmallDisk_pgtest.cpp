// The disk of the server becomes full. Each test has a server of its own: small_disk.sh.

#include "historian/HealthChecks.h"
#include "historian/HistorianTest.h"
#include "historian/disk/SmallDisk.h"

namespace historian {
namespace {

class SmallDisk : public HistorianTest {
 protected:
  HealthChecks checks{
      [this] { return NewDbms(); }, [this](const std::string& statement) { Run(statement); }, {}};
};

TEST_F(SmallDisk, SpaceIsToBeAdded) {
  ResizeDisk("900M");
  EXPECT_EQ(checks.Expect("disk", Verdict::Failed, "of 0.9 GB are free").advice, "add space");
  ResizeDisk("1900M");
  EXPECT_EQ(checks.Expect("disk", Verdict::Warning, "of 1.9 GB are free").advice, "add space");
  ResizeDisk("3000M");
  checks.Expect("disk", Verdict::Ok, "of 3.1 GB are free");
}

}  // namespace
}  // namespace historian
