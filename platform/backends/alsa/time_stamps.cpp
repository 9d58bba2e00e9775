#include "platform/backends/alsa/time_stamps.h"

#include "platform/api/clock.h"

#include <algorithm>

namespace machine {
namespace {

std::uint64_t InMicroseconds(const snd_seq_real_time_t& time) {
    return std::uint64_t{time.tv_sec} * 1000000 + time.tv_nsec / 1000;
}

} // namespace

// Without a queue, of which there are few, what comes in is as old as it is when it is read.
void InputClock::Begin(snd_seq_port_info_t* port) {
    const std::scoped_lock lock(Lock);
    if (Queue < 0) Queue = snd_seq_alloc_queue(Owner);
    if (++Inputs == 1) Control(SND_SEQ_EVENT_START);
    if (Queue < 0) return;
    snd_seq_port_info_set_timestamping(port, 1);
    snd_seq_port_info_set_timestamp_real(port, 1);
    snd_seq_port_info_set_timestamp_queue(port, Queue);
}

void InputClock::End() {
    const std::scoped_lock lock(Lock);
    if (--Inputs == 0) Control(SND_SEQ_EVENT_STOP);
}

void InputClock::Control(int event) {
    if (Queue >= 0) snd_seq_control_queue(Owner, Queue, event, 0, nullptr);
    snd_seq_drain_output(Owner);
}

std::uint64_t InputClock::TimeOf(const snd_seq_event_t& event) {
    std::uint64_t now = 0;
    const std::uint64_t age = Age(event, now);
    return Last = std::min(std::max(now - std::min(age, now), Last), now);
}

// How long ago it came in, and what the machine's time is. The two clocks drift, so they are read
// together; anew if something came between.
std::uint64_t InputClock::Age(const snd_seq_event_t& event, std::uint64_t& now) const {
    constexpr std::uint64_t together = 50; // microseconds
    snd_seq_queue_status_t* status;
    snd_seq_queue_status_alloca(&status);
    bool read = false;
    std::uint64_t before = 0;
    for (int attempt = 0; attempt < 3; ++attempt) {
        before = Microseconds();
        read = snd_seq_get_queue_status(Reader, Queue, status) >= 0;
        now = Microseconds();
        if (now - before < together) break;
    }
    if (!read || !snd_seq_ev_is_real(&event) || event.queue != Queue) return 0;
    const std::uint64_t there = InMicroseconds(*snd_seq_queue_status_get_real_time(status));
    const std::uint64_t came = InMicroseconds(event.time.time);
    return there > came ? there - came : 0;
}

} // namespace machine
