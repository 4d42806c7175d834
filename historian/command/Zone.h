#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "historian/Time.h"

namespace historian::command {

using LocalTime = std::chrono::local_time<std::chrono::milliseconds>;

// A time zone: an offset from UTC or a zone by its IANA name.
class Zone {
 public:
  virtual ~Zone() = default;

  enum class Kind { Unique, Skipped, Repeated };
  struct Instant {
    Kind kind;
    Time time;  // of a unique local time
  };
  // The instant at which the zone's clocks show a local time. When clocks change, some local times are
  // skipped and some occur twice.
  virtual Instant ToInstant(LocalTime local) const = 0;
  virtual LocalTime ToLocal(Time time) const = 0;

  const std::string& name() const { return name_; }

 protected:
  explicit Zone(std::string name) : name_(std::move(name)) {}

 private:
  std::string name_;
};

// UTC, an offset (+01:00, -0530), or a name (Europe/Berlin). Throws a Refusal for an unknown zone.
std::unique_ptr<Zone> FindZone(const std::string& name);
// The same for names; not available on every platform.
std::unique_ptr<Zone> FindNamedZone(const std::string& name);

// `2026-11-21 20:40:05` in the zone, with milliseconds unless they are 0.
std::string FormatTime(Time time, const Zone& zone);
// `2026-11-21T20:40:05.123Z`, the form that every program reads; with milliseconds unless they are 0.
std::string FormatUtc(Time time);
// The same to the microsecond, in the zone, with the zone's offset unless the zone is UTC.
std::string FormatExact(std::chrono::sys_time<std::chrono::microseconds> time, const Zone& zone);

}  // namespace historian::command
