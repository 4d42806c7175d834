#pragma once

// Time zones as the operating system has them; posix/ and windows/ answer.

#include <cstdint>
#include <string>

namespace plant {

// Sets the time zone of the whole process by its IANA name (Europe/Berlin). Throws std::invalid_argument for
// a name that the system does not know; Windows knows none but UTC by such a name.
void SetNamedZone(const std::string& name);

// What that zone is ahead of UTC at an instant, in seconds.
std::int64_t NamedZoneOffset(std::int64_t seconds);

// Where zones without a name have to do, what to say of that.
extern const char* const kZoneHint;

}  // namespace plant
