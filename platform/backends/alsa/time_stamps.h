// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The kernel's time stamps of incoming events.
#pragma once

#include "platform/backends/alsa/alsa.h"

#include <atomic>
#include <cstdint>
#include <mutex>

namespace device {

// A queue of the sequencer whose time the kernel stamps events with. It runs while an input is open
// only, since it costs the kernel a timer. It is created once, for which the kernel may have to
// load a module.
class TimeStamps {
public:
    // The queue belongs to owner. Its time is read through reader, whose calls do not wait for
    // those of owner.
    TimeStamps(snd_seq_t* owner, snd_seq_t* reader) : Owner(owner), Reader(reader) {}

    // Enables time stamps for a port that is to be created. Thread: any.
    void Enable(snd_seq_port_info_t* port);
    void Disable(); // once for each Enable

    // When the event came in, in microseconds on the machine's clock: not in the future, and not
    // before the result of the previous call. Thread: the receiving one. Real time.
    std::uint64_t TimeOf(const snd_seq_event_t& event);

private:
    void ControlQueue(int event); // with the lock held
    std::uint64_t Age(const snd_seq_event_t& event, std::uint64_t& now) const;

    snd_seq_t* const Owner;
    snd_seq_t* const Reader;
    std::mutex Lock; // of the next, and of starting and stopping the queue
    int OpenInputs = 0;
    std::atomic<int> Queue{-1};
    std::uint64_t LastTime = 0; // microseconds
};

} // namespace device
