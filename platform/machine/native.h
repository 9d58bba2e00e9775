// The computer's own devices in place of the virtual ones. Where no thread is named: the one that
// steers; the library must be closed.
#pragma once

#include <string>
#include <vector>

namespace machine {

// This computer's MIDI devices and microphones, as a host that does not steer gets them. Gives what
// UseNativeMidi gives; that there is no microphone is said when one is wanted.
std::string UseNative();

// Forgets the MIDI devices there are, and finds those of this computer, from now on also as they
// are plugged in and pulled out, until PowerOn. Gives nothing if they could be asked for, also if
// there is none now, or else a sentence that says why there are none.
std::string UseNativeMidi();

// From now on, as at load and until PowerOn, the microphones are those of this computer, unless one
// is added by AddMicrophone. The sound server is not asked before the library, or FindMicrophones,
// wants one. Goes with the real clock.
void UseNativeMicrophones();

// A microphone of this computer. Id is what to know it by, for good; Name is what is shown of it,
// in 31 characters that no other one has while this process runs.
struct FoundMicrophone {
    std::string Id;
    std::string Name;
    bool Monitor;   // no microphone, but what is played somewhere
    unsigned Visit; // another one each time that it is plugged in
};
// Those that are there, in the order of their numbers, the default one first. Waits for the sound
// server, two seconds at the most. Thread: any.
std::vector<FoundMicrophone> FindMicrophones();
// Why the last search, by whomever, found none; a sentence, or empty. Thread: any.
std::string MicrophoneProblem();

// Makes a microphone the default one in this process, while it is there; empty for the system's
// default. Thread: any.
void PreferMicrophone(const std::string& id);

} // namespace machine
