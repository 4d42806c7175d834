#include "Stretch.h"

#include <algorithm>

namespace plant {
namespace {

constexpr std::int64_t kHour = 3600;
constexpr std::int64_t kDay = 24 * kHour;

// Cuts an hour where it has more rows than it should, down to single seconds.
void AppendParts(std::vector<Stretch>& stretches, std::int64_t hour, std::uint64_t rows, std::uint64_t most) {
  const auto parts = static_cast<std::int64_t>(std::clamp<std::uint64_t>((rows + most - 1) / most, 1, kHour));
  for (std::int64_t part = 0; part < parts; ++part) {
    stretches.push_back({hour + kHour * part / parts, hour + kHour * (part + 1) / parts,
                         rows / static_cast<std::uint64_t>(parts)});
  }
}

}  // namespace

void OccupiedHours::Add(std::int64_t time_ms) { ++rows_[time_ms / 1000 / kHour * kHour]; }

std::vector<Stretch> OccupiedHours::Divide(std::uint64_t most) const {
  std::vector<Stretch> stretches;
  for (const auto& [hour, rows] : rows_) {
    Stretch* last = stretches.empty() ? nullptr : &stretches.back();
    if (last != nullptr && last->rows + rows <= most && hour - last->to <= kDay) {
      last->to = hour + kHour;
      last->rows += rows;
    } else {
      AppendParts(stretches, hour, rows, most);
    }
  }
  return stretches;
}

}  // namespace plant
