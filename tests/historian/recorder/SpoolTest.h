#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "historian/recorder/Spool.h"
#include "historian/recorder/SpoolDirectory.h"

namespace historian::recorder {

inline constexpr std::array<bool, kKinds> kAll = {true, true, true};
inline constexpr std::int64_t kMost = 100;

inline Piece Samples(std::int64_t first, std::int64_t count) {
  Piece piece;
  for (std::int64_t i = 0; i < count; ++i) AppendRecord(piece.bytes, LogSample{first + i, L"PUMP", 1});
  piece.records = count;
  return piece;
}

class SpoolTest : public ::testing::Test {
 protected:
  Spool Open(SpoolLimit limit = {1 << 30, false}) {
    return Spool(directory.File(), Syncing::AtCheckpoints, limit);
  }
  static void Add(Spool& spool, std::int64_t first, std::int64_t count) {
    ASSERT_EQ(spool.Append(Kind::Sample, {Samples(first, count)}).admission, Spool::Admission::Accepted);
  }
  // Times of the samples of a batch.
  static std::vector<std::int64_t> Times(Spool& spool, const std::optional<Batch>& batch) {
    std::vector<std::int64_t> times;
    if (!batch) return times;
    for (const Piece& piece : spool.Load(*batch)) {
      std::string_view bytes = piece.bytes;
      while (const auto sample = TakeSample(bytes)) times.push_back(sample->timeMs);
    }
    return times;
  }
  static void ExpectCounts(Spool& spool, Totals wanted, std::int64_t waiting) {
    const auto [totals, held] = spool.Count();
    EXPECT_EQ(totals.accepted, wanted.accepted);
    EXPECT_EQ(totals.stored, wanted.stored);
    EXPECT_EQ(totals.duplicates, wanted.duplicates);
    EXPECT_EQ(totals.setAside, wanted.setAside);
    EXPECT_EQ(totals.dropped, wanted.dropped);
    EXPECT_EQ(held.records, waiting);
    EXPECT_EQ(totals.accepted, totals.Done() + held.records);
  }

  SpoolDirectory directory;
};

}  // namespace historian::recorder
