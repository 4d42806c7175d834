#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "Gunzip.h"

namespace historian::command {

// FNV-1a, whose result is the same on every platform and in every run. `before` is the hash of the bytes
// before these, to be continued.
constexpr std::uint64_t HashOf(std::string_view bytes, std::uint64_t before = 0xcbf29ce484222325) {
  for (const char c : bytes) before = (before ^ static_cast<unsigned char>(c)) * 0x100000001b3;
  return before;
}

// Reads the bytes of a file and unpacks those of a gzip file. Throws a Refusal that names the file.
class ByteSource {
 public:
  explicit ByteSource(const std::string& path);

  // Reads up to `most` bytes; returns 0 at the end.
  std::size_t Read(char* to, std::size_t most);
  void Rewind();

  const std::string& path() const { return path_; }
  std::uint64_t size() const { return size_; }          // of the file, not unpacked
  std::uint64_t hash() const { return hash_; }          // of the bytes read so far
  std::uint64_t position() const { return position_; }  // number of bytes of the file read so far

 private:
  std::size_t ReadFile(char* to, std::size_t most);

  std::string path_;
  std::ifstream in_;
  std::uint64_t size_ = 0;
  std::uint64_t position_ = 0;
  std::uint64_t hash_ = 0;
  std::unique_ptr<Gunzip> gunzip_;
};

// A temporary copy of standard input, which is needed because the input is read twice. Removed with the
// object.
class SpooledInput {
 public:
  SpooledInput();
  ~SpooledInput();
  SpooledInput(const SpooledInput&) = delete;
  SpooledInput& operator=(const SpooledInput&) = delete;

  std::string path() const;

 private:
  std::filesystem::path directory_;
};

}  // namespace historian::command
