// The microphone of a sound server, as bench/microphone has it: how old the sound is when it is
// delivered, how long from a plucked tone to its note, and what it costs to have it.
#include "bench/cost.h"
#include "engine/zormidi.h"
#include "platform/api/capture.h"
#include "platform/api/level.h"
#include "platform/machine.h"
#include "platform/platform.h"
#include "soundin/sound_in_win.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int Plucks = 40;
constexpr int Rate = 22050;
constexpr int Settling = 86; // blocks

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
    // To be read after Stop.
    std::vector<std::uint32_t> Onsets; // of the plucks, on the system's clock
    std::vector<double> Ages;          // milliseconds, of each block

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
                Onsets.push_back(time - static_cast<std::uint32_t>((frames - i) * 1000 / Rate));
            Quiet = 0;
        }
    }
    int Quiet = 0; // frames
    Sonorel::SoundInWin Capture;
};

void Print(const char* what, std::vector<double> values) {
    if (values.empty()) return;
    std::ranges::sort(values);
    std::printf("  %-34s median %.0f ms, 99th percentile %.0f ms, of %zu\n", what,
                values[values.size() / 2], values[values.size() * 99 / 100], values.size());
}

std::uint32_t Level() {
    std::uint32_t value = 0;
    for (const auto& level : device::CaptureDevices()[0]->Levels())
        if (level->Place == machine::MicrophoneVolume) level->Read({&value, 1});
    return value;
}

// The level is moved by another program, whose own time, from its start to the server's answer, is
// the least that can be seen.
void MeasureLevel() {
    const std::string move = "pactl set-source-output-volume $(pactl list short source-outputs | "
                             "awk '$5 ~ /u8/ {last = $1} END {print last}') ";
    std::vector<double> program, after;
    for (int i = 0; i < 20; ++i) {
        const std::uint32_t before = Level(), start = timeGetTime();
        std::uint32_t ended = 0;
        std::thread other([&] {
            if (std::system((move + (i % 2 ? "60%" : "90%")).c_str()) == 0) ended = timeGetTime();
        });
        while (Level() == before && timeGetTime() - start < 3000) Sleep(1);
        const std::uint32_t seen = timeGetTime();
        other.join();
        program.push_back(ended - start);
        after.push_back(
            std::max(0.0, static_cast<double>(static_cast<std::int32_t>(seen - ended))));
    }
    Print("another program moves the level", program);
    Print("and it is seen, after that", after);
}

// From each note back to the last onset before it. The ear's own recording may hear an onset later
// than the library has told its note, so they are held against each other in the end.
std::vector<double> Delays(const std::vector<std::uint32_t>& notes,
                           const std::vector<std::uint32_t>& onsets) {
    std::vector<double> delays;
    for (const std::uint32_t note : notes) {
        const auto next = std::ranges::upper_bound(onsets, note);
        if (next != onsets.begin()) delays.push_back(note - next[-1]);
    }
    return delays;
}

void Measure() {
    std::vector<std::uint32_t> notes; // when they came
    Ear ear;
    for (int waits = 0; notes.size() < Plucks && waits < 120000; ++waits) {
        Sleep(1);
        MIDIEvent note;
        if (ZorRcv(&note, 0) && note.Status == 0x90 && note.Data2 != 0)
            notes.push_back(timeGetTime());
    }
    MeasureLevel();
    ear.Stop();
    Print("from a plucked tone to its note", Delays(notes, ear.Onsets));
    const auto first = ear.Ages.begin() + std::min<std::ptrdiff_t>(std::ssize(ear.Ages), Settling);
    Print("age of a block when delivered", {first, ear.Ages.end()});
    Print("the same in the first two seconds", {ear.Ages.begin(), first});
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
