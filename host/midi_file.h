// A Standard MIDI File, read whole and merged into one line of events.
#pragma once

#include "host/tempo_map.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace zorhost {

struct FileEvent {
    std::int64_t Tick;
    std::uint8_t Status; // 0x80 to 0xEF, channel included
    std::uint8_t Data1;
    std::uint8_t Data2; // 0 where the message has one data byte
};

// Data bytes of a channel message with that status: 1 or 2.
constexpr int DataBytes(std::uint8_t status) {
    return (status & 0xF0) == 0xC0 || (status & 0xF0) == 0xD0 ? 1 : 2;
}

struct MidiFile {
    int Format = 0;
    int Tracks = 0;
    TempoMap Map{480};
    std::vector<FileEvent> Events; // by tick; equal ticks as in the file, first track first
    std::int64_t EndTick = 0;      // of the last event of any kind
    int SystemExclusive = 0;       // messages left out: the library carries none
};

// Reads types 0 and 1 with a division in ticks a quarter note. Throws HostError with a text for the
// user for everything else, a damaged file included.
MidiFile ReadMidiFile(const std::string& path);
// The same from memory; path is for the texts.
MidiFile ParseMidiFile(const std::string& path, std::span<const unsigned char> bytes);

} // namespace zorhost
