// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Sends a song through the library's output queue.
#pragma once

#include "engine/zormidi.h"
#include "midifile/song.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace zorhost {

// A part of a song in the order of playing. Records and Ticks have the same size.
struct Passage {
    std::vector<MIDIEvent> Records; // Time is 0 until it is scheduled
    std::vector<std::int64_t> Ticks;
};

constexpr std::int64_t EndOfSong = std::numeric_limits<std::int64_t>::max();

// The part of a song from tick begin up to, but not including, tick end. It starts with the
// controllers, programs and bends that are set before begin, so that it sounds as if played from
// the start of the song. If it ends before the song does, note offs for sounding notes are added.
Passage MakePassage(const midifile::Song& song, std::int64_t begin, std::int64_t end = EndOfSong);

// Whether a note or a sustain pedal is still down after all of these.
bool LeavesSounding(const std::vector<MIDIEvent>& records);

// Keeps queue 1 filled with the records of a passage. Records wait here while the queue is full;
// none is dropped. Thread: the one that runs the library.
class Player {
public:
    // The records must be in ascending order of Time.
    explicit Player(zorhost::Passage passage) : Passage(std::move(passage)) {}

    // Queues records while there is space. Call it often enough that the queue never runs empty.
    void Feed() {
        while (Next < Passage.Records.size() && ZorXmit(ZOR_QUEUE_OUTPUT, &Passage.Records[Next]))
            ++Next;
    }
    bool AllQueued() const { return Next == Passage.Records.size(); }
    std::size_t QueuedCount() const { return Next; }
    const std::vector<MIDIEvent>& Records() const { return Passage.Records; }
    const std::vector<std::int64_t>& Ticks() const { return Passage.Ticks; }

private:
    zorhost::Passage Passage;
    std::size_t Next = 0; // index of the next record to queue
};

// The fill level of queue 1, in records.
struct QueueFill {
    int Count;
    int Capacity;
};
QueueFill OutputFill();

} // namespace zorhost
