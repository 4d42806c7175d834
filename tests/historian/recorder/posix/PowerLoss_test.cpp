// A power loss: each file has only what was last synchronized.

#include <gtest/gtest.h>

#include <sys/syscall.h>
#include <unistd.h>

#include <mutex>
#include <optional>

#include "DbmsAPI/Diagnostics.h"
#include "historian/Recorder.h"
#include "historian/recorder/GenuineSamples.h"
#include "historian/recorder/Spool.h"
#include "historian/recorder/SpoolDirectory.h"

namespace historian::recorder {
namespace {

namespace fs = std::filesystem;

// Large enough that SQLite moves its log into the file meanwhile.
constexpr int kCalls = 25;
constexpr std::int64_t kPerCall = 25000;

// Keeps a copy of each file of a directory as it was when it was synchronized last. After the power loss a
// removed file is back, unless the directory was synchronized afterwards.
class Disk {
 public:
  explicit Disk(fs::path observed) : observed_(std::move(observed)) { current_ = this; }
  ~Disk() { current_ = nullptr; }
  Disk(const Disk&) = delete;
  Disk& operator=(const Disk&) = delete;

  // Called on every thread that synchronizes a file.
  static void Synchronize(int file) {
    const std::lock_guard lock(mutex_);
    if (!current_) return;
    std::error_code error;
    const fs::path name = fs::read_symlink("/proc/self/fd/" + std::to_string(file), error);
    if (name == current_->observed_) current_->RemoveWhatIsGone();
    if (error || name.parent_path() != current_->observed_) return;
    fs::copy_file(name, current_->copies_.File(name.filename()), fs::copy_options::overwrite_existing, error);
    ++current_->calls_;
  }

  int Calls() const {
    const std::lock_guard lock(mutex_);
    return calls_;
  }
  // The files that a program finds when the power is back.
  void CopyTo(const fs::path& directory) const {
    const std::lock_guard lock(mutex_);
    fs::copy(copies_.path(), directory);
  }

 private:
  void RemoveWhatIsGone() {
    for (const auto& copy : fs::directory_iterator(copies_.path())) {
      if (!fs::exists(observed_ / copy.path().filename())) fs::remove(copy.path());
    }
  }

  static std::mutex mutex_;
  static Disk* current_;
  fs::path observed_;
  SpoolDirectory copies_;
  int calls_ = 0;
};

std::mutex Disk::mutex_;
Disk* Disk::current_ = nullptr;

int Synchronize(int file, long call) {
  const auto answer = static_cast<int>(::syscall(call, file));
  if (answer == 0) Disk::Synchronize(file);
  return answer;
}

class PowerLoss : public ::testing::Test {
 protected:
  PowerLoss() {
    SetDbmsDebugSink([](const wchar_t*) {});  // the missing server is intended
  }
  ~PowerLoss() override { SetDbmsDebugSink({}); }

  Recorder Record(Durability durability) const {
    RecorderOptions options;
    options.spool = plant.File();
    options.durability = durability;
    return {Dbms::GetDbms(DbmsType::TirelScada, L"127.0.0.1", 1, L"x", L"x", L"x"), options};
  }
  // The samples that are in the spool when the power is back.
  std::int64_t SamplesAfterwards() const {
    const SpoolDirectory found;
    disk.CopyTo(found.path());
    Spool spool(found.File(), Syncing::AtCommits, {1 << 30, false});
    EXPECT_FALSE(spool.DamageFound());
    const auto [totals, waiting] = spool.Count();
    EXPECT_EQ(totals.accepted, waiting.records);
    return Drain(spool, [](const SampleView& sample, bool isFirst) {
      EXPECT_EQ(sample.value, static_cast<double>(sample.timeMs));
      EXPECT_TRUE(isFirst) << sample.timeMs;
    });
  }
  // Samples of the times 0, 1 and so on.
  static std::vector<LogSample> Samples(std::int64_t first, std::int64_t count) {
    std::vector<LogSample> samples;
    for (std::int64_t i = first; i < first + count; ++i) {
      samples.push_back({i, L"PUMP.SPEED", static_cast<double>(i)});
    }
    return samples;
  }

  SpoolDirectory plant;
  Disk disk{plant.path()};
};

TEST_F(PowerLoss, TakesNothingThatWasAcceptedWithDurabilityPower) {
  Recorder recorder = Record(Durability::Power);
  for (int call = 1; call <= kCalls; ++call) {
    ASSERT_TRUE(recorder.Record(Samples((call - 1) * kPerCall, kPerCall)));
    if (call % 8 == 1) {
      EXPECT_EQ(SamplesAfterwards(), call * kPerCall);
    }
  }
}

TEST_F(PowerLoss, LeavesASoundSpoolWithDurabilityProcess) {
  Recorder recorder = Record(Durability::Process);
  std::int64_t found = 0;
  int before = 0;
  for (int call = 1; call <= kCalls; ++call) {
    ASSERT_TRUE(recorder.Record(Samples((call - 1) * kPerCall, kPerCall)));
    if (call == 1) before = disk.Calls();  // the beginning of the log is synchronized
    if (call == 2) {
      EXPECT_EQ(disk.Calls(), before) << "it waits for the disk";
    }
    if (call % 8 == 1) found = SamplesAfterwards();
    EXPECT_LE(found, call * kPerCall);
  }
  EXPECT_GT(found, 0);
}

}  // namespace
}  // namespace historian::recorder

// In place of the C library's, for SQLite.
extern "C" {
__attribute__((visibility("default"))) int fsync(int file) {
  return historian::recorder::Synchronize(file, SYS_fsync);
}
__attribute__((visibility("default"))) int fdatasync(int file) {
  return historian::recorder::Synchronize(file, SYS_fdatasync);
}
}
