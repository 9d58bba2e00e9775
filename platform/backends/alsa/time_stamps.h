// The kernel's clock for what comes in.
#pragma once

#include "platform/backends/alsa/alsa.h"

#include <atomic>
#include <cstdint>
#include <mutex>

namespace machine {

// A queue of the sequencer that runs while an input is open, and not longer, since it costs the
// kernel a timer. It is made once, for which the kernel may have to load a module.
class InputClock {
public:
    // The queue is the owner's; its time is read by the reader, which waits for nothing that the
    // owner does.
    InputClock(snd_seq_t* owner, snd_seq_t* reader) : Owner(owner), Reader(reader) {}

    // Makes the port that is to be created stamp what comes to it. Thread: any.
    void Begin(snd_seq_port_info_t* port);
    void End(); // once for each Begin

    // When the event came in, in microseconds on the machine's clock: never in the future, and
    // never before the one asked for before. Thread: the one that reads. Real time.
    std::uint64_t TimeOf(const snd_seq_event_t& event);

private:
    void Control(int event); // locked
    std::uint64_t Age(const snd_seq_event_t& event, std::uint64_t& now) const;

    snd_seq_t* const Owner;
    snd_seq_t* const Reader;
    std::mutex Lock; // of the next, and of starting and stopping the queue
    int Inputs = 0;
    std::atomic<int> Queue{-1};
    std::uint64_t Last = 0;
};

} // namespace machine
