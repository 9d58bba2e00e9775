// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "tests/host/midi_bytes.h"

#include "midifile/writer.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

Bytes Tempo(unsigned length) {
    const auto byte = [length](int shift) { return static_cast<unsigned char>(length >> shift); };
    return {0xFF, 0x51, 3, byte(16), byte(8), byte(0)};
}

Bytes MidiBytes(int ticksPerQuarter, const std::vector<TrackEvents>& tracks) {
    std::vector<midifile::TrackWriter> written(tracks.size());
    for (std::size_t i = 0; i < tracks.size(); ++i)
        for (const TimedMessage& event : tracks[i]) written[i].Add(event.Tick, event.Message);
    return midifile::Write(written, ticksPerQuarter);
}

void WriteBytes(const std::string& name, const Bytes& bytes) {
    std::ofstream file(name, std::ios::binary);
    for (const unsigned char byte : bytes) file.put(static_cast<char>(byte));
}

void WriteMidi(const std::string& name, int ticksPerQuarter,
               const std::vector<TrackEvents>& tracks) {
    WriteBytes(name, MidiBytes(ticksPerQuarter, tracks));
}

std::string ReadCsv(const std::string& path) {
    std::FILE* const reader = popen(("midicsv '" + path + "' 2>&1").c_str(), "r");
    std::string text;
    for (int c = std::fgetc(reader); c != EOF; c = std::fgetc(reader)) text += static_cast<char>(c);
    EXPECT_EQ(pclose(reader), 0) << path;
    return text;
}

std::vector<TimedMessage> ReadBack(const std::string& path, int* ticksPerQuarter) {
    static const char* const kinds[] = {"Note_off_c",  "Note_on_c", "Poly_aftertouch_c",
                                        "Control_c",   "Program_c", "Channel_aftertouch_c",
                                        "Pitch_bend_c"};
    std::vector<TimedMessage> events;
    std::istringstream lines(ReadCsv(path));
    char kind[32];
    int tick = 0;
    unsigned a = 0, b = 0, c = 0;
    for (std::string line; std::getline(lines, line);) {
        if (std::sscanf(line.c_str(), "%*u, %d, %31[^,], %u, %u, %u", &tick, kind, &a, &b, &c) < 2)
            continue;
        if (!std::strcmp(kind, "Header") && ticksPerQuarter) *ticksPerQuarter = static_cast<int>(c);
        const auto known = std::ranges::find(kinds, std::string(kind));
        if (known == std::end(kinds)) continue;
        const auto status = static_cast<unsigned>(0x80 + (known - kinds) * 16);
        if (status == 0xE0) c = b >> 7, b &= 127;
        Bytes message = {static_cast<unsigned char>(status | a), static_cast<unsigned char>(b),
                         static_cast<unsigned char>(c)};
        if (status == 0xC0 || status == 0xD0) message.pop_back();
        events.push_back({tick, message});
    }
    std::ranges::stable_sort(events, {}, &TimedMessage::Tick);
    return events;
}

std::vector<Bytes> Messages(const std::vector<TimedMessage>& events) {
    std::vector<Bytes> plain;
    for (const TimedMessage& event : events) {
        Bytes& message = plain.emplace_back(event.Message);
        if ((message[0] & 0xF0) != 0x80) continue;
        message[0] = static_cast<unsigned char>(message[0] | 0x10);
        message[2] = 0;
    }
    return plain;
}
