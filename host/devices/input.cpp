#include "host/devices/input.h"

#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"

#include <cstdio>

namespace zorhost {

namespace {

void SayListening(const PortMap& map) {
    std::string names;
    for (const Port& port : map.Inputs) {
        if (!port.Device.empty()) names += (names.empty() ? "" : ", ") + port.Device;
    }
    if (map.Microphone) names += (names.empty() ? "" : ", ") + std::string("the microphone");
    std::fprintf(stderr, "Listening to %s; Ctrl-C ends\n",
                 names.empty() ? "nothing: no input is there" : names.c_str());
}

} // namespace

void InputOptions::AddTo(const Command& command) {
    AddInputs(command, In, "Input to listen to");
    command.Value("--filter", Filter, "Keep messages out: " + FilterWords())
        .Listed()
        .Named("KIND,...");
    const Option thru = AddOutputs(command, "--thru", Thru,
                                   "Output that plays at once what comes in, filtered or not");
    command.Value("--map", Map, "With --thru: channels to play on, 1:10 for in 1, out 10")
        .Listed()
        .Named("IN:OUT,...")
        .Needs(thru);
    AddMicrophoneFile(command, Mic);
    AddSeconds(command, Seconds);
}

SessionPlan InputOptions::Plan() const { return {In, Thru, Mic, Cables::Shared}; }

StartOptions InputOptions::Start() const {
    StartOptions start;
    start.Keep = ParseFilter(Filter);
    start.Thru = !Thru.empty();
    start.ThruMap = ParseChannelMap(Map);
    return start;
}

void RunInput(Session& session, const InputOptions& options, std::int64_t lead, int interval,
              const std::function<bool(const std::vector<MIDIEvent>&)>& take) {
    const StartOptions start = options.Start();
    const double end = options.Seconds * 1000 + static_cast<double>(lead);
    session.Start(start);
    SayListening(session.Ports());
    std::vector<MIDIEvent> records;
    for (bool last = false; !last;) {
        Library::AwaitReceived(interval);
        last = Interrupted() || (options.Seconds > 0 && ZorTimeMIDI(0) >= end);
        records.clear();
        Library::TakeReceived(records);
        if (!take(records)) last = true;
    }
    if (start.Thru) Library::Silence({});
}

} // namespace zorhost
