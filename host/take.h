// A recording under way, which is on the disk while it goes on: nothing that ends the program or
// the machine loses it.
#pragma once

#include "engine/zormidi.h"
#include "host/journal_file.h"
#include "host/output_file.h"
#include "host/recording.h"
#include "midifile/writer.h"

#include <cstdint>
#include <optional>
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
    // Writes what came in until half a second ago, since notes of a microphone come late, or all.
    // To the disk itself at most once a second. False if there is no room; the next one tries
    // again.
    bool Write(std::int32_t now, bool all = false);
    // The file is written: nothing is lost with the journal.
    void Remove() { Used = false; }
    const std::string& Path() const { return Name; }

private:
    void TakePending(std::int32_t until);
    bool Begin(); // an empty track

    std::string Name;
    JournalFile File;
    bool Used = false; // it holds what is nowhere else
    std::vector<MIDIEvent> Pending;
    midifile::TrackWriter Track;
    midifile::Bytes Unwritten;
    std::size_t Size = 0;     // of the track that is written, without its end
    int Block = 0;            // of 16 channels, of the last record
    std::int32_t Written = 0; // when the disk was last tried, in the records' time
    std::int32_t Synced = 0;
};

// Makes recordings of the journals in the target's folder whose program has ended over them, and
// says so in a line each. One that cannot be is told too, and stays.
void RescueTakes(const std::string& target);

class Take {
public:
    // Rescues what former recordings into the folder have left. Throws HostError if the file cannot
    // be written.
    explicit Take(const std::string& path);

    // Channel messages; others have no place in a file and are passed over. Times in milliseconds.
    void Add(const MIDIEvent& record);
    // now: milliseconds as in the records. Call it often.
    void Save(std::int32_t now);
    const std::vector<MIDIEvent>& Records() const { return All; }
    std::size_t Notes() const { return NoteCount; }
    const std::string& Path() const { return File.Path(); }
    // Writes the file. If that fails, the take is kept somewhere else, which the HostError names.
    void Finish(const RecordingPlan& plan);

private:
    std::string SaveElsewhere(const RecordingPlan& plan);

    OutputFile File;
    std::optional<Journal> Safe; // none beside a pipe
    std::vector<MIDIEvent> All;
    std::size_t NoteCount = 0;
    bool ToldOfRoom = false;
};

} // namespace zorhost
