// The recorder's spool when an allocation fails.

#include <gtest/gtest.h>

#include "FailingNew.h"
#include "historian/recorder/Spool.h"
#include "historian/recorder/SpoolDirectory.h"

namespace historian::recorder {
namespace {

// The reason for a refusal needs memory. If the append did not end without it, every later one would wait.
TEST(SpoolMemory, AnAppendThatIsRefusedEndsWithoutMemoryForItsText) {
  SpoolDirectory directory;
  Piece piece;
  AppendRecord(piece.bytes, LogSample{1700000000000, L"PUMP.SPEED", 0.5});
  piece.records = 1;
  const std::vector<Piece> pieces = {piece};
  Spool spool(directory.File(), Syncing::AtCheckpoints, {piece.bytes.size() + 100, false});
  ASSERT_EQ(spool.Append(Kind::Sample, pieces).admission, Spool::Admission::Accepted);

  int withoutText = 0;
  bool reached = true;
  for (std::size_t k = 1; reached && k < kMaxAllocations; ++k) {
    SCOPED_TRACE(k);
    const auto answer = CallWithFailure(k, [&] { return spool.Append(Kind::Sample, pieces); });
    reached = FailingNew::HasFailed();
    if (answer && answer->admission == Spool::Admission::Failed) {
      EXPECT_EQ(answer->why, "out of memory");
      ++withoutText;
    }
    EXPECT_EQ(spool.Append(Kind::Sample, pieces).admission, Spool::Admission::Full);
    EXPECT_EQ(spool.Count().first.accepted, 1);
  }
  EXPECT_GT(withoutText, 0);
}

}  // namespace
}  // namespace historian::recorder
