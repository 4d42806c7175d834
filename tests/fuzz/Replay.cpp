// Runs a target with each file of a directory.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "Fuzz.h"

int main(int count, char** arguments) {
  if (count != 2) return 2;
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(arguments[1])) {
    std::ifstream in(entry.path(), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    std::printf("%s, %zu bytes\n", entry.path().filename().string().c_str(), bytes.size());
    std::fflush(stdout);
    if (bytes.size() != entry.file_size()) return 1;
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    ++files;
  }
  std::printf("%d inputs\n", files);
  return files > 0 ? 0 : 1;
}
