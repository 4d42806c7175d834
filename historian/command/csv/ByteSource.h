#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "Gunzip.h"

namespace historian::command {

// FNV-1a, which gives the same on every platform and in every run. `before` continues the hash of what came
// before.
constexpr std::uint64_t HashOf(std::string_view bytes, std::uint64_t before = 0xcbf29ce484222325) {
  for (const char c : bytes) before = (before ^ static_cast<unsigned char>(c)) * 0x100000001b3;
  return before;
}

// The bytes of a file; those of a gzip file unpacked. Failures are a Refusal that names the file.
class ByteSource {
 public:
  explicit ByteSource(const std::string& path);

  // Reads up to so many bytes; 0 at the end.
  std::size_t Read(char* to, std::size_t most);
  void Rewind();

  const std::string& path() const { return path_; }
  std::uint64_t size() const { return size_; }          // of the file as it is
  std::uint64_t hash() const { return hash_; }          // of those bytes
  std::uint64_t position() const { return position_; }  // bytes of the file taken in

 private:
  std::size_t ReadFile(char* to, std::size_t most);

  std::string path_;
  std::ifstream in_;
  std::uint64_t size_ = 0;
  std::uint64_t position_ = 0;
  std::uint64_t hash_ = 0;
  std::unique_ptr<Gunzip> gunzip_;
};

// Standard input in a temporary file of its own, which goes with the object: what is read twice needs a file.
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
