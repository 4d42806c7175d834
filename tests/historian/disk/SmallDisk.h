#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

// Resizes the disk of the server that small_disk.sh runs, for instance to 1900M.
inline void ResizeDisk(const std::string& size) {
  const char* const program = std::getenv("DBMSAPI_RESIZE_DISK");
  ASSERT_NE(program, nullptr) << "needs small_disk.sh";
  ASSERT_EQ(std::system((program + size).c_str()), 0) << size;
}
