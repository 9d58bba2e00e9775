// A piece on its way through the library's output queue.
#pragma once

#include "engine/zormidi.h"
#include "midifile/song.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace zorhost {

// Records and the tick of each, side by side, in the order in which they are played.
struct Passage {
    std::vector<MIDIEvent> Records; // their times are for the player to say
    std::vector<std::int64_t> Ticks;
};

constexpr std::int64_t ToTheEnd = std::numeric_limits<std::int64_t>::max();

// What to play between two ticks: first the controllers, programs and bends that the piece has set
// by then, so that it sounds as if played from its beginning; then the events; then, if it ends
// before the piece does, note offs for what still sounds.
Passage PassageOf(const midifile::Song& song, std::int64_t from, std::int64_t to = ToTheEnd);

// Whether a note sounds on or a pedal is held when all of these have been played.
bool LeavesSounding(const std::vector<MIDIEvent>& records);

// Keeps queue 1 fed. Records that find it full wait here; none is dropped.
class Player {
public:
    explicit Player(Passage passage) : Of(std::move(passage)) {}

    // Hands over what there is room for. Call it more often than the queue runs empty.
    void Feed() {
        while (Next < Of.Records.size() && ZorXmit(ZOR_QUEUE_OUTPUT, &Of.Records[Next])) ++Next;
    }
    bool AllFed() const { return Next == Of.Records.size(); }
    std::size_t Fed() const { return Next; }
    const std::vector<MIDIEvent>& All() const { return Of.Records; }
    const std::vector<std::int64_t>& Ticks() const { return Of.Ticks; }

private:
    Passage Of; // by ascending Time
    std::size_t Next = 0;
};

// How many records queue 1 holds, and how many it can hold.
struct QueueFill {
    int Count;
    int Room;
};
QueueFill OutputFill();

} // namespace zorhost
