// The cycles of a window: where the dominant peaks lie and how far apart.
#pragma once

#include <array>
#include <cstdint>

namespace Sonorel {

struct Cycle {
    std::int32_t PeakIndex; // window index of the dominant peak
    std::int32_t Length;    // samples to the peak of the next later cycle; 0 in the newest
};

// Newest cycle first.
struct CycleTable {
    static constexpr std::int32_t Size = 20;
    static constexpr std::int32_t Enough = 10; // once all new samples are scanned

    std::array<Cycle, Size> Entries; // the first Count of them
    std::int32_t Count = 0;

    void Add(std::int32_t peakIndex) {
        const auto at = static_cast<std::size_t>(Count);
        Entries[at] = {peakIndex, Count > 0 ? Entries[at - 1].PeakIndex - peakIndex : 0};
        ++Count;
    }
    // May the scan end at this crossing, the first new sample standing at firstNew?
    bool Complete(std::int32_t crossing, std::int32_t firstNew) const {
        return Count >= Size || (Count >= Enough && crossing < firstNew);
    }
};

// What makes a cycle count, from the extremes of the new samples.
struct PeakThresholds {
    std::int32_t Positive;  // 0 or more: the positive peak reaches it
    std::int32_t Negative;  // 0 or less: the negative peak reaches it
    bool PositiveDominates; // which polarity gives the peak's position
};

} // namespace Sonorel
