#include "port/LocalTime.h"

#include <time.h>

#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <string_view>
#include <system_error>

namespace sys {
namespace {

constexpr char kSystemZone[] = "/etc/localtime";
constexpr char kZones[] = "/usr/share/zoneinfo/";

// Empty unless the system's zone is a link to a zone's file.
std::string SystemZoneName() {
  std::error_code failed;
  const std::string target = std::filesystem::read_symlink(kSystemZone, failed).string();
  constexpr std::string_view kFolder = "zoneinfo/";
  const auto at = target.find(kFolder);
  return failed || at == std::string::npos ? "" : target.substr(at + kFolder.size());
}

}  // namespace

// The C library guards its zone by an internal lock, which ThreadSanitizer does not see.
void ReadTimeZone() {
  static std::mutex mutex;
  std::lock_guard lock(mutex);
  ::tzset();
}

std::int64_t LocalOffset(std::int64_t instant) {
  const time_t time = instant;
  tm local{};
  ::localtime_r(&time, &local);
  return local.tm_gmtoff;
}

// If a zone has no file of that name, the C library uses UTC. A name with a slash is no POSIX rule ("CET-1").
std::string LocalZoneName() {
  const char* const zone = std::getenv("TZ");
  std::string name = zone ? zone + (*zone == ':' ? 1 : 0) : SystemZoneName();
  std::error_code failed;
  const bool isNamed = name.find('/') != std::string::npos && !name.starts_with('/');
  return isNamed && !std::getenv("TZDIR") && std::filesystem::exists(kZones + name, failed) ? name : "";
}

}  // namespace sys
