// A recording under way, which is on the disk from its first second on.
#pragma once

#include "host/recording/journal.h"
#include "host/recording/output_file.h"
#include "host/recording/recording_file.h"

#include <optional>

namespace zorhost {

class Take {
public:
    // Rescues what former recordings into the folder have left. Throws HostError if the file cannot
    // be written.
    explicit Take(const std::string& path);

    // Channel messages; others have no place in a file and are passed over. Times in milliseconds.
    void Add(const MIDIEvent& record);
    // What the file on the disk has beside them for now, in place of what was held before.
    void Hold(std::vector<MIDIEvent> records);
    // now: milliseconds as in the records. Call it often.
    void Save(std::int32_t now);
    const std::vector<MIDIEvent>& Records() const { return All; }
    std::size_t Notes() const { return NoteCount; }
    const std::string& Path() const { return File.Path(); }
    // Writes the file. If that fails, the take is kept somewhere else, which the HostError names.
    void Finish(const RecordingPlan& plan);

private:
    std::string SaveElsewhere(const RecordingPlan& plan);
    std::string Keep(const RecordingPlan& plan);

    OutputFile File;
    std::optional<Journal> Safe; // none beside a pipe
    std::vector<MIDIEvent> All;
    std::size_t NoteCount = 0;
    bool ToldOfRoom = false;
};

} // namespace zorhost
