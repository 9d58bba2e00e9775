// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The cycles of a waveform: positions of their dominant peaks and distances between them.
#pragma once

#include <array>
#include <cstdint>

namespace Sonorel {

struct Cycle {
    std::int32_t PeakIndex; // window index of the dominant peak, in samples
    std::int32_t Length; // samples from this peak to that of the next newer cycle; 0 in the newest
};

// The cycles that a scan has found, newest first.
struct CycleTable {
    static constexpr std::int32_t Size = 20;
    static constexpr std::int32_t SufficientCount = 10; // ends a scan of older samples

    std::array<Cycle, Size> Entries; // the first Count are valid
    std::int32_t Count = 0;

    void Add(std::int32_t peakIndex) {
        const auto index = static_cast<std::size_t>(Count);
        Entries[index] = {peakIndex, Count > 0 ? Entries[index - 1].PeakIndex - peakIndex : 0};
        ++Count;
    }
    // True if the scan can end: the table is full, or all new samples are scanned and
    // SufficientCount cycles found. crossing and firstNew: window indices of the crossing that the
    // scan has reached and of the first sample of the latest block.
    bool IsComplete(std::int32_t crossing, std::int32_t firstNew) const {
        return Count >= Size || (Count >= SufficientCount && crossing < firstNew);
    }
};

// The peaks that a cycle must have, in sample units. They depend on the extremes of the latest
// block.
struct PeakThresholds {
    std::int32_t Positive;  // 0 or more; the positive peak must be at least this
    std::int32_t Negative;  // 0 or less; the negative peak must be at most this
    bool PositiveDominates; // true: PeakIndex is that of the positive peak; false: of the negative
};

} // namespace Sonorel
