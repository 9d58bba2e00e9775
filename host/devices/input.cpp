// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/devices/input.h"

#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"

#include <cstdio>

namespace zorhost {

namespace {

void PrintInputs(const PortMap& map) {
    std::string names;
    for (const Port& port : map.Inputs) {
        if (!port.Device.empty()) names += (names.empty() ? "" : ", ") + port.Device;
    }
    if (map.MicrophoneOn) names += (names.empty() ? "" : ", ") + std::string("the microphone");
    std::fprintf(stderr, "Listening to %s; press Ctrl-C to stop\n",
                 names.empty() ? "nothing: no input found" : names.c_str());
}

} // namespace

void InputOptions::AddTo(const Command& command) {
    AddInputs(command, Inputs, "Input to listen to");
    command.Value("--filter", Filter, "Ignore messages of these kinds: " + FilterWords())
        .CommaSeparated()
        .ValueName("KIND,...");
    const Option thru = AddOutputs(command, "--thru", ThruOutputs,
                                   "Output to send received messages to at once, filtered or not");
    command
        .Value("--map", ThruMap, "With --thru: change channels, 1:10 sends input channel 1 on 10")
        .CommaSeparated()
        .ValueName("IN:OUT,...")
        .Needs(thru);
    AddMicrophoneFile(command, MicrophoneFile);
    AddSeconds(command, Seconds);
}

SessionPlan InputOptions::Plan() const {
    return {Inputs, ThruOutputs, MicrophoneFile, DevicePolicy::HardwareOrLoopback};
}

StartOptions InputOptions::Start() const {
    StartOptions start;
    start.InputFilter = ParseFilter(Filter);
    start.Thru = !ThruOutputs.empty();
    start.ThruMap = ParseChannelMap(ThruMap);
    return start;
}

void ReceiveUntilStopped(Session& session, const InputOptions& options, std::int64_t countIn,
                         int interval,
                         const std::function<bool(const std::vector<MIDIEvent>&)>& deliver) {
    const StartOptions start = options.Start();
    const double end = options.Seconds * 1000 + static_cast<double>(countIn);
    session.Start(start);
    PrintInputs(session.Ports());
    std::vector<MIDIEvent> records;
    for (bool last = false; !last;) {
        Library::AwaitReceived(interval);
        last = Interrupted() || (options.Seconds > 0 && ZorTimeMIDI(0) >= end);
        records.clear();
        Library::ReadReceived(records);
        if (!deliver(records)) last = true;
    }
    if (start.Thru) Library::Silence({});
}

} // namespace zorhost
