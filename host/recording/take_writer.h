// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Collects a take, the messages of one recording, and writes its file. A journal on disk protects
// it from the first second on.
#pragma once

#include "host/recording/journal.h"
#include "host/recording/output_file.h"
#include "host/recording/recording_file.h"

#include <optional>

namespace zorhost {

class TakeWriter {
public:
    // Rescues journals of earlier takes in the same folder. Throws HostError if the file cannot be
    // written.
    explicit TakeWriter(const std::string& path);

    // Adds a channel message; other messages are ignored. Its Time is in milliseconds.
    void Add(const MIDIEvent& record);
    // Sets records that the journal contains until they are added or replaced: a sounding note.
    void SetProvisional(std::vector<MIDIEvent> records);
    // Writes the journal. Call it often. now: milliseconds, as in the records.
    void Save(std::int32_t now);
    const std::vector<MIDIEvent>& Records() const { return AllRecords; }
    std::size_t Notes() const { return NoteCount; }
    const std::string& Path() const { return File.Path(); }
    // Writes the file. If that fails, saves the take elsewhere and throws a HostError that names
    // the place.
    void Finish(const RecordingPlan& plan);

private:
    std::string SaveToTempFolder(const RecordingPlan& plan);
    std::string SaveElsewhere(const RecordingPlan& plan);

    OutputFile File;
    std::optional<Journal> TakeJournal; // none if the output is a pipe
    std::vector<MIDIEvent> AllRecords;
    std::size_t NoteCount = 0;
    bool DiskFullReported = false;
};

} // namespace zorhost
