// The backward scan for cycles, the recogniser's hot path.
#pragma once

#include "pitchrec/cycle.h"

namespace Sonorel {

// Cuts the window (count samples, oldest first) into cycles from the newest backward, as
// PlainScanCycles does, number for number. firstNew: index of the first sample of this block.
// Reads nothing outside the window.
CycleTable ScanCycles(const std::int16_t* window, std::int32_t count, std::int32_t firstNew,
                      const PeakThresholds& thresholds);

} // namespace Sonorel
