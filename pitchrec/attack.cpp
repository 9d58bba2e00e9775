// The attack detector: follows the peaks of short blocks and reports a steep rise and, after it,
// the first fall.
#include "pitchrec/frame.h"
#include "pitchrec/pitch_rec.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>

namespace Sonorel {

namespace {

constexpr PackedMessage AttackBegins = 0xB00C7F; // controller 12, value 127
constexpr PackedMessage AttackEnds = 0xB00C00;

// An attack has begun and not ended. One for all recognisers, and it outlives them. Relaxed: a
// flag by itself.
std::atomic<bool> AttackOn{false};

} // namespace

void PitchRecWaveIn::DetectAttacks(const Frame& frame, std::int32_t threshold) {
    const std::int32_t blockLength = SampleRate / 86;
    for (std::int32_t start = frame.FirstNew(); start < frame.Count; start += blockLength) {
        Now.BlockPeak = 0;
        Now.BlockPeakTime = 0;
        const std::int32_t end = std::min(start + blockLength, frame.Count);
        for (std::int32_t i = start; i < end; ++i) {
            const std::int32_t level = std::abs(std::int32_t{frame.Window[i]});
            if (level <= Now.BlockPeak) continue;
            Now.BlockPeak = level;
            Now.BlockPeakTime = frame.TimeOf(i, SampleRate);
        }
        // Stamped with the peak before the rise or fall.
        if (!AttackOn.load(std::memory_order_relaxed)) {
            if (Now.BlockPeak - Last.BlockPeak >= threshold) {
                AttackOn.store(true, std::memory_order_relaxed);
                Notes->PushNote(Last.BlockPeakTime, AttackBegins);
            }
        } else if (Now.BlockPeak < Last.BlockPeak) {
            AttackOn.store(false, std::memory_order_relaxed);
            Notes->PushNote(Last.BlockPeakTime, AttackEnds);
        }
        Last.BlockPeak = Now.BlockPeak;
        Last.BlockPeakTime = Now.BlockPeakTime;
    }
}

} // namespace Sonorel
