// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The attack detector: compares the peaks of consecutive blocks of 12 ms. A steep rise begins an
// attack, and the first fall after it ends the attack.
#include "pitchrec/frame.h"
#include "pitchrec/pitch_rec.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>

namespace Sonorel {

namespace {

constexpr PackedMessage AttackBegins = 0xB00C7F; // controller 12, value 127
constexpr PackedMessage AttackEnds = 0xB00C00;

// True from the beginning of an attack to its end. Shared by all recognisers of the process, and
// kept from one to the next. Relaxed: no other data depends on it.
std::atomic<bool> AttackOn{false};

} // namespace

void PitchRecWaveIn::DetectAttacks(const Frame& frame, std::int32_t threshold) {
    const std::int32_t blockLength = SampleRate / 86; // samples: 256
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
        // The time stamp is that of the peak before the rise or fall.
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
