#include "tests/host/midi_bytes.h"

#include "tests/host/program.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <map>

namespace {

void Append(Bytes& to, const Bytes& more) { to.insert(to.end(), more.begin(), more.end()); }

void AppendNumber(Bytes& to, std::size_t value, int bytes) {
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) {
        to.push_back(static_cast<unsigned char>(value >> shift & 255));
    }
}

void AppendDelta(Bytes& to, int value) {
    for (int shift = 21; shift > 0; shift -= 7) {
        if (value >> shift) to.push_back(static_cast<unsigned char>((value >> shift & 127) | 128));
    }
    to.push_back(static_cast<unsigned char>(value & 127));
}

} // namespace

Bytes Tempo(int length) {
    Bytes bytes = {0xFF, 0x51, 3};
    AppendNumber(bytes, static_cast<std::size_t>(length), 3);
    return bytes;
}

Bytes TimeSignature(int beats, int power) {
    return {0xFF, 0x58, 4, static_cast<unsigned char>(beats), static_cast<unsigned char>(power),
            24,   8};
}

Bytes TrackChunk(const TrackEvents& events) {
    Bytes body;
    int last = 0;
    for (const TimedMessage& event : events) {
        AppendDelta(body, event.Tick - last);
        Append(body, event.Message);
        last = event.Tick;
    }
    Append(body, {0, 0xFF, 0x2F, 0});
    Bytes chunk = {'M', 'T', 'r', 'k'};
    AppendNumber(chunk, body.size(), 4);
    Append(chunk, body);
    return chunk;
}

Bytes MidiBytes(int format, int ticksPerQuarter, const std::vector<TrackEvents>& tracks) {
    Bytes bytes = {'M', 'T', 'h', 'd', 0, 0, 0, 6, 0, static_cast<unsigned char>(format)};
    AppendNumber(bytes, tracks.size(), 2);
    AppendNumber(bytes, static_cast<std::size_t>(ticksPerQuarter), 2);
    for (const TrackEvents& track : tracks) Append(bytes, TrackChunk(track));
    return bytes;
}

std::string WriteBytes(const std::string& name, const Bytes& bytes) {
    const std::string path = InFolder(name);
    std::ofstream file(path, std::ios::binary);
    for (const unsigned char byte : bytes) file.put(static_cast<char>(byte));
    return path;
}

std::string WriteMidi(const std::string& name, int format, int ticksPerQuarter,
                      const std::vector<TrackEvents>& tracks) {
    return WriteBytes(name, MidiBytes(format, ticksPerQuarter, tracks));
}

std::vector<TimedMessage> ReadBack(const std::string& path, int* ticksPerQuarter) {
    static const std::map<std::string, unsigned> kinds = {
        {"Note_off_c", 0x80},  {"Note_on_c", 0x90}, {"Poly_aftertouch_c", 0xA0},
        {"Control_c", 0xB0},   {"Program_c", 0xC0}, {"Channel_aftertouch_c", 0xD0},
        {"Pitch_bend_c", 0xE0}};
    std::vector<TimedMessage> events;
    std::FILE* const reader = popen(("midicsv '" + path + "' 2>&1").c_str(), "r");
    char line[512], kind[32];
    int tick = 0;
    unsigned a = 0, b = 0, c = 0;
    while (std::fgets(line, sizeof line, reader)) {
        if (std::sscanf(line, "%*u, %d, %31[^,], %u, %u, %u", &tick, kind, &a, &b, &c) < 2)
            continue;
        if (!std::strcmp(kind, "Header") && ticksPerQuarter) *ticksPerQuarter = static_cast<int>(c);
        const auto known = kinds.find(kind);
        if (known == kinds.end()) continue;
        if (known->second == 0xE0) c = b >> 7, b &= 127;
        const unsigned char bytes[] = {static_cast<unsigned char>(known->second | a),
                                       static_cast<unsigned char>(b),
                                       static_cast<unsigned char>(c)};
        const bool one = known->second == 0xC0 || known->second == 0xD0;
        events.push_back({tick, Bytes(bytes, bytes + (one ? 2 : 3))});
    }
    EXPECT_EQ(pclose(reader), 0) << path;
    std::ranges::stable_sort(events, {}, &TimedMessage::Tick);
    return events;
}

Bytes Plain(Bytes message) {
    if ((message[0] & 0xF0) == 0x80) {
        message[0] = static_cast<unsigned char>(message[0] | 0x10);
        message[2] = 0;
    }
    return message;
}

std::vector<Bytes> Messages(const std::vector<TimedMessage>& events) {
    std::vector<Bytes> plain;
    for (const TimedMessage& event : events) plain.push_back(Plain(event.Message));
    return plain;
}
