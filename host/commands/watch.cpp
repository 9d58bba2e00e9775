#include "host/commands/watch.h"

#include "host/terminal/interrupt.h"
#include "host/terminal/json.h"
#include "host/devices/settings.h"
#include "platform/machine.h"

#include <algorithm>
#include <cstdio>
#include <mutex>

namespace zorhost {

namespace {

// One that has been away in between is another one.
struct Device {
    std::string Name;
    unsigned Visit = 0;
    bool operator==(const Device&) const = default;
};
using Devices = std::vector<Device>;

Devices Named(const std::vector<std::string>& names) {
    Devices devices;
    for (const std::string& name : names) devices.push_back({name});
    return devices;
}

Devices Microphones() {
    Devices devices;
    for (const auto& found : machine::FindMicrophones())
        devices.push_back({found.Name, found.ConnectionId});
    return devices;
}

// MIDI devices tell of each change by themselves, so that one that is undone at once is seen as
// well; microphones are looked for.
class Watcher {
public:
    explicit Watcher(bool json) : AsJson(json) {}
    void LookAtMidi() {
        const std::scoped_lock lock(Lock);
        Compare("input", Inputs, Named(InputDevices()));
        Compare("output", Outputs, Named(OutputDevices()));
    }
    void LookAtMicrophones() {
        const std::scoped_lock lock(Lock);
        Compare("microphone", Heard, Microphones());
    }

private:
    void Compare(const char* kind, Devices& known, Devices now) const {
        Print("pulled out", kind, known, now);
        Print("plugged in", kind, now, known);
        known.swap(now);
        std::fflush(stdout);
    }
    void Print(const char* what, const char* kind, const Devices& these, Devices others) const {
        for (const Device& device : these) {
            const auto same = std::ranges::find(others, device);
            if (same != others.end())
                others.erase(same);
            else if (AsJson)
                Json().Add("event", what).Add("kind", kind).Add("name", device.Name).Print();
            else
                std::printf("%-10s  %-10s  %s\n", what, kind, device.Name.c_str());
        }
    }

    const bool AsJson;
    std::mutex Lock;
    Devices Inputs = Named(InputDevices());
    Devices Outputs = Named(OutputDevices());
    Devices Heard = Microphones();
};

} // namespace

void WatchDevices(bool json) {
    Watcher watcher(json);
    machine::WatchMidiDevices([&watcher] { watcher.LookAtMidi(); });
    watcher.LookAtMidi(); // what has changed before that
    std::fflush(stdout);
    std::fprintf(stderr, "Watching; Ctrl-C ends\n");
    constexpr int nap = 100, between = 500; // milliseconds
    for (int naps = 1; !Interrupted(); ++naps) {
        Nap(nap);
        if (naps % (between / nap) == 0) watcher.LookAtMicrophones();
    }
    machine::WatchMidiDevices(nullptr);
}

} // namespace zorhost
