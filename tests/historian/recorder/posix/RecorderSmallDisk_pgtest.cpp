// The spool is on a small disk: small_disk.sh.

#include <cstdlib>
#include <fstream>

#include "historian/recorder/RecorderTest.h"

namespace historian {
namespace {

class RecorderSmallDisk : public RecorderTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(RecorderTest::SetUp());
    const char* const given = std::getenv("DBMSAPI_SMALL_DISK");
    ASSERT_NE(given, nullptr) << "small_disk.sh sets it";
    disk = given;
    Run("alter table datalog rename to away");
  }
  RecorderOptions OnTheDisk() {
    RecorderOptions options = Options();
    options.spool = disk / "plant.spool";
    return options;
  }
  // Records until it is refused.
  void Fill(Recorder& recorder) {
    while (recorder.Record(Samples(accepted, 1000))) accepted += 1000;
    EXPECT_TRUE(events.WaitFor(RecorderState::Full));
    EXPECT_EQ(recorder.Report().accepted, accepted);
    ExpectTrueCounts(recorder.Report());
  }
  void ExpectAllStored(const Recorder& recorder) {
    Run("alter table away rename to datalog");
    ExpectAllSettled(recorder);
    EXPECT_EQ(History(), Lines(Samples(0, accepted)));
    EXPECT_EQ(recorder.Report().stored, accepted);
  }

  std::filesystem::path disk;
  std::int64_t accepted = 0;
};

// The spool itself has filled the disk. Its records can be stored without freeing space first.
TEST_F(RecorderSmallDisk, IsFullAndTheSpoolIsEmptiedAllTheSame) {
  Recorder recorder(NewDbms(), OnTheDisk());
  Fill(recorder);
  EXPECT_GT(accepted, 10000);
  ExpectAllStored(recorder);
  EXPECT_TRUE(recorder.Record(Samples(accepted, 1000)));
}

TEST_F(RecorderSmallDisk, IsFilledByOthers) {
  Recorder recorder(NewDbms(), OnTheDisk());
  ASSERT_TRUE(recorder.Record(Samples(0, 1000)));
  accepted = 1000;
  const std::filesystem::path other = disk / "other";
  {
    std::ofstream file(other);
    while (file << std::string(4096, 'x') << std::flush) {
    }
  }
  Fill(recorder);
  std::filesystem::remove(other);
  EXPECT_TRUE(recorder.Record(Samples(accepted, 1000)));
  accepted += 1000;
  ExpectAllStored(recorder);
  EXPECT_EQ(recorder.Report().state, RecorderState::Storing);
}

}  // namespace
}  // namespace historian
