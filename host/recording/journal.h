// A take on the disk while it goes on: nothing that ends the program or the machine loses it.
#pragma once

#include "engine/zormidi.h"
#include "host/recording/journal_file.h"
#include "midifile/writer.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zorhost {

// A MIDI file beside the one that a recording is for, "take.part.mid" for "take.mid", whole
// whenever it is looked at. Its ticks are milliseconds.
class Journal {
public:
    // Throws HostError if it cannot be written, or another zorhost records into the same file.
    explicit Journal(const std::string& target);
    ~Journal(); // leaves on the disk what nobody says is safe elsewhere
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    void Add(const MIDIEvent& record);
    // What would be added if the recording ended now: a note that still sounds and its end. It
    // takes the place of what was held before.
    void Hold(std::vector<MIDIEvent> records) { Held = std::move(records); }
    // Writes all that came in. What is less than half a second old can still be preceded, since
    // notes of a microphone come late: it is written anew the next time, as what is held is; with
    // all, it is not. To the disk itself at most once a second. False if there is no room; the next
    // one tries again.
    bool Write(std::int32_t now, bool all = false);
    // The file is written: nothing is lost with the journal.
    void Remove() { Used = false; }
    const std::string& Path() const { return Name; }

private:
    // Records as the track's events.
    struct Events {
        void Add(const MIDIEvent& record);

        midifile::TrackWriter Track;
        int Block = 0;         // of 16 channels, of the last record
        std::int32_t Last = 0; // its time
    };

    void TakePending(std::int32_t until);
    midifile::Bytes Tail() const;
    bool Begin(); // an empty track

    std::string Name;
    JournalFile File;
    bool Used = false; // it holds what is nowhere else
    std::vector<MIDIEvent> Pending;
    std::vector<MIDIEvent> Held;
    Events Sure;
    midifile::Bytes Unwritten; // of them
    midifile::Bytes LastTail;  // on the disk
    std::size_t Size = 0;      // of the track that is written for good
    std::int32_t Written = 0;  // when the disk was last tried, in the records' time
    std::int32_t Synced = 0;
};

// Makes recordings of the journals in the target's folder whose program has ended over them, and
// says so in a line each. One that cannot be is told too, and stays.
void RescueTakes(const std::string& target);

} // namespace zorhost
