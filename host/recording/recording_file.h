// What came in, as a MIDI file.
#pragma once

#include "engine/zormidi.h"
#include "host/recording/output_file.h"
#include "midifile/tempo_map.h"
#include "midifile/writer.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace zorhost {

using midifile::Meter;
using midifile::Tempo;
using midifile::TempoMap;

// Records by the bar lines of map, whose tempo percent scales.
struct RecordingPlan {
    TempoMap Map{960};
    int TempoPercent = 100;
    std::int64_t StartMicroseconds = 0;    // of the map, unscaled, where record time 0 lies
    std::int32_t EndTime = 0;              // milliseconds; notes that still sound end then
    const midifile::Song* Under = nullptr; // its tracks come first; Map is its map
};

// Adds a channel message.
void AddRecord(midifile::TrackWriter& track, std::int64_t tick, const MIDIEvent& record);

// Writes the channel messages among the records, each at its Time in milliseconds, and the note
// offs that are missing at the end. Channels beyond 16 go to tracks of their own, one for each
// block of 16. Says how far it is if there are many. Throws HostError.
void WriteRecording(const std::vector<MIDIEvent>& records, const RecordingPlan& plan,
                    const OutputFile& file);

} // namespace zorhost
