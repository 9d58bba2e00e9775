// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Measures capture from a sound server that bench/microphone starts: the age of the sound when it
// is delivered, the time from a plucked tone to its note, and the cost of capturing.
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

// Finds the onset of each pluck in a second capture of the same microphone.
class OnsetFinder {
public:
    OnsetFinder() {
        Capture.SetCallback(
            [](std::uint32_t time, const std::uint8_t* data, std::int32_t bytes, void* self) {
                static_cast<OnsetFinder*>(self)->Feed(time, data, bytes);
            },
            this);
        if (!Capture.Open(Rate)) std::exit(1);
        Capture.Start();
    }
    ~OnsetFinder() { Capture.Close(); }
    // No block is delivered after it.
    void Stop() { Capture.Stop(); }
    // Read these after Stop only.
    std::vector<std::uint32_t> Onsets; // milliseconds of timeGetTime
    std::vector<double> Ages;          // milliseconds, of each block

private:
    void Feed(std::uint32_t time, const std::uint8_t* data, std::int32_t bytes) {
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

// Another program changes the level. Measures how long that program runs, and how long after its
// end the change is visible here.
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
    Print("another program changes the level", program);
    Print("until the change is visible, after that", after);
}

// From each note back to the last onset before it, in milliseconds. Notes and onsets are compared
// at the end, since the second capture may deliver an onset after the library has delivered its
// note.
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
    std::vector<std::uint32_t> notes; // arrival times
    OnsetFinder finder;
    for (int waits = 0; notes.size() < Plucks && waits < 120000; ++waits) {
        Sleep(1);
        MIDIEvent note;
        if (ZorRcv(&note, 0) && note.Status == 0x90 && note.Data2 != 0)
            notes.push_back(timeGetTime());
    }
    MeasureLevel();
    finder.Stop();
    Print("from a plucked tone to its note", Delays(notes, finder.Onsets));
    const auto first =
        finder.Ages.begin() + std::min<std::ptrdiff_t>(std::ssize(finder.Ages), Settling);
    Print("age of a block when delivered", {first, finder.Ages.end()});
    Print("the same in the first two seconds", {finder.Ages.begin(), first});
}

} // namespace

int main() {
    bench::PrintCost("without the microphone");
    if (MIDISysInit(0) != -1 || !ZorAllocMIDI(ZOR_QUEUE_INPUT, 1024) || !ZorStartMIDI(1)) return 1;
    bench::PrintCost("the library captures");
    Measure();
    ZorStopMIDI();
    bench::PrintCost("stopped again");
    MIDISysTerm();
}
