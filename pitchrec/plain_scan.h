// The backward scan, one sample at a time: for processors without a faster way, and the measure of
// the faster one.
#pragma once

#include "pitchrec/cycle.h"

namespace Sonorel {

// Walks backward from the newest sample but one and cuts the window at upward zero crossings. A
// stretch between crossings that is too weak on either side runs on into the next older one.
inline CycleTable PlainScanCycles(const std::int16_t* window, std::int32_t count,
                                  std::int32_t firstNew, const PeakThresholds& thresholds) {
    CycleTable cycles;
    std::int32_t positivePeak = 0;
    std::int32_t negativePeak = 0;
    std::int32_t peakPosition = 0;
    for (std::int32_t i = count - 2; i >= 1; --i) {
        const std::int32_t sample = window[i];
        if (window[i - 1] < 0 && sample >= 0) {
            if (negativePeak > thresholds.Negative || positivePeak < thresholds.Positive) continue;
            cycles.Add(peakPosition);
            if (cycles.Complete(i, firstNew)) break;
            positivePeak = 0;
            negativePeak = 0;
        } else if (sample > positivePeak) {
            positivePeak = sample;
            if (thresholds.PositiveDominates) peakPosition = i;
        } else if (sample < negativePeak) {
            negativePeak = sample;
            if (!thresholds.PositiveDominates) peakPosition = i;
        }
    }
    return cycles;
}

} // namespace Sonorel
