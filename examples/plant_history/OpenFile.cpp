#include <algorithm>

#include "Stage.h"
#include "Text.h"

namespace plant {
namespace {

constexpr std::size_t kSamplesPerBatch = 10'000;
constexpr std::uint64_t kBytesPerKib = 1024;

}  // namespace

void RequireSameTags(const Stage& stage, const PlantFile& file) {
  if (file.tags() == stage.tags) return;
  throw FileError(OneLine(file.path()) + ": line 1: the header row changed while the file was read");
}

std::size_t RowsPerBatch(const Stage& stage) {
  return std::max<std::size_t>(1, kSamplesPerBatch / stage.tags.size());
}

// Only the header is read here: a file that is no plant file at all ends the program before it connects.
void OpenFile(Stage& stage) {
  const PlantFile file(stage.options.file);
  stage.tags = file.tags();
  for (const std::string& tag : stage.tags) stage.tag_names.push_back(Widen(tag));
  const std::string name = NameOf(PathOf(file.path()));
  stage.terminal.Fact("file", name + ", " + FormatCount(stage.tags.size()) + " tags, " +
                                  FormatCount((file.bytes() + kBytesPerKib - 1) / kBytesPerKib) + " KiB");
}

}  // namespace plant
