#include "tests/host/midi_bytes.h"

#include "midifile/writer.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>

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

std::vector<TimedMessage> ReadBack(const std::string& path, int* ticksPerQuarter) {
    static const char* const kinds[] = {"Note_off_c",  "Note_on_c", "Poly_aftertouch_c",
                                        "Control_c",   "Program_c", "Channel_aftertouch_c",
                                        "Pitch_bend_c"};
    std::vector<TimedMessage> events;
    std::FILE* const reader = popen(("midicsv '" + path + "' 2>&1").c_str(), "r");
    char line[512], kind[32];
    int tick = 0;
    unsigned a = 0, b = 0, c = 0;
    while (std::fgets(line, sizeof line, reader)) {
        if (std::sscanf(line, "%*u, %d, %31[^,], %u, %u, %u", &tick, kind, &a, &b, &c) < 2)
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
    EXPECT_EQ(pclose(reader), 0) << path;
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
