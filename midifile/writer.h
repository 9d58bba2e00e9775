// Writes MIDI files.
#pragma once

#include "midifile/song.h"

#include <cstdint>
#include <string_view>
#include <utility>

namespace midifile {

// The events of a track in the form of a file. Time to add one: constant.
class TrackWriter {
public:
    // message: status first, channel messages with all of their data bytes. tick: not before that
    // of the event before; a pause of any length.
    void Add(std::int64_t tick, ByteSpan message);
    // data: less than 256 MiB.
    void AddMeta(std::int64_t tick, std::uint8_t type, ByteSpan data);
    void AddText(std::int64_t tick, std::uint8_t type, std::string_view text);
    // Any event that was read.
    void Add(std::int64_t tick, const TrackEvent& event);

    const Bytes& Body() const { return Written; } // without the end of track
    Bytes TakeBody() { return std::exchange(Written, {}); }

private:
    void AddDelta(std::int64_t tick);
    void AddNumber(std::uint32_t value);

    Bytes Written;
    std::int64_t Last = 0;
};

// The end of track that follows a body, 4 bytes.
ByteSpan EndOfTrack();
// A track chunk's head, 8 bytes, for a body of that size, end of track included.
Bytes TrackHead(std::size_t size);
// The file's head, 14 bytes. ticks: a quarter note, 1 to 32767.
Bytes FileHead(int format, std::size_t tracks, int ticks);

// A whole file of type 1, or of type 0 if it has one track. Throws Error for a track of 4 GiB.
Bytes Write(const std::vector<TrackWriter>& tracks, int ticks);

// Tempo and meter changes of the map; tempos in percent of what it says.
void AddMap(TrackWriter& track, const TempoMap& map, int percent = 100);

} // namespace midifile
