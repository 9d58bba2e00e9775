// What came in, gathered and written as a MIDI file.
#pragma once

#include "engine/zormidi.h"
#include "host/tempo_map.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zorhost {

// A file that appears under its name only when it is complete: it is written beside it first. Made
// before the work begins, so that a folder that cannot be written is told at once.
class OutputFile {
public:
    // Throws HostError if the folder cannot be written or path is a folder.
    explicit OutputFile(const std::string& path);
    ~OutputFile(); // what was not kept is removed
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    const std::string& Path() const { return Final; }
    const std::string& TemporaryPath() const { return Temporary; }
    // Gives the file its name, in place of one that was there. Throws HostError.
    void Keep();

private:
    std::string Final;
    std::string Temporary;
};

// Throws HostError.
void WriteText(const std::string& text, OutputFile& file);

// Records by the bar lines of map, whose tempo percent scales.
struct RecordingPlan {
    TempoMap Map{960};
    int TempoPercent = 100;
    std::int64_t StartMicroseconds = 0; // of the map, unscaled, where record time 0 lies
};

// Writes the channel messages among the records, each at its Time in milliseconds; pairs of note on
// and off are left as they came. Channels beyond 16 go to tracks of their own, one for each block
// of 16. Throws HostError.
void WriteRecording(const std::vector<MIDIEvent>& records, const RecordingPlan& plan,
                    OutputFile& file);

} // namespace zorhost
