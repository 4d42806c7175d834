#include "port/LocalTime.h"

namespace port {

std::int64_t LocalEpochSeconds(std::tm fields) {
  fields.tm_isdst = -1;
  return _mktime64(&fields);
}

}  // namespace port
