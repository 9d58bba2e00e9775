// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Text for MIDI messages: how records are printed, and the words that options accept.
#pragma once

#include "engine/zormidi.h"
#include "midi/status.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zorhost {

// Returns a count with its noun: "1 note", "2 notes".
std::string Counted(std::int64_t count, const std::string& what);

// Returns the name of a key, 0 to 127. Middle C, 60, is "C4".
std::string NoteName(int note);

// Describes any record that can be received: "note on   C4   velocity 100".
std::string MessageText(const MIDIEvent& event);

// Masks for ZorFilterMIDI.
struct Filter {
    std::uint16_t Classes = 0;
    std::uint16_t System = 0;
};
// The bit of Filter::System for a system status byte.
constexpr std::uint16_t SystemBit(std::uint8_t status) {
    return static_cast<std::uint16_t>(1 << (status - midi::FirstSystemStatus));
}
// Returns the words that ParseFilter accepts, for help texts.
std::string FilterWords();
// Returns the masks that filter out the named kinds of messages. Throws HostError for an unknown
// word.
Filter ParseFilter(const std::vector<std::string>& words);

// Parses pairs such as "1:10", which sends messages of input channel 1 on output channel 10.
// Channels count from 1, up to 64 for input and 256 for output. Returns the 64 bytes for
// ZorEchoMIDI; other channels map to themselves. Throws HostError.
std::vector<std::uint8_t> ParseChannelMap(const std::vector<std::string>& pairs);

} // namespace zorhost
