// A chain of one-shot timers: each expiry runs the pump, which programs the next one. There is
// never more than one expiry pending.
#pragma once

#include "engine/generation.h"

#include <atomic>
#include <cstdint>

// The chain may go on, and time runs. Stored under the timer's lock, read everywhere.
extern std::atomic<std::uint8_t> TimerRunning;

// The wished period in milliseconds, at least 1, from the ini file.
extern std::int32_t MMESpeed;

// Playback was ended: late expiries and passes under way do nothing any more. After a kill until the
// host asks for a pass, after a stop of the timer until it asks for one or starts the timer.
// Thread: any. Real time: yes.
bool ChainEnded();

// The host asks for a pass: the chain may go on from it. Thread: any. Real time: yes.
void ResumeChain();

// Programs the next expiry, after one period at least, in place of a pending one; with the timer
// stopped, none. False if something ended or began since the given number, which leaves the chain
// as it is: the delay was figured for what is no more.
// Thread: any. Real time: yes.
bool ArmTimer(std::uint32_t delay, Generation since);

// No expiry at all, for a pass that can do nothing before the host calls again. False as above.
bool DisarmTimer(Generation since);

// For a pump that cannot play now: the next expiry comes after one period, and a pass that is under
// way takes a fresh look. Does nothing once the chain has ended.
void DeferTimer();

// Ends playback: cancels the pending expiry and empties queues 1 and 2, and nothing that is under
// way goes on. TimerRunning stays. Thread: host.
void EndPlayback();

// Does nothing if the timer is stopped. Thread: host.
void StopMIDITimer();

// How far away the earliest waiting record is.
struct NextDelay {
    bool Due;            // its time has come
    std::uint32_t Delay; // else milliseconds, or time units taken for such; 0 if no record waits
};
NextDelay DelayToNextEvent(std::int32_t now);
