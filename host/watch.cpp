#include "host/watch.h"

#include "host/interrupt.h"
#include "host/settings.h"
#include "platform/machine.h"

#include <algorithm>
#include <cstdio>
#include <mutex>

namespace zorhost {

namespace {

using Names = std::vector<std::string>;

void Print(const char* what, const char* way, const Names& now, const Names& before) {
    Names others = before;
    for (const std::string& name : now) {
        const auto same = std::ranges::find(others, name);
        if (same == others.end())
            std::printf("%-10s  %-6s  %s\n", what, way, name.c_str());
        else
            others.erase(same);
    }
}

// Told of each change by itself, so that one that is undone at once is seen as well.
class Watcher {
public:
    void Look() {
        const std::scoped_lock lock(Lock);
        Compare("input", Inputs, InputDevices());
        Compare("output", Outputs, OutputDevices());
        std::fflush(stdout);
    }

private:
    static void Compare(const char* way, Names& known, Names now) {
        Print("pulled out", way, known, now);
        Print("plugged in", way, now, known);
        known.swap(now);
    }

    std::mutex Lock;
    Names Inputs = InputDevices();
    Names Outputs = OutputDevices();
};

} // namespace

void WatchDevices() {
    Watcher watcher;
    machine::WatchMidiDevices([&watcher] { watcher.Look(); });
    watcher.Look(); // what has changed before that
    std::printf("Watching; Ctrl-C ends\n");
    std::fflush(stdout);
    while (!Interrupted()) Nap(100);
    machine::WatchMidiDevices(nullptr);
}

} // namespace zorhost
