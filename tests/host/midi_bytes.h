// MIDI files written, and read back by a program that is not ours.
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

// A file as our own writer makes it, which ReadBack vouches for: of type 1, or of type 0 if it has
// one track.
Bytes MidiBytes(int ticksPerQuarter, const std::vector<TrackEvents>& tracks);
void WriteBytes(const std::string& name, const Bytes& bytes);
void WriteMidi(const std::string& name, int ticksPerQuarter,
               const std::vector<TrackEvents>& tracks);

// All of a file as lines of text: track, tick, kind, values.
std::string ReadCsv(const std::string& path);
// The channel messages of a file, merged by time. Fails the test and gives none if it is no valid
// file.
std::vector<TimedMessage> ReadBack(const std::string& path, int* ticksPerQuarter = nullptr);

// As a port sends them on: a note off counts as a note on with velocity 0.
std::vector<Bytes> Messages(const std::vector<TimedMessage>& events);
