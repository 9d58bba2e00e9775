#include "host/input.h"

#include "host/host_error.h"
#include "host/interrupt.h"
#include "host/microphone.h"

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

void InputOptions::AddTo(CLI::App& command) {
    command
        .add_option("--in", In,
                    "Input device to listen to; give it again for several. Without it: the "
                    "inputs of the settings")
        ->allow_extra_args(false)
        ->type_name("NAME");
    command.add_option("--filter", Filter, "Keep messages out: " + FilterWords())
        ->allow_extra_args(false)
        ->type_name("KIND,...")
        ->delimiter(',');
    command
        .add_option("--thru", Thru,
                    "Output device that plays at once what comes in, filtered or not; give it "
                    "again for several")
        ->allow_extra_args(false)
        ->type_name("NAME");
    command.add_option("--map", Map, "With --thru: channels to play on, 1:10 for in 1, out 10")
        ->allow_extra_args(false)
        ->type_name("IN:OUT,...")
        ->delimiter(',')
        ->needs("--thru");
    command
        .add_option("--mic", Mic,
                    "Sound file that the microphone hears; its notes come in on channel 65")
        ->type_name("FILE");
    command.add_option("--seconds", Seconds, "Stop after so many seconds, not only at Ctrl-C")
        ->check(CLI::Range(0.001, 2000000.0))
        ->type_name("N");
}

RunChanges InputOptions::Changes() const {
    RunChanges changes;
    changes.Inputs = In;
    changes.Outputs = Thru;
    changes.Microphone = !Mic.empty();
    changes.MicrophoneChannel = Mic.empty() ? 0 : MicrophoneChannel;
    return changes;
}

StartOptions InputOptions::Start() const {
    StartOptions start;
    start.Keep = ParseFilter(Filter);
    start.Thru = !Thru.empty();
    start.ThruMap = ParseChannelMap(Map);
    return start;
}

void RunInput(const InputOptions& options, const PortMap& map,
              const std::function<void(const std::vector<MIDIEvent>&)>& take) {
    const StartOptions start = options.Start();
    const double milliseconds = options.Seconds * 1000;
    const std::unique_ptr<Microphone> microphone = PlugMicrophone(options.Mic, map);
    Library library;
    library.Start(start);
    SayListening(map);
    std::vector<MIDIEvent> records;
    bool last = false;
    while (!last) {
        Nap(4);
        last = Interrupted() || (milliseconds > 0 && ZorTimeMIDI(0) >= milliseconds);
        records.clear();
        Library::TakeReceived(records);
        take(records);
    }
    if (start.Thru) Library::Silence({});
}

} // namespace zorhost
