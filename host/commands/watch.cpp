// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/commands/watch.h"

#include "host/devices/settings.h"
#include "host/terminal/interrupt.h"
#include "host/terminal/json.h"
#include "platform/machine.h"

#include <algorithm>
#include <cstdio>
#include <mutex>

namespace zorhost {

namespace {

// Visit differs for a microphone that was unplugged and plugged in again.
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

// MIDI device changes are reported by callbacks, so that even a change that is undone at once is
// seen. Microphones are polled. Thread: any.
class Watcher {
public:
    explicit Watcher(bool json) : AsJson(json) {}
    void UpdateMidi() {
        const std::scoped_lock lock(Lock);
        Compare("input", Inputs, Named(InputDevices()));
        Compare("output", Outputs, Named(OutputDevices()));
    }
    void UpdateMicrophones() {
        const std::scoped_lock lock(Lock);
        Compare("microphone", KnownMicrophones, Microphones());
    }

private:
    void Compare(const char* kind, Devices& known, Devices now) const {
        Print("pulled out", kind, known, now);
        Print("plugged in", kind, now, known);
        known.swap(now);
        std::fflush(stdout);
    }
    // Prints an event for each device that is not among the others.
    void Print(const char* event, const char* kind, const Devices& devices, Devices others) const {
        for (const Device& device : devices) {
            const auto same = std::ranges::find(others, device);
            if (same != others.end())
                others.erase(same);
            else if (AsJson)
                Json().Add("event", event).Add("kind", kind).Add("name", device.Name).Print();
            else
                std::printf("%-10s  %-10s  %s\n", event, kind, device.Name.c_str());
        }
    }

    const bool AsJson;
    std::mutex Lock;
    Devices Inputs = Named(InputDevices());
    Devices Outputs = Named(OutputDevices());
    Devices KnownMicrophones = Microphones();
};

} // namespace

void WatchDevices(bool json) {
    Watcher watcher(json);
    machine::WatchMidiDevices([&watcher] { watcher.UpdateMidi(); });
    watcher.UpdateMidi(); // changes before the callback was installed
    std::fflush(stdout);
    std::fprintf(stderr, "Watching; press Ctrl-C to stop\n");
    constexpr int pause = 100, pollInterval = 500; // milliseconds
    for (int pauses = 1; !Interrupted(); ++pauses) {
        Nap(pause);
        if (pauses % (pollInterval / pause) == 0) watcher.UpdateMicrophones();
    }
    machine::WatchMidiDevices(nullptr);
}

} // namespace zorhost
