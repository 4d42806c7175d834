#pragma once

#include <chrono>

namespace historian {

// An instant, to the millisecond as the samples of tag history.
using Time = std::chrono::sys_time<std::chrono::milliseconds>;

}  // namespace historian
