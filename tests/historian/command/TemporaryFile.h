#pragma once

#include <atomic>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <string_view>

// A file with a content, removed with the object.
class TemporaryFile {
 public:
  explicit TemporaryFile(std::string_view content, const std::string& ending = ".csv") {
    static std::atomic<int> count = 0;
    static const std::string run = std::to_string(std::random_device()());
    path_ = std::filesystem::temp_directory_path() /
            ("historian-test-" + run + '-' + std::to_string(++count) + ending);
    std::ofstream(path_, std::ios::binary) << content;
  }
  ~TemporaryFile() {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  std::string path() const { return path_.string(); }

 private:
  std::filesystem::path path_;
};
