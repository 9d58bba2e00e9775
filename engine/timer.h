// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The timer chain: each expiry of a one-shot timer runs a pump pass, which programs the next
// expiry. At most one expiry is pending at any time.
#pragma once

#include "engine/generation.h"

#include <atomic>
#include <cstdint>

// Requested timer period in milliseconds, at least 1, from the ini file. Thread: host.
extern std::int32_t MMESpeed;

// True after playback was ended: late expiries and passes in progress do nothing. A kill lasts
// until the host requests a pass, a stop of the timer until it requests one or starts the timer.
// Thread: any. Real time: yes.
bool ChainEnded();

// The host requests a pass: the chain may go on from it. Thread: any. Real time: yes.
void ResumeChain();

// Programs the next expiry, in place of a pending one, after delay milliseconds or one timer
// period, whichever is longer. While the timer is stopped no expiry is programmed. Returns false
// and changes nothing if the generation is no longer start: the delay was computed from stale data.
// Thread: any. Real time: yes.
bool ArmTimer(std::uint32_t delay, Generation start);

// Cancels the pending expiry, for a pass that can do nothing before the host calls again. Returns
// false and changes nothing if the generation is no longer start.
// Thread: any. Real time: yes.
bool DisarmTimer(Generation start);

// Defers a pump pass that cannot run now to the next timer period, and makes the pass in progress
// stale, so that it reads time and queues again. No effect once the chain has ended.
// Thread: any. Real time: yes.
void DeferTimer();

// Ends playback: cancels the pending expiry and all transmissions, and empties queues 1 and 2.
// TimerRunning does not change. Thread: host.
void EndPlayback();

// No effect if the timer is stopped. Thread: host.
void StopMIDITimer();

// Time until the earliest waiting record.
struct NextDelay {
    bool Due; // the record can be sent now
    // Otherwise the difference in time units, used as milliseconds; 0 if no record waits.
    std::uint32_t Delay;
};
NextDelay DelayToNextEvent(std::int32_t now);
