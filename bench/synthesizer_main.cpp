// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Measures how long a note takes from ZorXmit to its rise in the sound server's monitor, on each
// MIDI output whose name is an argument, with the server and synthesizers of bench/synthesizer.
#include "engine/zormidi.h"
#include "platform/machine.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <pulse/simple.h>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr int Notes = 200;
constexpr int Rate = 44100;
constexpr std::size_t BlockFrames = 64;
constexpr int Threshold = 150; // of 32767

// Reads the monitor on a thread of its own; the time of a sample is that of its arrival.
class Monitor {
public:
    Monitor() {
        const pa_sample_spec format{PA_SAMPLE_S16LE, Rate, 1};
        const pa_buffer_attr buffer{~0u, ~0u, ~0u, ~0u, sizeof(short) * BlockFrames};
        int error = 0;
        Stream = pa_simple_new(nullptr, "measure", PA_STREAM_RECORD, "mic.monitor", "measure",
                               &format, nullptr, &buffer, &error);
        if (!Stream) std::exit(1);
        std::thread([this] { Run(); }).detach();
    }
    // The delay of the first loud sample after the call of play; negative if none came in a second.
    double Measure(const std::function<void()>& play) {
        Risen = false;
        const auto begin = Clock::now();
        Armed = true;
        play();
        while (!Risen && Clock::now() - begin < std::chrono::seconds(1))
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        Armed = false;
        return Risen ? Milliseconds(Rise.load() - begin).count() : -1;
    }

private:
    void Run() {
        std::array<short, BlockFrames> block{};
        int error = 0;
        while (pa_simple_read(Stream, block.data(), sizeof block, &error) >= 0) {
            const auto* const loud = std::ranges::find_if(
                block, [](short sample) { return std::abs(sample) > Threshold; });
            if (loud == block.end() || !Armed.exchange(false)) continue;
            const auto later = Milliseconds(1000.0 * double(block.end() - loud) / Rate);
            Rise = Clock::now() - std::chrono::duration_cast<Clock::duration>(later);
            Risen = true;
        }
    }

    pa_simple* Stream;
    std::atomic<bool> Armed{false}, Risen{false};
    std::atomic<Clock::time_point> Rise{};
};

// Returns how long the call took.
double Send(int row, std::uint8_t status, std::uint8_t velocity) {
    const auto channel = static_cast<std::int16_t>(16 * row);
    const MIDIEvent event = {0, 0, channel, 2, status, 84, velocity};
    const auto begin = Clock::now();
    ZorXmit(ZOR_IMMEDIATE, &event);
    return Milliseconds(Clock::now() - begin).count();
}

void Print(const char* output, std::vector<double> delays, std::vector<double> calls) {
    std::ranges::sort(calls);
    const auto lost = std::erase_if(delays, [](double delay) { return delay < 0; });
    std::ranges::sort(delays);
    if (delays.empty()) return std::printf("| %s | nothing heard |\n", output), void();
    std::printf("| %s | %.1f ms | %.1f ms | %zu | %.1f us |\n", output, delays[delays.size() / 2],
                delays[delays.size() * 99 / 100], lost, 1000 * calls[calls.size() / 2]);
}

} // namespace

// Several outputs take turns, so that a busy computer delays them alike.
int main(int count, char** arguments) {
    const std::vector<std::string> names(arguments + 1, arguments + count);
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "zor.measure";
    std::filesystem::create_directories(folder);
    machine::SetModulePath((folder / "libzormidi.so").string());
    std::ofstream ini(folder / "ZORMIDI.INI");
    ini << "[MMEDRVR]\n";
    for (std::size_t row = 1; row <= names.size(); ++row)
        ini << "OutName" << row << "=" << names[row - 1] << "\nOutBase" << row << "="
            << 16 * row - 15 << "\n";
    ini.close();
    static Monitor monitor; // its thread reads until the process ends
    if (MIDISysInit(0) != -1 || !ZorAllocMIDI(ZOR_QUEUE_OUTPUT, 64) || !ZorStartMIDI(1)) return 1;
    std::vector<std::vector<double>> delays(names.size()), calls(names.size());
    for (int note = -5; note < Notes; ++note) { // the first ones wake the server up
        for (std::size_t row = 0; row < names.size(); ++row) {
            const int number = static_cast<int>(row);
            const double delay = monitor.Measure([number] { Send(number, 0x90, 120); });
            if (note >= 0) delays[row].push_back(delay);
            calls[row].push_back(Send(number, 0x80, 0)); // while the note is rendered
            std::this_thread::sleep_for(std::chrono::milliseconds(600 + note * 7 % 13));
        }
    }
    std::printf("| Output | Median | 99th percentile | Not heard | ZorXmit, median |\n"
                "|---|---:|---:|---:|---:|\n");
    for (std::size_t row = 0; row < names.size(); ++row)
        Print(names[row].c_str(), delays[row], calls[row]);
    ZorStartMIDI(0);
    MIDISysTerm();
}
