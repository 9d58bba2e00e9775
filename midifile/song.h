// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

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

// Any event of a track except its end.
struct TrackEvent {
    std::int64_t Tick = 0;
    std::uint8_t Status = 0; // MetaStatus for a meta event, 0xF0 and 0xF7 for system exclusive
    std::uint8_t Type = 0;   // a MetaType or another value, for a meta event only
    ByteSpan Data;           // bytes of Song::File
};

// A channel message of the song.
struct Event {
    std::int64_t Tick;
    std::uint16_t Track; // from 0
    std::uint8_t Status; // 0x80 to 0xEF, channel included
    std::uint8_t Data1;
    std::uint8_t Data2; // 0 if the message has one data byte
};

struct Song {
    Song() = default;
    Song(const Song&) = delete; // TrackEvent::Data refers to File
    Song& operator=(const Song&) = delete;
    Song(Song&&) = default;
    Song& operator=(Song&&) = default;

    Bytes File;                                  // as it was read, except for corrected data bytes
    int Format = 0;                              // type 0, 1 or 2
    std::vector<std::vector<TrackEvent>> Tracks; // events by tick, without end-of-track events
    TempoMap Map{480};
    std::vector<Event> Events;         // of all tracks by tick, then by track
    std::int64_t EndTick = 0;          // of the last event of any kind, including ends of tracks
    int SystemExclusive = 0;           // number of such messages
    std::vector<std::string> Warnings; // repaired faults, one line per kind
};

} // namespace midifile
