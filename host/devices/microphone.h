// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The microphone that the library captures from: one of the computer's, a sound file or silence.
#pragma once

#include "host/devices/settings.h"
#include "platform/machine.h"

#include <cstdint>
#include <memory>
#include <string>

namespace zorhost {

class PlayedFile;

// A virtual microphone, which replaces the computer's. Not available on Windows. Thread: any, but
// StartTime only on the one that runs the library.
class Microphone {
public:
    // Plays the file once, from the moment when capture starts. Throws HostError if it cannot be
    // read as sound.
    explicit Microphone(const std::string& path);
    // Silence.
    Microphone();

    double Seconds() const; // length of the file; 0 for silence
    // Seconds of the file captured so far.
    double SecondsCaptured() const;
    bool Ended() const; // true once the whole file has been captured
    // Throws HostError if the file could not be read to its end.
    void CheckRead() const;
    // When the file's first sample was captured, in milliseconds of the running time base, negative
    // if before its start; exact to 1 ms. Valid once some of the file has been captured.
    std::int64_t StartTime() const;

private:
    std::string Path;
    std::shared_ptr<PlayedFile> File; // null for silence
    machine::Microphone Device;
};

// Channel of the notes, from 1, if --mic switches the microphone on: the first one after the 64
// channels of four input ports.
constexpr int MicrophoneFileChannel = 65;

// Milliseconds of silence captured after a sound file, in which its last note ends.
constexpr int MicrophoneTail = 500;

// Selects one of the computer's microphones by number, from 1, and prints its name on standard
// error. Throws HostError if there is none of that number; the message lists all.
void SelectMicrophone(int number);

// Returns a microphone that plays the file if one is given, or silence if the settings switch the
// microphone on and the computer has none (with a warning on standard error); null if the
// computer's microphone, or none, is used. Throws HostError.
std::unique_ptr<Microphone> MakeVirtualMicrophone(const std::string& file, const PortMap& map);

} // namespace zorhost
