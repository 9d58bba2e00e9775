// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Keeps a recording in progress on disk, so that a crash or power failure does not lose it.
#pragma once

#include "engine/zormidi.h"
#include "host/recording/journal_file.h"
#include "midifile/writer.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zorhost {

// A MIDI file beside the target of the recording: "take.part.mid" for "take.mid". After each write
// it is complete and can be read by any program. Its ticks are milliseconds. Thread: one.
class Journal {
public:
    // target: path of the recording. Throws HostError if the journal cannot be written, or another
    // zorhost records into the same target.
    explicit Journal(const std::string& target);
    // Writes everything, or deletes the file if Discard was called or nothing was added.
    ~Journal();
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    void Add(const MIDIEvent& record);
    // Sets the records that would follow if the recording ended now: a sounding note and its end.
    // They replace those of the previous call.
    void SetProvisional(std::vector<MIDIEvent> records) { Provisional = std::move(records); }
    // Writes new records to the file, at most five times per second, and synchronises it with the
    // disk at most once per second. now: milliseconds, as in the records. Notes of a microphone
    // arrive late, so records less than half a second old are rewritten the next time, as the
    // provisional ones are. all: writes at once and treats all records as final. False if the disk
    // is full; the next call tries again.
    bool Write(std::int32_t now, bool all = false);
    // The recording is saved elsewhere: the destructor deletes the journal.
    void Discard() { IsNeeded = false; }
    const std::string& Path() const { return Name; }

private:
    // Encodes records as events of the track.
    struct EventWriter {
        void Add(const MIDIEvent& record);

        midifile::TrackWriter Track;
        int Block = 0;             // of 16 channels, of the last record
        std::int32_t LastTime = 0; // of the last record, milliseconds
    };

    void SettlePending(std::int32_t until);
    midifile::Bytes Tail() const;
    bool WriteEmptyTrack();

    std::string Name;
    JournalFile File;
    bool IsNeeded = false; // contains records that are saved nowhere else
    std::vector<MIDIEvent> Pending;
    std::vector<MIDIEvent> Provisional;
    EventWriter Settled;            // final events
    midifile::Bytes UnwrittenBytes; // final, but not in the file yet
    midifile::Bytes LastTail;       // in the file, after the final events
    std::size_t Size = 0;           // of the final events in the file, bytes
    std::int32_t LastWriteTime = 0; // milliseconds, as in the records
    std::int32_t LastSyncTime = 0;  // likewise
};

// Turns journals that a crashed program left in the target's folder into recordings,
// "take.rescued.mid", and prints a line to standard error for each. A journal that cannot be
// rescued is reported and left in place.
void RescueTakes(const std::string& target);

} // namespace zorhost
