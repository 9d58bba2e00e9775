// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// One session of the library: its devices, settings, ports and microphone, from start to clean end.
#pragma once

#include "engine/zormidi.h"
#include "host/cli/commands.h"
#include "host/devices/device_selection.h"
#include "host/devices/microphone.h"
#include "host/devices/settings.h"
#include "host/terminal/names.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace zorhost {

struct StartOptions {
    Filter InputFilter;                // messages that do not reach the input queue
    int Sync = ZOR_SYNC_INTERNAL;      // or ZOR_SYNC_EXTERNAL
    bool Thru = false;                 // echo received messages to the outputs
    std::vector<std::uint8_t> ThruMap; // 64 bytes, as returned by ParseChannelMap
};

// The initialised library with its queues. One at a time; all functions on one thread.
class Library {
public:
    // Initialises the library and allocates its queues. Throws HostError if that fails.
    Library();
    // Silences sounding notes and closes everything.
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    // Opens the ports and starts the time base at 0. Throws HostError if a port cannot be opened;
    // the library has shown its own message before that.
    void Start(const StartOptions& options);

    // Appends the records received since the last call, at most the 32,766 of a full queue. The
    // velocity 128 of a clipped microphone becomes 127, since files and devices allow no more.
    static void ReadReceived(std::vector<MIDIEvent>& records);

    // Waits until a record has been received, at most the given time. Returns after at most 4 ms
    // where timer callbacks cannot be observed (on Windows).
    static void AwaitReceived(int milliseconds);

    // Discards queued records and ends all sounding notes. On the channels of the given records it
    // also releases the sustain pedal and centres the pitch bend. Records queued afterwards play.
    static void Silence(std::span<const MIDIEvent> played);

    // Returns the drivers' errors since the last call as text, empty if there were none.
    static std::string ReadErrors();

private:
    bool Thru = false;
};

struct SessionPlan {
    std::vector<std::string> Inputs;  // replace the inputs of the settings; as named by the user
    std::vector<std::string> Outputs; // likewise
    std::string MicrophoneFile;       // sound file to capture; empty for the settings' microphone
    DevicePolicy Policy = DevicePolicy::HardwareOrLoopback;
    bool MicrophoneOn = false; // whatever the settings say, with its notes on channel 1
    int MicrophoneNumber = 1;  // which of the computer's, from 1, if MicrophoneOn without a file
};

class Session {
public:
    // Selects devices and reads the settings. Throws HostError if a port is not available.
    Session(const GlobalOptions& global, const SessionPlan& plan);

    // Attaches the microphone, which Start does otherwise. Throws HostError.
    void AttachMicrophone();
    // Opens the ports and starts the time base at 0. Throws HostError.
    void Start(const StartOptions& options);
    // Silences sounding notes and closes the library.
    void Stop();

    const PortMap& Ports() const { return Map; }
    // Null if no microphone is used or it is one of the computer's. Valid after AttachMicrophone.
    const Microphone* VirtualMicrophone() const { return Mic.get(); }
    // Throws HostError if an output is a loopback to an input of this session, since everything
    // sent would be received again. option: the sending option, for the message.
    void RefuseLoop(const std::string& option) const;

private:
    const DeviceSelection Devices;
    const SessionPlan Plan;
    SessionSettings Settings;
    PortMap Map;
    bool Attached = false;
    std::unique_ptr<Microphone> Mic;
    std::optional<Library> Lib;
};

} // namespace zorhost
