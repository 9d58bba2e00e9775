// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/terminal/names.h"

#include "host/terminal/general_midi.h"
#include "host/terminal/host_error.h"

#include <array>
#include <cstdio>

namespace zorhost {

namespace {

// A word for --filter, and the masks of ZorFilterMIDI that remove its messages.
struct FilterWord {
    const char* Word;
    Filter Masks;
};
constexpr std::uint16_t SystemClass = 1 << 7;
constexpr std::array<FilterWord, 14> Words = {{
    {"notes", {0x03, 0}},
    {"noteoff", {0x01, 0}},
    {"noteon", {0x02, 0}},
    {"polypressure", {0x04, 0}},
    {"control", {0x08, 0}},
    {"program", {0x10, 0}},
    {"pressure", {0x20, 0}},
    {"bend", {0x40, 0}},
    {"system", {SystemClass, 0xFFFF}},
    {"songposition", {SystemClass, SystemBit(midi::SongPosition)}},
    {"songselect", {SystemClass, SystemBit(midi::SongSelect)}},
    {"tune", {SystemClass, SystemBit(midi::TuneRequest)}},
    {"clock", {SystemClass, SystemBit(midi::TimingClock)}},
    {"transport",
     {SystemClass, SystemBit(midi::Start) | SystemBit(midi::Continue) | SystemBit(midi::Stop)}},
}};

// For system messages without data bytes.
const char* SystemText(std::uint8_t status) {
    switch (status) {
    case midi::TuneRequest:
        return "tune request";
    case midi::TimingClock:
        return "clock";
    case midi::Start:
        return "start";
    case midi::Continue:
        return "continue";
    case midi::Stop:
        return "stop";
    default:
        return "system";
    }
}

std::string Trimmed(std::string text) {
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

} // namespace

std::string Counted(std::int64_t count, const std::string& what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string NoteName(int note) {
    static constexpr const char* names[] = {"C",  "C#", "D",  "D#", "E",  "F",
                                            "F#", "G",  "G#", "A",  "A#", "B"};
    return names[note % 12] + std::to_string(note / 12 - 1);
}

std::string MessageText(const MIDIEvent& event) {
    char text[64];
    const int first = event.Data1;
    const int second = event.Data2;
    const auto print = [&](const char* format, auto... values) {
        std::snprintf(text, sizeof text, format, values...);
    };
    switch (midi::MessageType(event.Status)) {
    case midi::NoteOff:
        print("note off  %-4s velocity %d", NoteName(first).c_str(), second);
        break;
    case midi::NoteOn:
        print("note on   %-4s velocity %d", NoteName(first).c_str(), second);
        break;
    case midi::KeyPressure:
        print("pressure  %-4s %d", NoteName(first).c_str(), second);
        break;
    case midi::ControlChange:
        print("control   %-4d value %-4d%s", first, second, ControllerName(first));
        break;
    case midi::ProgramChange:
        print("program   %-4d %s", first + 1, ProgramName(first));
        break;
    case midi::ChannelPressure:
        print("pressure  %d", first);
        break;
    case midi::PitchBend:
        print("bend      %+d", (second << 7 | first) - 8192);
        break;
    default:
        if (event.Status == midi::SongPosition) {
            print("song position %d", second << 7 | first);
        } else if (event.Status == midi::SongSelect) {
            print("song select %d", first);
        } else {
            print("%s", SystemText(event.Status));
        }
    }
    return Trimmed(text);
}

std::string FilterWords() {
    std::string all;
    for (const FilterWord& word : Words) all += (all.empty() ? "" : ", ") + std::string(word.Word);
    return all;
}

Filter ParseFilter(const std::vector<std::string>& words) {
    Filter filter;
    for (const std::string& word : words) {
        bool known = false;
        for (const FilterWord& candidate : Words) {
            if (word != candidate.Word) continue;
            filter.Classes |= candidate.Masks.Classes;
            filter.System |= candidate.Masks.System;
            known = true;
        }
        if (!known) {
            throw HostError("--filter: unknown kind \"" + word + "\"; known: " + FilterWords(),
                            ExitWrongUse);
        }
    }
    return filter;
}

std::vector<std::uint8_t> ParseChannelMap(const std::vector<std::string>& pairs) {
    std::vector<std::uint8_t> map(64);
    for (std::size_t i = 0; i < map.size(); ++i) map[i] = static_cast<std::uint8_t>(i);
    for (const std::string& pair : pairs) {
        int from = 0;
        int to = 0;
        int used = 0;
        if (std::sscanf(pair.c_str(), "%3d:%3d%n", &from, &to, &used) != 2 ||
            static_cast<std::size_t>(used) != pair.size() || from < 1 || from > 64 || to < 1 ||
            to > 256) {
            throw HostError("--map: expected pairs like 1:10 (input 1 to 64, output 1 to 256), not "
                            "\"" +
                                pair + "\"",
                            ExitWrongUse);
        }
        map[static_cast<std::size_t>(from - 1)] = static_cast<std::uint8_t>(to - 1);
    }
    return map;
}

} // namespace zorhost
