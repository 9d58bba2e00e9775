// A chain of one-shot timers: each expiry runs the pump, which programs the next one. There is
// never more than one expiry pending.
#pragma once

#include <atomic>
#include <cstdint>

// The chain may go on, and time runs. Stored under the timer's lock, read everywhere.
extern std::atomic<std::uint8_t> TimerRunning;

// The wished period in milliseconds, at least 1, from the ini file.
extern std::int32_t MMESpeed;

// What had happened to the chain when a pump began: what it then programs must not undo what came
// in between.
struct TimerTicket {
    std::uint32_t Kills;     // times that playback had been ended
    std::uint32_t Deferrals; // times that a pump had put itself off
};
TimerTicket TakeTimerTicket();

// Cancels the pending expiry, as the first half of programming a new one, and brings the ticket's
// deferrals up to date. Does nothing if playback was ended since the ticket was taken: what is
// pending then belongs to a newer chain.
void CancelTimer(TimerTicket& ticket);

// Programs the next expiry, after one period at least, in place of a pending one. Does nothing if
// the timer is stopped or playback was ended since the ticket. If a pump has put itself off since,
// the delay is one period: what that pump was called for is not in the delay.
// Thread: any. Real time: yes.
void ArmTimer(std::uint32_t delay, const TimerTicket& ticket);

// For a pump that cannot play now: the next expiry comes after one period.
void DeferTimer(const TimerTicket& ticket);

// Cancels the pending expiry, and no pump under way now programs another. TimerRunning stays.
void EndTimerChain();
std::uint32_t TimerKills();

// Does nothing if the timer is stopped.
void StopMIDITimer();

// How far away the earliest waiting record is.
struct NextDelay {
    bool Due;            // its time has come
    std::uint32_t Delay; // else milliseconds, or time units taken for such; 0 if no record waits
};
NextDelay DelayToNextEvent();
