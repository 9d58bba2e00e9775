#include "pitchrec/cycle_scan.h"

#include "pitchrec/plain_scan.h"

namespace Sonorel {

CycleTable ScanCycles(const std::int16_t* window, std::int32_t count, std::int32_t firstNew,
                      const PeakThresholds& thresholds) {
    return PlainScanCycles(window, count, firstNew, thresholds);
}

} // namespace Sonorel
