// The library as this host runs it: on a machine, by the settings, with ports and a microphone; up,
// open, timed, and down again whatever happens.
#pragma once

#include "engine/zormidi.h"
#include "host/cli/commands.h"
#include "host/devices/device_selection.h"
#include "host/devices/microphone.h"
#include "host/terminal/names.h"
#include "host/devices/settings.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace zorhost {

struct StartOptions {
    Filter Keep;                       // what stays out of the input queue
    int Sync = ZOR_SYNC_INTERNAL;      // or ZOR_SYNC_EXTERNAL
    bool Thru = false;                 // send out again what comes in
    std::vector<std::uint8_t> ThruMap; // 64 bytes, as ParseChannelMap gives them
};

class Library {
public:
    // Brings the library up and gives it its queues. Throws HostError.
    Library();
    // Silences what still sounds, closes everything.
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    // Opens the ports and starts the time base at 0. Throws HostError if a port does not open; the
    // library's own message has been shown by then.
    void Start(const StartOptions& options);

    // Appends what has come in since the last call, at most the 16,383 records that the queue
    // holds. A note of a clipped microphone has a velocity of 128 in the library, which no file
    // and no device may get: here it is 127.
    static void TakeReceived(std::vector<MIDIEvent>& records);

    // Waits until something has come in, for so many milliseconds at the most. Where the machine
    // does not tell, it returns after 4.
    static void AwaitReceived(int milliseconds);

    // Throws away what is queued and ends every note that sounds; pedals and bends too on the
    // channels that the given records play on. What is queued after that plays.
    static void Silence(std::span<const MIDIEvent> played);

    // Errors of the drivers since the last call, as text; empty if there were none.
    static std::string TakeErrors();

private:
    bool Thru = false;
};

struct SessionPlan {
    std::vector<std::string> Inputs;  // in place of those of the settings; as the user names them
    std::vector<std::string> Outputs; // likewise
    std::string Microphone;           // the sound file that it hears; empty: as the settings say
    Cables Joined = Cables::Shared;
    bool Listens = false; // the microphone is on anyway, with its notes on channel 1
    int Device = 1;       // then: which of this computer's, if there is no sound file
};

class Session {
public:
    // Throws HostError.
    Session(const GlobalOptions& global, const SessionPlan& plan);

    // Plugs the microphone in, which Start does otherwise. Throws HostError.
    void PlugIn();
    // Opens the ports and starts the time base at 0. Throws HostError.
    void Start(const StartOptions& options);
    // Silences, and closes all.
    void Stop();

    const PortMap& Ports() const { return Map; }
    // Once plugged in; null without one that is not this computer's.
    const Microphone* Ear() const { return Mic.get(); }
    // Throws HostError if an output in use plays into an input in use on this machine: what is sent
    // there would come in again. option: that which sends.
    void RefuseLoop(const std::string& option) const;

private:
    const Machine On;
    const SessionPlan Plan;
    RunSettings Settings;
    PortMap Map;
    bool Plugged = false;
    std::unique_ptr<Microphone> Mic;
    std::optional<Library> Lib;
};

} // namespace zorhost
