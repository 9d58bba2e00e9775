// All that a command needs to run the library: a machine, settings, ports, a microphone.
#pragma once

#include "host/commands.h"
#include "host/library.h"
#include "host/machine.h"
#include "host/microphone.h"
#include "host/port_map.h"
#include "host/settings.h"

#include <memory>
#include <optional>

namespace zorhost {

struct SessionPlan {
    std::vector<std::string> Inputs;  // in place of those of the settings; as the user names them
    std::vector<std::string> Outputs; // likewise
    std::string Microphone;           // the sound file that it hears; empty: as the settings say
    Cables Joined = Cables::Shared;
};

class Session {
public:
    // Throws HostError.
    Session(const GlobalOptions& global, const SessionPlan& plan);

    // Opens the ports and starts the time base at 0. Throws HostError.
    void Start(const StartOptions& options);
    // Silences, and closes all.
    void Stop();

    const PortMap& Ports() const { return Map; }
    const Microphone* Ear() const { return Mic.get(); } // null without one
    // Throws HostError if an output in use plays into an input in use on this machine: what is sent
    // there would come in again. option: that which sends.
    void RefuseLoop(const std::string& option) const;

private:
    const Machine On;
    RunSettings Settings;
    PortMap Map;
    std::unique_ptr<Microphone> Mic;
    std::optional<Library> Lib;
};

} // namespace zorhost
