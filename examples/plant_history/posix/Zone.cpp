#include "Zone.h"

#include <time.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string_view>

namespace plant {
namespace {

constexpr const char* kZoneFolder = "/usr/share/zoneinfo";
constexpr std::string_view kZoneCharacters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_+-/";

bool IsZoneFile(const std::filesystem::path& path) {
  char magic[4] = {};
  std::ifstream(path).read(magic, sizeof magic);
  return std::string_view(magic, sizeof magic) == "TZif";
}

}  // namespace

const char* const kZoneHint = "";

// The C library would quietly take an unknown name for UTC.
void SetNamedZone(const std::string& name) {
  const char* folder = std::getenv("TZDIR");
  const bool sound = !name.empty() && name[0] != '/' && name.find_first_not_of(kZoneCharacters) == name.npos;
  if (name != "UTC" &&
      (!sound || !IsZoneFile(std::filesystem::path(folder != nullptr ? folder : kZoneFolder) / name))) {
    throw std::invalid_argument(name);
  }
  setenv("TZ", name.c_str(), 1);
  tzset();
}

std::int64_t NamedZoneOffset(std::int64_t seconds) {
  const time_t time = seconds;
  tm local{};
  localtime_r(&time, &local);
  return local.tm_gmtoff;
}

}  // namespace plant
