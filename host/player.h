// A piece on its way through the library's output queue.
#pragma once

#include "engine/zormidi.h"
#include "host/midi_file.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zorhost {

// The records to play from a tick on, without their times: first the controllers, programs and
// bends that the piece has set by then, at that tick, so that it sounds as if played from its
// beginning; then the events. Etime is the tick.
std::vector<MIDIEvent> EventsFrom(const MidiFile& file, std::int64_t startTick);

// Whether a note sounds on or a pedal is held when all of these have been played.
bool LeavesSounding(const std::vector<MIDIEvent>& records);

// Keeps queue 1 fed. Records that find it full wait here; none is dropped.
class Player {
public:
    explicit Player(std::vector<MIDIEvent> records) : Records(std::move(records)) {}

    // Hands over what there is room for. Call it more often than the queue runs empty.
    void Feed() {
        while (Next < Records.size() && ZorXmit(ZOR_QUEUE_OUTPUT, &Records[Next])) ++Next;
    }
    bool AllFed() const { return Next == Records.size(); }
    std::size_t Fed() const { return Next; }
    const std::vector<MIDIEvent>& All() const { return Records; }

private:
    std::vector<MIDIEvent> Records; // by ascending Time
    std::size_t Next = 0;
};

// How many records queue 1 holds, and how many it can hold.
struct QueueFill {
    int Count;
    int Room;
};
QueueFill OutputFill();

} // namespace zorhost
