// The microphone of a sound server, as bench/microphone has it: how old the sound is when it is
// delivered, how long from a plucked tone to its note, and what it costs to have it.
#include "bench/cost.h"
#include "engine/zormidi.h"
#include "platform/machine.h"
#include "platform/platform.h"
#include "soundin/sound_in_win.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

namespace {

constexpr int Plucks = 40;
constexpr int Rate = 22050;

void Sleep(int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
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
    bench::PrintCost("without the microphone");
    if (MIDISysInit(0) != -1 || !ZorAllocMIDI(ZOR_QUEUE_INPUT, 1024) || !ZorStartMIDI(1)) return 1;
    bench::PrintCost("the library listens");
    Measure();
    ZorStopMIDI();
    bench::PrintCost("stopped again");
    MIDISysTerm();
}
