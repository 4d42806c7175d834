#include "ByteSource.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <random>

#include "../Failure.h"
#include "../Text.h"

namespace historian::command {
namespace {

constexpr std::array<char, 2> kGzipMagic = {'\x1f', '\x8b'};
constexpr std::size_t kBlock = 256 * 1024;

std::string SystemsWords() { return std::strerror(errno); }

// Only its owner may read the directory; this is set before anything is in it.
std::filesystem::path MakePrivateDirectory() {
  std::random_device random;
  const auto path = std::filesystem::temp_directory_path() /
                    ("historian-" + std::to_string(random()) + '-' + std::to_string(random()));
  if (!std::filesystem::create_directory(path)) throw Failure("cannot make a temporary directory");
  std::filesystem::permissions(path, std::filesystem::perms::owner_all);
  return path;
}

}  // namespace

ByteSource::ByteSource(const std::string& path) : path_(path) {
  std::error_code error;
  const std::filesystem::path file = PathOf(path);
  const auto status = std::filesystem::status(file, error);
  if (!std::filesystem::exists(status)) throw Refusal(OneLine(path) + ": there is no such file");
  if (!std::filesystem::is_regular_file(status)) throw Refusal(OneLine(path) + ": is not a regular file");
  in_.open(file, std::ios::binary);
  if (!in_) throw Refusal(OneLine(path) + ": cannot be read: " + SystemsWords());
  size_ = std::filesystem::file_size(file);
  Rewind();
}

void ByteSource::Rewind() {
  in_.clear();
  in_.seekg(0);
  std::array<char, 2> magic{};
  in_.read(magic.data(), magic.size());
  const bool zipped = in_ && magic == kGzipMagic;
  in_.clear();
  in_.seekg(0);
  position_ = 0;
  hash_ = HashOf({});
  gunzip_ = zipped ? std::make_unique<Gunzip>(
                         path_, [this](char* to, std::size_t most) { return ReadFile(to, most); })
                   : nullptr;
}

std::size_t ByteSource::Read(char* to, std::size_t most) {
  return gunzip_ ? gunzip_->Read(to, most) : ReadFile(to, most);
}

std::size_t ByteSource::ReadFile(char* to, std::size_t most) {
  in_.read(to, static_cast<std::streamsize>(most));
  if (in_.bad()) throw Failure(OneLine(path_) + ": cannot be read: " + SystemsWords());
  const auto count = static_cast<std::size_t>(in_.gcount());
  position_ += count;
  hash_ = HashOf({to, count}, hash_);
  return count;
}

SpooledInput::SpooledInput() : directory_(MakePrivateDirectory()) {
  std::ofstream out(directory_ / "stdin", std::ios::binary);
  std::string block(kBlock, '\0');
  while (std::cin && out) {
    ThrowIfInterrupted();
    std::cin.read(block.data(), static_cast<std::streamsize>(block.size()));
    out.write(block.data(), std::cin.gcount());
  }
  if (!out.flush()) throw Failure("cannot keep standard input in " + path() + ": " + SystemsWords());
}

SpooledInput::~SpooledInput() {
  std::error_code ignored;
  std::filesystem::remove_all(directory_, ignored);
}

std::string SpooledInput::path() const {
  const std::u8string name = (directory_ / "stdin").u8string();
  return {name.begin(), name.end()};
}

}  // namespace historian::command
