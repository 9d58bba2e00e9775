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
             const PeakThresholds& thresholds, CycleTable& cycles)
        : Cycles(cycles), Window(window), Count(count), FirstNew(firstNew),
          PositiveDominates(thresholds.PositiveDominates), AnyHigh(thresholds.Positive == 0),
          AnyLow(thresholds.Negative == 0),
          Strong(thresholds.Positive - 1, AnyLow ? Levels::NoLow : thresholds.Negative + 1) {}

    void Run() {
        BeginStretch(Count - 1); // the newest sample is not looked at
        std::int32_t word = 0;
        for (std::int32_t base = Count - WordLength; base > -WordLength; base -= WordLength)
            if (ScanWord(word++, base)) break;
    }

private:
    // True when the table is complete.
    bool ScanWord(std::int32_t word, std::int32_t base) {
        const std::int16_t* samples = SamplesAt(base);
        const SampleMasks masks = Strong.Of(samples);
        const std::uint64_t before = base > 0 && Window[base - 1] < 0 ? 1 : 0;
        const std::uint64_t crossings = ~masks.Negative & (masks.Negative << 1 | before);
        const std::uint64_t low = masks.Strong & masks.Negative;
        // The sample after a crossing is no peak.
        const std::uint64_t high = masks.Strong & ~masks.Negative & ~crossings;
        Peaks[static_cast<std::size_t>(word)] = PositiveDominates ? high : low;

        std::uint64_t open = word == 0 ? BitsBelow(WordLength - 1) : ~std::uint64_t{0};
        for (;;) {
            std::uint64_t ends = crossings & open;
            if (!MetHigh) {
                if ((high & open) == 0) break;
                ends &= BelowTopBit(high & open);
            }
            if (!MetLow) {
                if ((low & open) == 0) break;
                ends &= BelowTopBit(low & open);
            }
            if (ends == 0) break;
            const std::int32_t bit = TopBit(ends);
            Cycles.Add(PeakBetween(base + bit, word));
            if (Cycles.Complete(base + bit, FirstNew)) return true;
            BeginStretch(base + bit);
            open = BitsBelow(bit);
        }
        MetHigh = MetHigh || (high & open) != 0;
        MetLow = MetLow || (low & open) != 0;
        return false;
    }

    void BeginStretch(std::int32_t end) {
        End = end;
        MetHigh = AnyHigh;
        MetLow = AnyLow;
    }

    // The dominant peak after the crossing and before End. Begins with the first sample that can be
    // it, so that peaks of equal shape take equal steps, which the processor foresees.
    std::int32_t PeakBetween(std::int32_t crossing, std::int32_t lastWord) const {
        PeakSearch search(!PositiveDominates);
        for (std::int32_t place = End - 1; place > crossing; place -= WordLength) {
            std::uint64_t bits = PeaksUpTo(place, lastWord);
            if (place - crossing < WordLength) bits &= ~BitsBelow(WordLength - (place - crossing));
            if (bits == 0) continue;
            const std::int32_t skipped = WordLength - 1 - TopBit(bits);
            bits <<= skipped;
            for (std::int32_t last = place - skipped; bits != 0; bits <<= 8, last -= 8)
                LookAt(search, last, static_cast<unsigned>(bits >> 56));
        }
        return search.Place();
    }

    // The eight samples up to last; the window's first ones in their stead where it begins later.
    void LookAt(PeakSearch& search, std::int32_t last, unsigned picked) const {
        const std::int32_t first = last - 7;
        if (first >= 0)
            search.Look(Window + first, first, picked);
        else
            search.Look(Window, 0, picked >> -first);
    }

    // The samples that can be the peak among the 64 up to place, which is bit 63.
    std::uint64_t PeaksUpTo(std::int32_t place, std::int32_t lastWord) const {
        const std::int32_t back = Count - 1 - place;
        const auto word = static_cast<std::size_t>(back / WordLength);
        const std::int32_t shift = back % WordLength;
        std::uint64_t bits = Peaks[word] << shift;
        if (shift != 0 && static_cast<std::int32_t>(word) < lastWord)
            bits |= Peaks[word + 1] >> (WordLength - shift);
        return bits;
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

    CycleTable& Cycles;
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
};

} // namespace

CycleTable ScanCycles(const std::int16_t* window, std::int32_t count, std::int32_t firstNew,
                      const PeakThresholds& thresholds) {
    const std::int32_t dominant =
        thresholds.PositiveDominates ? thresholds.Positive : -thresholds.Negative;
    if (dominant < 2 || count > LongestWindow || count < 8)
        return PlainScanCycles(window, count, firstNew, thresholds);
    CycleTable cycles;
    if (NarrowLevels::Fit(thresholds.Positive - 1, thresholds.Negative + 1))
        WordScan<NarrowLevels>(window, count, firstNew, thresholds, cycles).Run();
    else
        WordScan<WideLevels>(window, count, firstNew, thresholds, cycles).Run();
    return cycles;
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
