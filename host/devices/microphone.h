// What the library's microphone hears: a microphone of this computer, a sound file or silence.
#pragma once

#include "host/devices/settings.h"
#include "platform/machine.h"

#include <cstdint>
#include <memory>
#include <string>

namespace zorhost {

class PlayedFile;

// One that the machine has in place of this computer's.
class Microphone {
public:
    // Hears the file from the moment that capture starts, once. Throws HostError if it is no sound.
    explicit Microphone(const std::string& path);
    // Hears silence.
    Microphone();

    double Seconds() const; // of the file; 0 without one
    // Of the file, captured so far.
    double SecondsHeard() const;
    bool Ended() const; // the whole file has been captured
    // Throws HostError if the file could not be read to its end.
    void CheckRead() const;
    // When the file's first sample sounded, in milliseconds of the library's time base, which must
    // run; negative if before its start. Right to a millisecond. Once some of it has been captured.
    std::int64_t StartTime() const;

private:
    std::string Path;
    std::shared_ptr<PlayedFile> File; // null for silence
    machine::Microphone Device;
};

// The channel of the microphone's notes where --mic switches it on: behind those of four ports.
constexpr int MicrophoneChannel = 65;

// Milliseconds of silence after a sound file, in which its last note ends.
constexpr int MicrophoneTail = 500;

// Makes the microphone of that number, from 1, the one that is heard, and says on standard error
// which it is. Throws HostError if it is not there, naming those that are.
void ChooseMicrophone(int number);

// What a run needs that is not to hear a microphone of this computer: one that hears the file if
// one is given; a silent one, with a word on standard error, if the settings switch the microphone
// on and there is none. Else null.
std::unique_ptr<Microphone> PlugMicrophone(const std::string& file, const PortMap& map);

} // namespace zorhost
