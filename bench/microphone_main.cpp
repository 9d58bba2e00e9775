// The microphone of a sound server, as bench/microphone has it: how old the sound is when it is
// delivered, how long from a plucked tone to its note, and what it costs to have it.
#include "engine/zormidi.h"
#include "platform/machine.h"
#include "platform/platform.h"
#include "soundin/sound_in_win.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int Plucks = 40;
constexpr int Rate = 22050;

void Sleep(int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

// What the process has waked up so far.
long WakeUps() {
    long sum = 0;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream status(thread.path() / "status");
        for (std::string line; std::getline(status, line);)
            if (line.starts_with("voluntary_ctxt_switches:")) sum += std::atol(&line[24]);
    }
    return sum;
}

void PrintCost(const char* when) {
    constexpr int seconds = 5;
    const long before = WakeUps();
    Sleep(seconds * 1000);
    const double wakes = static_cast<double>(WakeUps() - before - 1) / seconds; // our own sleep
    std::set<std::string> libraries;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        if (const auto path = line.find('/');
            path != std::string::npos && line.find(".so", path) != std::string::npos)
            libraries.insert(line.substr(path));
    long pages = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    std::printf("  %-34s %6.1f wake-ups/s  %5.1f MiB  %2zu libraries\n", when, wakes,
                static_cast<double>(resident) * 4 / 1024, libraries.size());
}

// Hears where each pluck begins.
class Ear {
public:
    Ear() {
        Capture.SetCallback([](std::uint32_t time, const std::uint8_t* data, std::int32_t bytes,
                               void* self) { static_cast<Ear*>(self)->Hear(time, data, bytes); },
                            this);
        if (!Capture.Open(Rate)) std::exit(1);
        Capture.Start();
    }
    ~Ear() { Capture.Close(); }
    // No block comes any more.
    void Stop() { Capture.Stop(); }
    std::atomic<std::uint32_t> Onset{0}; // of the last pluck, on the system's clock
    std::vector<double> Ages;            // milliseconds, of each block; to be read after Stop

private:
    void Hear(std::uint32_t time, const std::uint8_t* data, std::int32_t bytes) {
        Ages.push_back(timeGetTime() - time);
        const int frames = bytes / 2;
        for (int i = 0; i < frames; ++i) {
            if (std::abs(data[2 * i] - 128) < 8) {
                ++Quiet;
                continue;
            }
            if (Quiet > Rate / 10)
                Onset = time - static_cast<std::uint32_t>((frames - i) * 1000 / Rate);
            Quiet = 0;
        }
    }
    int Quiet = 0; // frames
    Sonorel::SoundInWin Capture;
};

void Print(const char* what, std::vector<double>& values) {
    if (values.empty()) return;
    std::ranges::sort(values);
    std::printf("  %-34s median %.0f ms, 99th percentile %.0f ms, of %zu\n", what,
                values[values.size() / 2], values[values.size() * 99 / 100], values.size());
}

void Measure() {
    std::vector<double> delays;
    Ear ear;
    std::uint32_t told = 0;
    for (int waits = 0; delays.size() < Plucks && waits < 120000; ++waits) {
        Sleep(1);
        MIDIEvent note;
        if (!ZorRcv(&note, 0) || note.Status != 0x90 || note.Data2 == 0 || ear.Onset == told)
            continue;
        told = ear.Onset;
        delays.push_back(timeGetTime() - told);
    }
    ear.Stop();
    Print("from a plucked tone to its note", delays);
    Print("age of a block when delivered", ear.Ages);
}

} // namespace

int main() {
    PrintCost("without the microphone");
    if (MIDISysInit(0) != -1 || !ZorAllocMIDI(ZOR_QUEUE_INPUT, 1024) || !ZorStartMIDI(1)) return 1;
    PrintCost("the library listens");
    Measure();
    ZorStopMIDI();
    PrintCost("stopped again");
    MIDISysTerm();
}
