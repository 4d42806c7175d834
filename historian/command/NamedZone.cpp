// Zones by their names, from the system's time zone database.
#include <date/tz.h>

#include "Failure.h"
#include "Text.h"
#include "Zone.h"

namespace historian::command {
namespace {

class NamedZone : public Zone {
 public:
  NamedZone(const std::string& name, const date::time_zone& zone) : Zone(name), zone_(zone) {}

  Instant ToInstant(LocalTime local) const override {
    const date::local_time<std::chrono::milliseconds> at(local.time_since_epoch());
    const auto seconds = std::chrono::floor<std::chrono::seconds>(at.time_since_epoch());
    if (!known_.Holds(seconds)) {
      const date::local_info info = zone_.get_info(at);
      if (info.result == date::local_info::nonexistent) return {Kind::Skipped, {}};
      if (info.result == date::local_info::ambiguous) return {Kind::Repeated, {}};
      known_ = Known(info.first);
    }
    return {Kind::Unique, Time(at.time_since_epoch() - known_.offset)};
  }

  LocalTime ToLocal(Time time) const override {
    const date::sys_time<std::chrono::milliseconds> at(time.time_since_epoch());
    return LocalTime(zone_.to_local(at).time_since_epoch());
  }

 private:
  // A range of local times with one offset and no change of the clocks nearby. The next row of a file is
  // nearly always in it.
  struct Known {
    Known() = default;
    explicit Known(const date::sys_info& info)
        : first(info.begin.time_since_epoch() + std::chrono::hours(48)),
          last(info.end.time_since_epoch() - std::chrono::hours(48)),
          offset(info.offset) {}
    bool Holds(std::chrono::seconds local) const { return first <= local && local <= last; }

    std::chrono::seconds first{1}, last{0}, offset{0};
  };

  const date::time_zone& zone_;
  mutable Known known_;
};

}  // namespace

std::unique_ptr<Zone> FindNamedZone(const std::string& name) {
  try {
    return std::make_unique<NamedZone>(name, *date::locate_zone(name));
  } catch (const std::runtime_error&) {
    throw Refusal("there is no time zone " + Quote(name) +
                  "; zones are UTC, offsets (+01:00) or names (Europe/Berlin)");
  }
}

}  // namespace historian::command
