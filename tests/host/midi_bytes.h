// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Writes MIDI files, and reads them back with midicsv.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;

struct TimedMessage {
    int Tick;
    Bytes Message;
};
using TrackEvents = std::vector<TimedMessage>; // by ascending tick

Bytes Tempo(unsigned microsecondsPerQuarter);

// Builds a file with the project's own writer, which ReadBack verifies: type 1, or type 0 if it has
// one track.
Bytes MidiBytes(int ticksPerQuarter, const std::vector<TrackEvents>& tracks);
void WriteBytes(const std::string& name, const Bytes& bytes);
void WriteMidi(const std::string& name, int ticksPerQuarter,
               const std::vector<TrackEvents>& tracks);

// Returns the contents of a file as lines of text: track, tick, kind, values.
std::string ReadCsv(const std::string& path);
// Returns the channel messages of a file, merged by time. Fails the test and returns none if the
// file is not valid.
std::vector<TimedMessage> ReadBack(const std::string& path, int* ticksPerQuarter = nullptr);

// Returns the messages as a port sends them: a note off becomes a note on with velocity 0.
std::vector<Bytes> Messages(const std::vector<TimedMessage>& events);
