// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/backends/alsa/time_stamps.h"

#include "platform/api/clock.h"

#include <algorithm>

namespace device {
namespace {

using machine::Microseconds;

std::uint64_t ToMicroseconds(const snd_seq_real_time_t& time) {
    return std::uint64_t{time.tv_sec} * 1000000 + time.tv_nsec / 1000;
}

} // namespace

// The kernel has few queues. Without one an event's time is that of reading it.
void TimeStamps::Enable(snd_seq_port_info_t* port) {
    const std::scoped_lock lock(Lock);
    if (Queue < 0) Queue = snd_seq_alloc_queue(Owner);
    if (++OpenInputs == 1) ControlQueue(SND_SEQ_EVENT_START);
    if (Queue < 0) return;
    snd_seq_port_info_set_timestamping(port, 1);
    snd_seq_port_info_set_timestamp_real(port, 1);
    snd_seq_port_info_set_timestamp_queue(port, Queue);
}

void TimeStamps::Disable() {
    const std::scoped_lock lock(Lock);
    if (--OpenInputs == 0) ControlQueue(SND_SEQ_EVENT_STOP);
}

void TimeStamps::ControlQueue(int event) {
    if (Queue >= 0) snd_seq_control_queue(Owner, Queue, event, 0, nullptr);
    snd_seq_drain_output(Owner);
}

std::uint64_t TimeStamps::TimeOf(const snd_seq_event_t& event) {
    std::uint64_t now = 0;
    const std::uint64_t age = Age(event, now);
    return LastTime = std::min(std::max(now - std::min(age, now), LastTime), now);
}

// Microseconds since the event came in; now: the machine's time. The two clocks drift, so they are
// read together, and again if the thread was interrupted in between.
std::uint64_t TimeStamps::Age(const snd_seq_event_t& event, std::uint64_t& now) const {
    constexpr std::uint64_t maxInterval = 50; // microseconds
    snd_seq_queue_status_t* status;
    snd_seq_queue_status_alloca(&status);
    bool read = false;
    std::uint64_t before = 0;
    for (int attempt = 0; attempt < 3; ++attempt) {
        before = Microseconds();
        read = snd_seq_get_queue_status(Reader, Queue, status) >= 0;
        now = Microseconds();
        if (now - before < maxInterval) break;
    }
    if (!read || !snd_seq_ev_is_real(&event) || event.queue != Queue) return 0;
    const std::uint64_t queueTime = ToMicroseconds(*snd_seq_queue_status_get_real_time(status));
    const std::uint64_t arrival = ToMicroseconds(event.time.time);
    return queueTime > arrival ? queueTime - arrival : 0;
}

} // namespace device
