// Gives a target the files named, and all files of the directories named, one after the other.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "Fuzz.h"

namespace {

void Run(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  std::printf("%s, %zu bytes\n", file.filename().string().c_str(), bytes.size());
  std::fflush(stdout);
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace

int main(int count, char** names) {
  int files = 0;
  for (int i = 1; i < count; ++i) {
    if (!std::filesystem::is_directory(names[i])) {
      Run(names[i]);
      ++files;
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(names[i])) {
      Run(entry.path());
      ++files;
    }
  }
  std::printf("%d inputs\n", files);
  return files > 0 ? 0 : 1;
}
