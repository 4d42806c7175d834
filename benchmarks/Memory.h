#pragma once

namespace bench {

// The most memory that this process has occupied since ResetPeakMemory, in MiB.
double PeakMemory();

// Returns what it occupies now.
double ResetPeakMemory();

}  // namespace bench
