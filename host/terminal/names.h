// MIDI in words: what is printed for a record, and what a user may type for a class of messages.
#pragma once

#include "engine/zormidi.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zorhost {

// "1 note", "2 notes".
std::string Counted(std::int64_t count, const std::string& what);

// Middle C, note 60, is C4.
std::string NoteName(int note);

// "note on   C4   velocity 100" and the like, for any record that can come in.
std::string MessageText(const MIDIEvent& event);

// Masks for ZorFilterMIDI.
struct Filter {
    std::uint16_t Classes = 0;
    std::uint16_t System = 0;
};
// Words that ParseFilter takes, for help texts.
std::string FilterWords();
// Each word names what is kept out. Throws HostError for an unknown one.
Filter ParseFilter(const std::vector<std::string>& words);

// Reads "1:10" or "2:3": what comes in on the first channel goes out on the second. Channels count
// from 1, up to 64 in and 256 out. Fills the 64 bytes that ZorEchoMIDI takes; channels that no
// pair names stay as they are. Throws HostError.
std::vector<std::uint8_t> ParseChannelMap(const std::vector<std::string>& pairs);

} // namespace zorhost
