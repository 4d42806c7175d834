#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <utility>

#include "historian/recorder/GenuineSamples.h"
#include "historian/recorder/Spool.h"
#include "historian/recorder/SpoolDirectory.h"

namespace historian::recorder {
namespace {

constexpr int kBlocks = 200;
constexpr int kPerBlock = 100;
constexpr GenuineSamples kSamples(kBlocks, kPerBlock);

// A closed spool with samples of the times 0 to 19,999, a hundred to a block.
class SpoolDamage : public ::testing::Test {
 protected:
  void SetUp() override {
    Spool spool = Open();
    ASSERT_TRUE(kSamples.AppendTo(spool));
  }

  Spool Open() { return Spool(directory.File(), Syncing::AtCheckpoints, {1 << 30, false}); }
  std::uintmax_t Size() const { return std::filesystem::file_size(directory.File()); }

  void Flip(std::uintmax_t bit) {
    std::fstream file(directory.File(), std::ios::in | std::ios::out | std::ios::binary);
    file.seekg(static_cast<std::streamoff>(bit / 8));
    const int byte = file.get();
    file.seekp(static_cast<std::streamoff>(bit / 8));
    file.put(static_cast<char>(byte ^ (1 << bit % 8)));
  }

  // In all places of the file.
  void Replace(const std::string& from, const std::string& to) {
    std::ifstream in(directory.File(), std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::size_t at = bytes.find(from);
    ASSERT_NE(at, std::string::npos);
    for (; at != std::string::npos; at = bytes.find(from, at)) bytes.replace(at, from.size(), to);
    std::ofstream(directory.File(), std::ios::binary) << bytes;
  }

  // Empties the spool; every sample that comes out must be one that went in, and come out once. Gives the
  // number.
  static std::int64_t DrainGenuine(Spool& spool) {
    return Drain(spool, [](const SampleView& sample, bool isFirst) {
      EXPECT_TRUE(kSamples.Have(sample)) << sample.timeMs << ' ' << sample.tagName << ' ' << sample.value;
      EXPECT_TRUE(isFirst) << sample.timeMs;
    });
  }

  static void ExpectTrueCounts(Spool& spool) {
    const auto [totals, waiting] = spool.Count();
    EXPECT_EQ(totals.accepted, totals.Done() + waiting.records);
    EXPECT_GE(totals.dropped, 0);
  }

  SpoolDirectory directory;
};

TEST_F(SpoolDamage, IsNotFoundInASoundOne) {
  Spool spool = Open();
  EXPECT_FALSE(spool.DamageFound());
  EXPECT_EQ(DrainGenuine(spool), kBlocks * kPerBlock);
}

TEST_F(SpoolDamage, OfATruncatedFileLeavesWhatIsBeforeTheCut) {
  std::filesystem::resize_file(directory.File(), Size() / 2);
  Spool spool = Open();
  ASSERT_TRUE(spool.DamageFound());
  EXPECT_GT(spool.DamageFound()->lost, 0);
  EXPECT_GT(spool.DamageFound()->recovered, kBlocks * kPerBlock / 4);
  EXPECT_EQ(spool.DamageFound()->recovered + spool.DamageFound()->lost, kBlocks * kPerBlock);
  EXPECT_TRUE(std::filesystem::exists(directory.File("plant.spool.damaged-1")));
  ExpectTrueCounts(spool);
  EXPECT_EQ(DrainGenuine(spool), spool.DamageFound()->recovered);
  EXPECT_EQ(spool.Count().first.dropped, spool.DamageFound()->lost);
}

TEST_F(SpoolDamage, OfFlippedBitsAnywhereLeavesTheRestAndInventsNothing) {
  const std::filesystem::path sound = directory.File("sound");
  std::filesystem::copy_file(directory.File(), sound);
  const std::uintmax_t bits = Size() * 8;
  std::int64_t least = kBlocks * kPerBlock;
  for (std::uintmax_t i = 0; i < 60; ++i) {
    std::filesystem::remove(directory.File());
    std::filesystem::copy_file(sound, directory.File());
    // The first flips are in the header and the page after it, the others anywhere in the file.
    Flip(i < 20 ? i * 997 % (2 * 4096 * 8) : i * 2654435761 % bits);
    try {
      Spool spool = Open();
      const std::int64_t drained = DrainGenuine(spool);
      ExpectTrueCounts(spool);
      if (i >= 20) least = std::min(least, drained);
    } catch (const Error& error) {
      // The numbers that identify the file are damaged.
      const std::string what = error.what();
      EXPECT_TRUE(what.find("no spool of a recorder") != std::string::npos ||
                  what.find("has the layout of version") != std::string::npos)
          << what;
    }
  }
  EXPECT_GT(least, kBlocks * kPerBlock * 9 / 10);
}

// SQLite's own check succeeds for such a file, but its rows have no ids, or no data, or are in no table.
TEST_F(SpoolDamage, OfADefinitionOfATableLosesNothing) {
  const std::filesystem::path sound = directory.File("sound");
  std::filesystem::copy_file(directory.File(), sound);
  const std::pair<std::string, std::string> changes[] = {
      {"(id integer primary key, records", "(id integer primarz key, records"},
      {"data blob not null", "dbta blob not null"},
      {"sample_block (id", "sample_blocj (id"},
      {"CREATE TABLE spool", "CREATE TBBLE spool"}};
  for (const auto& [from, to] : changes) {
    SCOPED_TRACE(to);
    std::filesystem::remove(directory.File());  // MinGW does not overwrite it
    std::filesystem::copy_file(sound, directory.File());
    Replace(from, to);
    Spool spool = Open();
    ASSERT_TRUE(spool.DamageFound());
    EXPECT_EQ(spool.DamageFound()->recovered, kBlocks * kPerBlock);
    EXPECT_EQ(spool.DamageFound()->lost, 0);
    EXPECT_EQ(DrainGenuine(spool), kBlocks * kPerBlock);
    ExpectTrueCounts(spool);
  }
}

TEST_F(SpoolDamage, OfABlockSetsItAside) {
  {
    SqliteDatabase file(directory.File(), SqliteDatabase::Access::ReadWrite);
    file.Run("update sample_block set data = zeroblob(length(data)) where id = 7");
    file.Run("update sample_block set records = 99 where id = 8");
  }
  Spool spool = Open();
  EXPECT_EQ(DrainGenuine(spool), (kBlocks - 2) * kPerBlock);
  const Totals totals = spool.Count().first;
  EXPECT_EQ(totals.setAside, kPerBlock + kPerBlock - 1);
  ExpectTrueCounts(spool);
  SqliteDatabase file(directory.File(), SqliteDatabase::Access::ReadOnly);
  EXPECT_EQ(file.Value("select count(*) from set_aside where record = 'damaged'"), 2);
}

TEST_F(SpoolDamage, OfTheWholeFileLeavesANewSpool) {
  std::filesystem::resize_file(directory.File(), 4096 * 3);
  std::fstream file(directory.File(), std::ios::in | std::ios::out | std::ios::binary);
  for (int i = 0; i < 4096 * 3; ++i) file.put('x');
  file.close();
  Spool spool = Open();
  ASSERT_TRUE(spool.DamageFound());
  EXPECT_EQ(spool.DamageFound()->recovered, 0);
  EXPECT_EQ(DrainGenuine(spool), 0);
  EXPECT_TRUE(std::filesystem::exists(directory.File("plant.spool.damaged-1")));
}

}  // namespace
}  // namespace historian::recorder
