#pragma once

namespace bench {

// The peak memory of this process since ResetPeakMemory, in MiB.
double PeakMemory();

// Returns the memory in use now.
double ResetPeakMemory();

}  // namespace bench
