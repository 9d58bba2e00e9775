// A Standard MIDI File in memory.
#pragma once

#include "midifile/tempo_map.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace midifile {

using Bytes = std::vector<unsigned char>;
using ByteSpan = std::span<const unsigned char>;

// The status byte of a meta event; on a wire it is a system reset.
constexpr std::uint8_t MetaStatus = 0xFF;

enum MetaType : std::uint8_t {
    MetaText = 0x01,
    MetaTrackName = 0x03,
    MetaEndOfTrack = 0x2F,
    MetaTempo = 0x51,
    MetaMeter = 0x58,
    MetaKey = 0x59,
};

// Any event of a track, as it stands in the file.
struct TrackEvent {
    std::int64_t Tick = 0;
    std::uint8_t Status = 0; // MetaStatus for a meta event, F0 and F7 for system exclusive
    std::uint8_t Type = 0;   // of a meta event
    ByteSpan Data;           // within Song::File
};

// A channel message on its way to a port.
struct Event {
    std::int64_t Tick;
    std::uint16_t Track; // from 0
    std::uint8_t Status; // 0x80 to 0xEF, channel included
    std::uint8_t Data1;
    std::uint8_t Data2; // 0 where the message has one data byte
};

struct Song {
    Song() = default;
    Song(const Song&) = delete; // events point into File
    Song& operator=(const Song&) = delete;
    Song(Song&&) = default;
    Song& operator=(Song&&) = default;

    Bytes File;
    int Format = 0;
    std::vector<std::vector<TrackEvent>> Tracks; // each by tick, without the end of track
    TempoMap Map{480};
    std::vector<Event> Events;         // of all tracks by tick; equal ticks first track first
    std::int64_t EndTick = 0;          // of the last event of any kind, ends of tracks included
    int SystemExclusive = 0;           // messages among the tracks' events
    std::vector<std::string> Findings; // what was put right or left out, one line a kind
};

} // namespace midifile
