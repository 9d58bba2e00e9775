// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The computer's own devices instead of virtual ones. Thread, unless noted: the steering one, while
// the library is closed.
#pragma once

#include <string>
#include <vector>

namespace machine {

// Uses this computer's MIDI devices and microphones, as a host that does not steer gets them.
// Returns the result of UseNativeMidi; a missing microphone is reported when one is opened.
std::string UseNative();

// Removes all MIDI devices and adds those of this computer, until PowerOn also as they are plugged
// in and pulled out. Uses the first back end that works (registry/back_ends.h). Returns an empty
// string if one does, even if no device is plugged in, else the reason.
std::string UseNativeMidi();

// Uses this computer's microphones, as at load, until PowerOn or until AddMicrophone is called. The
// sound server is contacted when the library or FindMicrophones lists microphones. Requires the
// real clock.
void UseNativeMicrophones();

// A microphone of this computer. Id identifies it permanently. Name is for people to read, 31 bytes
// at most, unique while this process runs.
struct FoundMicrophone {
    std::string Id;
    std::string Name;
    bool IsMonitor;        // captures what is played: no microphone
    unsigned ConnectionId; // differs each time that it is plugged in
};
// The microphones that are plugged in, in the order of their numbers, the default one first. Waits
// for the sound server, two seconds at most. Thread: any.
std::vector<FoundMicrophone> FindMicrophones();
// The reason why the last search in this process found none, as a sentence; empty if it found some.
// Thread: any.
std::string MicrophoneProblem();

// Makes a microphone the default one of this process while it is plugged in; empty for the system's
// default. Thread: any.
void PreferMicrophone(const std::string& id);

} // namespace machine
