// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "pitchrec/cycle_scan.h"

#include "pitchrec/plain_scan.h"

#if defined(__SSE2__)

#include "pitchrec/sample_masks.h"

#include <array>
#include <cstring>

namespace Sonorel {

namespace {

constexpr std::int32_t WordLength = 64;      // samples
constexpr std::int32_t LongestWindow = 2048; // samples

std::int32_t TopBit(std::uint64_t bits) { return 63 - __builtin_clzll(bits); }
std::uint64_t BitsBelow(std::int32_t bit) { return (std::uint64_t{1} << bit) - 1; }
std::uint64_t BelowTopBit(std::uint64_t bits) { return BitsBelow(TopBit(bits)); }

// Scans words of 64 samples. Crossings, and whether a segment between crossings is a cycle, are
// found from bit masks alone; samples are compared again only to find the peak of a cycle.
template <class Levels>
class WordScan {
public:
    WordScan(const std::int16_t* window, std::int32_t count, std::int32_t firstNew,
             const PeakThresholds& thresholds, CycleTable& cycles)
        : Cycles(cycles), Window(window), Count(count), FirstNew(firstNew),
          PositiveDominates(thresholds.PositiveDominates), AlwaysHigh(thresholds.Positive == 0),
          AlwaysLow(thresholds.Negative == 0),
          StrongLevels(thresholds.Positive - 1,
                       AlwaysLow ? Levels::NoLowLevel : thresholds.Negative + 1) {}

    void Run() {
        BeginSegment(Count - 1); // the newest sample is not scanned
        std::int32_t word = 0;
        for (std::int32_t base = Count - WordLength; base > -WordLength; base -= WordLength)
            if (ScanWord(word++, base)) break;
    }

private:
    // Scans the 64 samples from window index base. Returns true when the table is complete.
    bool ScanWord(std::int32_t word, std::int32_t base) {
        const std::int16_t* samples = SamplesAt(base);
        const SampleMasks masks = StrongLevels.Compare(samples);
        const std::uint64_t negativeBefore = base > 0 && Window[base - 1] < 0 ? 1 : 0;
        const std::uint64_t crossings = ~masks.Negative & (masks.Negative << 1 | negativeBefore);
        const std::uint64_t low = masks.Strong & masks.Negative;
        // The first sample after a crossing never counts as a peak.
        const std::uint64_t high = masks.Strong & ~masks.Negative & ~crossings;
        PeakCandidates[static_cast<std::size_t>(word)] = PositiveDominates ? high : low;

        // The samples of this word that are older than SegmentEnd.
        std::uint64_t remaining = word == 0 ? BitsBelow(WordLength - 1) : ~std::uint64_t{0};
        for (;;) {
            // The crossings that can start the cycle: those older than a strong sample of each
            // sign.
            std::uint64_t starts = crossings & remaining;
            if (!HasHigh) {
                if ((high & remaining) == 0) break;
                starts &= BelowTopBit(high & remaining);
            }
            if (!HasLow) {
                if ((low & remaining) == 0) break;
                starts &= BelowTopBit(low & remaining);
            }
            if (starts == 0) break;
            const std::int32_t bit = TopBit(starts);
            Cycles.Add(FindPeak(base + bit, word));
            if (Cycles.IsComplete(base + bit, FirstNew)) return true;
            BeginSegment(base + bit);
            remaining = BitsBelow(bit);
        }
        HasHigh = HasHigh || (high & remaining) != 0;
        HasLow = HasLow || (low & remaining) != 0;
        return false;
    }

    void BeginSegment(std::int32_t end) {
        SegmentEnd = end;
        HasHigh = AlwaysHigh;
        HasLow = AlwaysLow;
    }

    // The index of the dominant peak between the crossing and SegmentEnd. Groups of eight start at
    // the newest candidate, so that peaks of similar shape take the same number of steps: the
    // processor then predicts the branches.
    std::int32_t FindPeak(std::int32_t crossing, std::int32_t lastWord) const {
        PeakSearch search(!PositiveDominates);
        for (std::int32_t newest = SegmentEnd - 1; newest > crossing; newest -= WordLength) {
            std::uint64_t bits = CandidatesUpTo(newest, lastWord);
            if (newest - crossing < WordLength)
                bits &= ~BitsBelow(WordLength - (newest - crossing));
            if (bits == 0) continue;
            const std::int32_t skipped = WordLength - 1 - TopBit(bits);
            bits <<= skipped;
            for (std::int32_t last = newest - skipped; bits != 0; bits <<= 8, last -= 8)
                SearchEight(search, last, static_cast<unsigned>(bits >> 56));
        }
        return search.Index();
    }

    // Passes the eight samples up to index last. If they begin before the window, passes the
    // window's first eight and shifts the selection.
    void SearchEight(PeakSearch& search, std::int32_t last, unsigned selected) const {
        const std::int32_t first = last - 7;
        if (first >= 0)
            search.Add(Window + first, first, selected);
        else
            search.Add(Window, 0, selected >> -first);
    }

    // The peak candidates among the 64 samples up to index newest, which is bit 63.
    std::uint64_t CandidatesUpTo(std::int32_t newest, std::int32_t lastWord) const {
        const std::int32_t distance = Count - 1 - newest;
        const auto word = static_cast<std::size_t>(distance / WordLength);
        const std::int32_t shift = distance % WordLength;
        std::uint64_t bits = PeakCandidates[word] << shift;
        if (shift != 0 && static_cast<std::int32_t>(word) < lastWord)
            bits |= PeakCandidates[word + 1] >> (WordLength - shift);
        return bits;
    }

    // The 64 samples from index base. If the oldest word begins before the window, it is padded
    // with zeros, in which there is no crossing.
    const std::int16_t* SamplesAt(std::int32_t base) {
        if (base >= 0) return Window + base;
        const std::int32_t missing = -base;
        PaddedWord.fill(0);
        std::memcpy(PaddedWord.data() + missing, Window,
                    static_cast<std::size_t>(WordLength - missing) * sizeof(std::int16_t));
        return PaddedWord.data();
    }

    CycleTable& Cycles;
    const std::int16_t* Window;
    std::int32_t Count;
    std::int32_t FirstNew;
    bool PositiveDominates;
    bool AlwaysHigh; // the threshold is 0, which every segment reaches
    bool AlwaysLow;
    Levels StrongLevels;

    // The present segment: its newest end, and whether its peaks have reached the thresholds.
    std::int32_t SegmentEnd = 0;
    bool HasHigh = false;
    bool HasLow = false;
    // Strong samples of the dominant sign, by word.
    std::array<std::uint64_t, LongestWindow / WordLength> PeakCandidates;
    std::array<std::int16_t, WordLength> PaddedWord;
};

} // namespace

CycleTable ScanCycles(const std::int16_t* window, std::int32_t count, std::int32_t firstNew,
                      const PeakThresholds& thresholds) {
    const std::int32_t dominant =
        thresholds.PositiveDominates ? thresholds.Positive : -thresholds.Negative;
    // PeakSearch needs strong samples of at least 2, and eight samples to load.
    if (dominant < 2 || count > LongestWindow || count < 8)
        return PlainScanCycles(window, count, firstNew, thresholds);
    CycleTable cycles;
    if (NarrowLevels::CanHold(thresholds.Positive - 1, thresholds.Negative + 1))
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
