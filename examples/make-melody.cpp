// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Writes examples/melody.mid: the theme of the last movement of Ludwig van Beethoven's ninth
// symphony (1824), for one flute, at 108 quarter notes per minute.
//
//   make-melody FILE.mid
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr int Quarter = 480;
constexpr int MicrosecondsPerQuarter = 60000000 / 108;
constexpr unsigned char Flute = 73; // General MIDI program, from 0

// Note numbers, each with its length in quarter notes; a gap of a sixteenth precedes the next note.
constexpr char Theme[] =
    "66 1 66 1 67 1 69 1 69 1 67 1 66 1 64 1 62 1 62 1 64 1 66 1 66 1.5 64 .5 64 2 "
    "66 1 66 1 67 1 69 1 69 1 67 1 66 1 64 1 62 1 62 1 64 1 66 1 64 1.5 62 .5 62 2 ";
constexpr int Octave = 12; // transposition in semitones, into the flute's range

using Bytes = std::vector<unsigned char>;

void AppendDelta(Bytes& track, int ticks) {
    if (ticks >= 128) track.push_back(static_cast<unsigned char>(ticks >> 7 | 128));
    track.push_back(static_cast<unsigned char>(ticks & 127));
}

Bytes Track() {
    Bytes track = {0,
                   0xFF,
                   0x51,
                   3,
                   MicrosecondsPerQuarter >> 16,
                   MicrosecondsPerQuarter >> 8 & 255,
                   MicrosecondsPerQuarter & 255,
                   0,
                   0xC0,
                   Flute,
                   0,
                   0xB0,
                   91,
                   0}; // no reverberation
    std::istringstream words(Theme);
    int key = 0;
    double quarters = 0;
    int rest = Quarter; // before the first note
    while (words >> key >> quarters) {
        const int length = static_cast<int>(quarters * Quarter);
        AppendDelta(track, rest);
        for (const int byte : {0x90, key + Octave, 96})
            track.push_back(static_cast<unsigned char>(byte));
        rest = Quarter / 4;
        AppendDelta(track, length - rest);
        for (const int byte : {0x80, key + Octave, 64})
            track.push_back(static_cast<unsigned char>(byte));
    }
    for (const int byte : {0, 0xFF, 0x2F, 0}) track.push_back(static_cast<unsigned char>(byte));
    return track;
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        std::fprintf(stderr, "usage: make-melody FILE.mid\n");
        return 2;
    }
    const Bytes track = Track();
    Bytes file = {'M',
                  'T',
                  'h',
                  'd',
                  0,
                  0,
                  0,
                  6,
                  0,
                  0,
                  0,
                  1,
                  Quarter >> 8,
                  Quarter & 255,
                  'M',
                  'T',
                  'r',
                  'k',
                  0,
                  0,
                  static_cast<unsigned char>(track.size() >> 8),
                  static_cast<unsigned char>(track.size() & 255)};
    file.insert(file.end(), track.begin(), track.end());
    std::FILE* out = std::fopen(arguments[1], "wb");
    const bool written = out && std::fwrite(file.data(), 1, file.size(), out) == file.size();
    if ((out && std::fclose(out) != 0) || !written) {
        std::fprintf(stderr, "make-melody: \"%s\" cannot be written\n", arguments[1]);
        return 1;
    }
    return 0;
}
