#include "port/LocalTime.h"

#include <chrono>

namespace sys {

std::int64_t LocalOffsets::At(std::int64_t instant) {
  using namespace std::chrono;
  const std::int64_t number = floor<days>(seconds(instant)).count();
  Day& day = days_[static_cast<std::uint64_t>(number) % days_.size()];
  if (day.number == number) return day.offset;
  const std::int64_t first = seconds(days(number)).count();
  const std::int64_t last = first + seconds(days(1)).count() - 1;
  const std::int64_t offset = LocalOffset(first);
  if (LocalOffset(last) != offset) return LocalOffset(instant);
  day = {number, offset};
  return offset;
}

}  // namespace sys
