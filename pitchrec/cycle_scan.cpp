#include "pitchrec/cycle_scan.h"

#include "pitchrec/plain_scan.h"

#if defined(__SSE2__)

#include "pitchrec/sample_masks.h"

#include <array>
#include <cstring>

namespace Sonorel {

namespace {

constexpr std::int32_t WordLength = 64;
constexpr std::int32_t LongestWindow = 2048;

std::int32_t TopBit(std::uint64_t bits) { return 63 - __builtin_clzll(bits); }
std::uint64_t BitsBelow(std::int32_t bit) { return (std::uint64_t{1} << bit) - 1; }
std::uint64_t BelowTopBit(std::uint64_t bits) { return BitsBelow(TopBit(bits)); }

// The scan on words of 64 samples. Whether a stretch between crossings is strong enough is a
// question of bits alone; only a cycle that counts is looked into for its peak.
template <class Levels>
class WordScan {
public:
    WordScan(const std::int16_t* window, std::int32_t count, std::int32_t firstNew,
             const PeakThresholds& thresholds)
        : Window(window), Count(count), FirstNew(firstNew),
          PositiveDominates(thresholds.PositiveDominates), AnyHigh(thresholds.Positive == 0),
          AnyLow(thresholds.Negative == 0),
          Strong(thresholds.Positive - 1, thresholds.Negative + 1) {}

    CycleTable Run() {
        BeginStretch(Count - 1); // the newest sample is not looked at
        std::int32_t word = 0;
        for (std::int32_t base = Count - WordLength; base > -WordLength; base -= WordLength)
            if (ScanWord(word++, base)) break;
        return Cycles;
    }

private:
    // True when the table is complete.
    bool ScanWord(std::int32_t word, std::int32_t base) {
        const std::int16_t* samples = SamplesAt(base);
        const SampleMasks masks = Strong.Of(samples);
        const std::uint64_t before = base > 0 && Window[base - 1] < 0 ? 1 : 0;
        const std::uint64_t crossings = ~masks.Negative & (masks.Negative << 1 | before);
        const std::uint64_t high = masks.High & ~crossings; // a crossing is no peak
        Peaks[static_cast<std::size_t>(word)] = PositiveDominates ? high : masks.Low;

        std::uint64_t open = word == 0 ? BitsBelow(WordLength - 1) : ~std::uint64_t{0};
        for (;;) {
            std::uint64_t ends = crossings & open;
            if (!MetHigh) {
                if ((high & open) == 0) break;
                ends &= BelowTopBit(high & open);
            }
            if (!MetLow) {
                if ((masks.Low & open) == 0) break;
                ends &= BelowTopBit(masks.Low & open);
            }
            if (ends == 0) break;
            const std::int32_t bit = TopBit(ends);
            Cycles.Add(PeakBetween(base + bit, word));
            if (Cycles.Complete(base + bit, FirstNew)) return true;
            BeginStretch(base + bit);
            open = BitsBelow(bit);
        }
        MetHigh = MetHigh || (high & open) != 0;
        MetLow = MetLow || (masks.Low & open) != 0;
        return false;
    }

    void BeginStretch(std::int32_t end) {
        End = end;
        MetHigh = AnyHigh;
        MetLow = AnyLow;
    }

    // The dominant peak after the crossing and before End.
    std::int32_t PeakBetween(std::int32_t crossing, std::int32_t lastWord) const {
        PeakSearch search(!PositiveDominates);
        const std::int32_t firstWord = (Count - 1 - End) / WordLength;
        for (std::int32_t word = firstWord; word <= lastWord; ++word) {
            const std::int32_t base = Count - (word + 1) * WordLength;
            std::uint64_t bits = Peaks[static_cast<std::size_t>(word)];
            if (word == firstWord) bits &= BitsBelow(End - base);
            if (word == lastWord) bits &= ~BitsBelow(crossing - base);
            const std::int16_t* samples = SamplesAt(base);
            while (bits != 0) {
                const std::int32_t group = TopBit(bits) & ~7;
                search.Look(samples + group, base + group,
                            static_cast<unsigned>(bits >> group & 0xFF));
                bits &= BitsBelow(group);
            }
        }
        return search.Place();
    }

    // The oldest word may reach past the window's start; it is then completed with silence, in
    // which nothing crosses.
    const std::int16_t* SamplesAt(std::int32_t base) {
        if (base >= 0) return Window + base;
        const std::int32_t missing = -base;
        Oldest.fill(0);
        std::memcpy(Oldest.data() + missing, Window,
                    static_cast<std::size_t>(WordLength - missing) * sizeof(std::int16_t));
        return Oldest.data();
    }
    const std::int16_t* SamplesAt(std::int32_t base) const {
        return base >= 0 ? Window + base : Oldest.data();
    }

    const std::int16_t* Window;
    std::int32_t Count;
    std::int32_t FirstNew;
    bool PositiveDominates;
    bool AnyHigh; // every stretch is high enough
    bool AnyLow;
    Levels Strong;

    std::int32_t End = 0; // the crossing, or the newest sample, where this stretch ends in time
    bool MetHigh = false; // this stretch has been high enough
    bool MetLow = false;
    std::array<std::uint64_t, LongestWindow / WordLength> Peaks; // samples that can be the peak
    std::array<std::int16_t, WordLength> Oldest;
    CycleTable Cycles;
};

} // namespace

CycleTable ScanCycles(const std::int16_t* window, std::int32_t count, std::int32_t firstNew,
                      const PeakThresholds& thresholds) {
    const std::int32_t dominant =
        thresholds.PositiveDominates ? thresholds.Positive : -thresholds.Negative;
    if (dominant < 2 || count > LongestWindow || count < 3)
        return PlainScanCycles(window, count, firstNew, thresholds);
    if (NarrowLevels::Fit(thresholds.Positive - 1, thresholds.Negative + 1))
        return WordScan<NarrowLevels>(window, count, firstNew, thresholds).Run();
    return WordScan<WideLevels>(window, count, firstNew, thresholds).Run();
}

} // namespace Sonorel

#else

namespace Sonorel {

CycleTable ScanCycles(const std::int16_t* window, std::int32_t count, std::int32_t firstNew,
                      const PeakThresholds& thresholds) {
    return PlainScanCycles(window, count, firstNew, thresholds);
}

} // namespace Sonorel

#endif
