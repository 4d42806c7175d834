#include "historian/command/csv/Gunzip.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <array>

#include "TemporaryFile.h"
#include "historian/command/Failure.h"
#include "historian/command/csv/ByteSource.h"

using namespace historian::command;

namespace {

std::string Pack(std::string text) {
  z_stream stream{};
  deflateInit2(&stream, 9, Z_DEFLATED, MAX_WBITS + 16, 8, Z_DEFAULT_STRATEGY);
  std::string packed(text.size() + 1000, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(text.data());
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  return packed;
}

std::string ReadAll(ByteSource& source) {
  std::string text;
  std::array<char, 1000> block;
  while (const std::size_t count = source.Read(block.data(), block.size())) text.append(block.data(), count);
  return text;
}

std::string Sample() {
  std::string text;
  for (int i = 0; i < 50'000; ++i) text += std::to_string(i * 7919 % 10007) + '\n';
  return text;
}

TEST(Gunzip, UnpacksAFileFromItsBeginningAgainAndAgain) {
  const TemporaryFile file(Pack(Sample()), ".csv.gz");
  ByteSource source(file.path());
  EXPECT_EQ(ReadAll(source), Sample());
  EXPECT_EQ(source.position(), source.size());
  source.Rewind();
  EXPECT_EQ(ReadAll(source), Sample());
}

TEST(Gunzip, UnpacksEveryMemberOfAFile) {
  const TemporaryFile file(Pack("one\n") + Pack("two\n"));
  ByteSource source(file.path());
  EXPECT_EQ(ReadAll(source), "one\ntwo\n");
}

TEST(Gunzip, RefusesAFileThatEndsTooEarlyOrIsDamaged) {
  const std::string packed = Pack(Sample());
  const TemporaryFile cut(packed.substr(0, packed.size() / 2));
  ByteSource half(cut.path());
  EXPECT_THROW(ReadAll(half), Refusal);
  std::string damaged = packed;
  damaged[damaged.size() / 2] ^= 0x55;
  const TemporaryFile file(damaged);
  ByteSource source(file.path());
  EXPECT_THROW(ReadAll(source), Refusal);
}

TEST(ByteSource, RefusesWhatIsNoFile) {
  EXPECT_THROW(ByteSource("there/is/no/such.csv"), Refusal);
  EXPECT_THROW(ByteSource("."), Refusal);
}

}  // namespace
