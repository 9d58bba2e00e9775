// The computer's own devices in place of the virtual ones. Thread: the one that steers; the library
// must be closed.
#pragma once

#include <string>
#include <vector>

namespace machine {

// From now on, as at load and until PowerOn, the microphones of this computer are there wherever
// none has been added by AddMicrophone. The sound server is asked when the library, or
// FindMicrophones, first wants one. Goes with the real clock.
void UseNativeMicrophones();

// Why there are none; empty if they could be asked for. Thread: any.
std::string MicrophoneProblem();

// A microphone as people see it. Id is what to know it by, for good; Name what is shown of it, by
// which no other one is called while this process runs.
struct FoundMicrophone {
    std::string Id;
    std::string Name;
    bool Monitor; // no microphone, but what is played somewhere
};
// Those that are there, in the order of their numbers, the default one first. Waits for the sound
// server, two seconds at the most. Thread: any.
std::vector<FoundMicrophone> FindMicrophones();

// The microphone that is to be the default one, in this process and while it is there; empty for
// that of the system. Thread: any.
void PreferMicrophone(const std::string& id);

} // namespace machine
