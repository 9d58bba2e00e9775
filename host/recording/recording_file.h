// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Writes recorded messages to a MIDI file.
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

// How times of the records become ticks of the file.
struct RecordingPlan {
    TempoMap Map{960};                       // tempos and bar lines of the file
    int TempoPercent = 100;                  // of the map's tempos
    std::int64_t StartMicroseconds = 0;      // map time of record time 0, before TempoPercent
    std::int32_t EndTime = 0;                // milliseconds; end of notes that still sound
    const midifile::Song* Backing = nullptr; // a song whose tracks are copied first; Map is its map
};

// Adds a channel message to a track.
void AddRecord(midifile::TrackWriter& track, std::int64_t tick, const MIDIEvent& record);

// Writes the channel messages among the records, at their Time in milliseconds, and note offs for
// notes that have none. Each block of 16 channels gets its own track. Shows the progress if there
// are many records. Throws HostError.
void WriteRecording(const std::vector<MIDIEvent>& records, const RecordingPlan& plan,
                    const OutputFile& file);

} // namespace zorhost
