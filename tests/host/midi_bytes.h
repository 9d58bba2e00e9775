// MIDI files made byte by byte, and read back by a program that is not ours.
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

Bytes Tempo(int microsecondsPerQuarter);
Bytes TimeSignature(int beats, int power);

Bytes TrackChunk(const TrackEvents& events);
Bytes MidiBytes(int format, int ticksPerQuarter, const std::vector<TrackEvents>& tracks);
// Gives the path.
std::string WriteBytes(const std::string& name, const Bytes& bytes);
std::string WriteMidi(const std::string& name, int format, int ticksPerQuarter,
                      const std::vector<TrackEvents>& tracks);

// The channel messages of a file, merged by time. Fails the test and gives none if it is no valid
// file.
std::vector<TimedMessage> ReadBack(const std::string& path, int* ticksPerQuarter = nullptr);

// As a port sends it on: a note off counts as a note on with velocity 0.
Bytes Plain(Bytes message);
std::vector<Bytes> Messages(const std::vector<TimedMessage>& events);
