#pragma once

#include <array>
#include <cstdint>
#include <set>

#include "historian/recorder/Spool.h"

namespace historian::recorder {

// Samples of the times 0, 1 and so on, in blocks. Tag and value follow from the time, so that a sample that
// was changed by damage is detected.
class GenuineSamples {
 public:
  constexpr GenuineSamples(int blocks, int perBlock) : blocks_(blocks), perBlock_(perBlock) {}

  std::int64_t Count() const { return std::int64_t{blocks_} * perBlock_; }

  // Returns whether the spool has accepted all of them.
  bool AppendTo(Spool& spool) const {
    for (int block = 0; block < blocks_; ++block) {
      Piece piece;
      for (int i = 0; i < perBlock_; ++i) {
        AppendRecord(piece.bytes, LogSample{block * perBlock_ + i, L"PUMP.SPEED", block + 0.5});
      }
      piece.records = perBlock_;
      if (spool.Append(Kind::Sample, {piece}).admission != Spool::Admission::Accepted) return false;
    }
    return true;
  }

  bool Have(const SampleView& sample) const {
    return sample.timeMs >= 0 && sample.timeMs < Count() && sample.tagName == "PUMP.SPEED" &&
           sample.value == static_cast<double>(sample.timeMs / perBlock_) + 0.5;
  }

 private:
  int blocks_, perBlock_;
};

// Empties a spool of samples. Calls `check` with each, and whether it is the first of its time. Returns the
// number of times.
template <class Check>
std::int64_t Drain(Spool& spool, Check check) {
  constexpr std::array<bool, kKinds> kAll = {true, true, true};
  std::set<std::int64_t> times;
  std::optional<Outcome> done;
  while (const auto batch = spool.Next(done, kAll, 1000)) {
    std::int64_t count = 0;
    for (const Piece& piece : spool.Load(*batch)) {
      std::string_view bytes = piece.bytes;
      while (const auto sample = TakeSample(bytes)) {
        check(*sample, times.insert(sample->timeMs).second);
        ++count;
      }
    }
    done = Outcome{count, {}};
  }
  return static_cast<std::int64_t>(times.size());
}

}  // namespace historian::recorder
