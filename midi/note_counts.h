// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Counting of overlapping notes: several note ons of one key, each with a note off of its own.
#pragma once

#include "midi/status.h"

#include <cstdint>
#include <map>
#include <utility>

namespace midi {

constexpr std::uint8_t HighestNoteCount = 127; // open notes of one key that a port counts

// The rule of an output port, applied to the count of one key on one channel. Updates the count and
// returns whether the message goes out. Held back are: a note on above HighestNoteCount, a note off
// without a note on and, unless everyNoteOff is set, each note off but the one that ends the last
// open note. Real time: yes.
constexpr bool CountNote(std::uint8_t& count, bool noteOn, bool everyNoteOff) {
    if (noteOn) {
        if (count == HighestNoteCount) return false;
        ++count;
        return true;
    }
    if (count == 0) return false;
    --count;
    return count == 0 || everyNoteOff;
}

// The open notes of a passage: note ons without a note off, counted without limit. Any number of
// channels. Allocates. Not thread-safe.
class OpenNotes {
public:
    // Updates the counts by one message; messages other than note on and note off change nothing.
    void Apply(int channel, std::uint8_t type, std::uint8_t note, std::uint8_t velocity) {
        if (StartsNote(type, velocity)) ++Counts[{channel, note}];
        if (!EndsNote(type, velocity)) return;
        const auto open = Counts.find({channel, note});
        if (open != Counts.end() && --open->second == 0) Counts.erase(open);
    }
    bool Any() const { return !Counts.empty(); }

    // Calls visit(channel, note) once per open note, in ascending order of channel and note.
    template <class Visit>
    void ForEach(Visit visit) const {
        for (const auto& [key, count] : Counts)
            for (int i = 0; i < count; ++i) visit(key.first, static_cast<std::uint8_t>(key.second));
    }

private:
    std::map<std::pair<int, int>, int> Counts; // by channel and note; only counts above 0
};

} // namespace midi
