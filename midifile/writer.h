// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Writes MIDI files.
#pragma once

#include "midifile/song.h"

#include <cstdint>
#include <string_view>
#include <utility>

namespace midifile {

// Encodes the events of a track. The time to add an event is constant.
class TrackWriter {
public:
    // message: the status byte, then all data bytes of a channel message. tick: not before that of
    // the previous event; any distance is possible.
    void Add(std::int64_t tick, ByteSpan message);
    // type: a MetaType. data: less than 256 MiB.
    void AddMeta(std::int64_t tick, std::uint8_t type, ByteSpan data);
    void AddText(std::int64_t tick, std::uint8_t type, std::string_view text);
    // Any event that was read from a file. event.Tick is ignored.
    void Add(std::int64_t tick, const TrackEvent& event);

    // The encoded events, without the end-of-track event.
    const Bytes& Body() const { return Encoded; }
    // The same; the writer is empty afterwards, and keeps its tick.
    Bytes ReleaseBody() { return std::exchange(Encoded, {}); }

private:
    void AddDelta(std::int64_t tick);
    void AddNumber(std::uint32_t value);

    Bytes Encoded;
    std::int64_t PreviousTick = 0;
};

// The end-of-track event that follows a body, 4 bytes.
ByteSpan EndOfTrack();
// The header of a track chunk, 8 bytes. size: of the body including the end of track, in bytes.
Bytes TrackHeader(std::size_t size);
// The header of the file, 14 bytes. ticks: per quarter note, 1 to 32767.
Bytes FileHeader(int format, std::size_t tracks, int ticks);

// A complete file of type 1, or of type 0 if there is one track. ticks: per quarter note. Throws
// Error if a track reaches 4 GiB.
Bytes Write(const std::vector<TrackWriter>& tracks, int ticks);

// Adds the tempo and meter changes of the map. percent: of the tempo, above 0.
void AddMap(TrackWriter& track, const TempoMap& map, int percent = 100);

} // namespace midifile
