#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/Process.h"

namespace historian {

// A directory for the spools of a test, removed with them.
class SpoolDirectory {
 public:
  SpoolDirectory() {
    static int count = 0;
    path_ = std::filesystem::temp_directory_path() /
            ("historian_spool_" + std::to_string(platform::ProcessId()) + "_" + std::to_string(++count));
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
  }
  ~SpoolDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  SpoolDirectory(const SpoolDirectory&) = delete;
  SpoolDirectory& operator=(const SpoolDirectory&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path File(const std::string& name = "plant.spool") const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

}  // namespace historian
