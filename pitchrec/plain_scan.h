// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The scan for cycles, one sample at a time: for processors without SSE2, and as the reference that
// tests and benchmarks compare the fast scan with.
#pragma once

#include "pitchrec/cycle.h"

namespace Sonorel {

// Scans backward from the second newest sample and splits the window at upward zero crossings. A
// segment between crossings is a cycle if its peaks reach both thresholds; otherwise it is extended
// to the next older crossing.
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
            if (cycles.IsComplete(i, firstNew)) break;
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
