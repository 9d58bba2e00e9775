// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// How costs grow with the size of a request. Prints for each sweep a table with a plot of the cost
// per unit, and whether the total grows linearly or not at all; then the costs of a typical second
// of a host. Exit code 1 if a cost grows faster than expected.
#include "mme/ports.h"
#include "pitchrec/pitch_rec.h"
#include "platform/machine.h"
#include "platform/platform.h"
#include "soundin/sound_in.h"
#include "support/lock.h"
#include "tests/support/library_and_model.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <malloc.h>
#include <sys/resource.h>
#include <time.h>
#include <vector>

namespace {

// Processor time of this thread in nanoseconds. With the stepped clock all callbacks run on it.
double Now() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

// The least of several runs, since other load of the machine can only add to it. Nanoseconds.
double Cost(const std::function<void()>& action, int runs = 7) {
    double least = 1e30;
    for (int run = 0; run < runs; ++run) {
        const double begin = Now();
        action();
        least = std::min(least, Now() - begin);
    }
    return least;
}

struct Point {
    double Size, Nanoseconds;
};

// Slope of log(cost) over log(size) in the upper half of the sizes: 0 is constant, 1 linear.
double Slope(const std::vector<Point>& points) {
    const Point &middle = points[points.size() / 2], &last = points.back();
    return std::log(last.Nanoseconds / middle.Nanoseconds) / std::log(last.Size / middle.Size);
}

// Measures and prints each size; the length of a bar is the cost per unit. expected: 1 for linear
// growth at most, 0 for none. Returns false if the cost grows faster.
bool Sweep(const char* what, const char* unit, const std::vector<double>& sizes, double expected,
           const std::function<double(double)>& measure) {
    std::vector<Point> points;
    for (const double size : sizes) points.push_back({size, measure(size)});
    const auto each = [&](const Point& p) {
        return expected > 0 ? p.Nanoseconds / p.Size : p.Nanoseconds;
    };
    const auto most = std::ranges::max_element(points, {}, each);
    std::printf("\n%s\n", what);
    for (const Point& p : points)
        std::printf(
            "  %10.0f %-14s %14.1f ns %12.2f ns%s  %s\n", p.Size, unit, p.Nanoseconds, each(p),
            expected > 0 ? " each" : "",
            std::string(static_cast<std::size_t>(40 * each(p) / each(*most)) + 1, '#').c_str());
    const double slope = Slope(points);
    const bool holds = slope < expected + 0.25;
    std::printf("  grows with the power %.2f of it: %s%s\n", slope, holds ? "" : "NOT ",
                expected > 0 ? "linear" : "constant");
    return holds;
}

const std::filesystem::path& Folder() {
    static const auto folder = std::filesystem::temp_directory_path() / "zormidi-bench-growth";
    return folder;
}

void BringUp(int ports, int slots, const std::string& more = "") {
    ZorStopMIDI(), MIDISysTerm();
    machine::PowerOn();
    machine::UseSteppedClock();
    machine::RecordSentMidi(false);
    std::filesystem::create_directories(Folder());
    machine::SetModulePath((Folder() / "libzormidi.so").string());
    std::ofstream(Folder() / "ZORMIDI.INI") << more << LibraryAndModel::Ini(ports);
    LibraryAndModel::AddPorts(ports);
    MIDISysInit(0);
    for (std::int16_t queue = 0; queue < 3; ++queue)
        ZorAllocMIDI(queue, static_cast<std::int16_t>(slots));
    ZorStartMIDI(1);
}

MIDIEvent Control(std::int32_t time, std::int16_t channel = 0) {
    return {time, 0, channel, 2, 0xB0, 7, 64};
}

double QueueSize(double slots) {
    BringUp(1, static_cast<int>(slots));
    const MIDIEvent far = Control(0x7FFFFFF0);
    MIDIEvent event;
    while (ZorXmit(0, &far)) continue;
    constexpr int rounds = 2000;
    return Cost([&] {
               for (int i = 0; i < rounds; ++i) ZorRcv(&event, 0), ZorXmit(0, &far);
           }) /
           rounds;
}

double Send(double ports, std::int16_t channel) {
    BringUp(static_cast<int>(ports), 16);
    const MIDIEvent event = Control(0, channel);
    constexpr int rounds = 500;
    return Cost([&] {
               for (int i = 0; i < rounds; ++i) ZorXmit(ZOR_IMMEDIATE, &event);
           }) /
           rounds;
}

// One second of evenly spread messages; the host fills the queue every 10 ms.
double Rate(double messages) {
    BringUp(1, 32767);
    const auto count = static_cast<int>(messages);
    return Cost(
        [&] {
            const std::int32_t begin = ZorTimeMIDI(0);
            for (int tick = 0, put = 0; tick < 100; ++tick) {
                for (; put < count && std::int64_t{put} * 100 < std::int64_t{count} * (tick + 1);
                     ++put) {
                    const MIDIEvent event = Control(
                        begin + static_cast<std::int32_t>(std::int64_t{put} * 1000 / count));
                    ZorXmit(1, &event);
                }
                machine::Advance(10);
            }
        },
        3);
}

double PerPass(double records) {
    BringUp(1, 2000);
    const MIDIEvent event = Control(0);
    double least = 1e30;
    for (int run = 0; run < 7; ++run) {
        for (int i = 0; i < static_cast<int>(records); ++i) ZorXmit(1, &event);
        least = std::min(least, Cost([] { ZorMIDIPlay(); }, 1));
    }
    return least;
}

double Silence(double notes) {
    BringUp(8, 16);
    double least = 1e30;
    for (int run = 0; run < 7; ++run) {
        for (int i = 0; i < static_cast<int>(notes); ++i) {
            const MIDIEvent on = {0, 0,    static_cast<std::int16_t>(i / 128),
                                  2, 0x90, static_cast<std::uint8_t>(i % 128),
                                  64};
            ZorXmit(ZOR_IMMEDIATE, &on);
        }
        least = std::min(least, Cost([] { ZorKillMIDI(); }, 1));
    }
    return least;
}

double IniLines(double lines) {
    std::string more = "[Other]\n";
    for (int i = 0; i < static_cast<int>(lines); ++i)
        more += "Key" + std::to_string(i) + "=value\n";
    BringUp(1, 16, more);
    ZorStopMIDI();
    return Cost([] { MIDISysInit(1); }, 5);
}

// A tone with rests, in blocks of 512 frames.
double Sound(double minutes) {
    Sonorel::PitchRecWaveIn recogniser(new Sonorel::SoundIn);
    recogniser.Open(22050);
    recogniser.Input->SetSampleRate(22050);
    recogniser.Enable(true);
    std::vector<std::uint8_t> tone(1024), rest(1024, 128);
    for (std::size_t i = 0; i < tone.size(); ++i) tone[i] = i / 2 % 64 < 32 ? 228 : 28;
    const auto blocks = static_cast<long>(minutes * 60 * 22050 / 512);
    return Cost(
        [&] {
            std::int32_t time, status, note, value;
            for (long block = 0; block < blocks; ++block) {
                const auto& sound = block % 20 < 15 ? tone : rest;
                Sonorel::PitchRecWaveIn::ProcessChunk(static_cast<std::uint32_t>(block * 23),
                                                      sound.data(), 1024, &recogniser);
                while (recogniser.GetNote(&time, &status, &note, &value)) continue;
            }
        },
        1);
}

void Line(const char* what, double cost, const char* unit, const char* floor, double least) {
    std::printf("  %-52s %10.1f %-9s %-38s %10.1f\n", what, cost, unit, floor, least);
}

// 400 records out and 100 in, in a second of 1,000 ms.
double TypicalSecond() {
    BringUp(2, 1000);
    return Cost([] {
        const std::int32_t begin = ZorTimeMIDI(0);
        MIDIEvent event;
        for (int i = 0; i < 400; ++i) event = Control(begin + i * 5 / 2), ZorXmit(1, &event);
        for (int i = 0; i < 100; ++i) {
            machine::ReceiveMidi(0, 0x403CB0);
            machine::Advance(10);
            while (ZorRcv(&event, 0)) continue;
        }
    });
}

double LockAndCopyFloor() {
    volatile long sum = 0;
    MIDIEvent ring[512] = {};
    Sonorel::Lock lock;
    return Cost([&] {
        for (int i = 0; i < 1000; ++i) { // in and out of a queue, each
            const Sonorel::LockScope scope(lock);
            ring[i % 512] = Control(i);
            sum = sum + ring[i / 2].Time;
        }
    });
}

// One second is 43 blocks: each moves the window and reads every new sample once.
double MicrophoneFloor() {
    static std::int16_t window[2048];
    volatile int most = 0;
    return Cost([&] {
        for (int block = 0; block < 43; ++block) {
            std::copy(window + 512, window + 2048, window);
            most = most + *std::max_element(window + 1536, window + 2048);
        }
    });
}

double Wakeups(bool waiting) {
    BringUp(2, 1000);
    const MIDIEvent later = Control(100000);
    if (waiting) ZorXmit(1, &later), ZorMIDIPlay();
    machine::ResetCallCounts();
    machine::Advance(1000);
    return machine::CallCount(machine::Call::timeSetEvent);
}

double Memory() {
    BringUp(2, 16);
    ZorStopMIDI(), MIDISysTerm();
    const std::size_t before = mallinfo2().uordblks;
    MIDISysInit(0);
    for (std::int16_t queue = 0; queue < 3; ++queue) ZorAllocMIDI(queue, 1000);
    ZorStartMIDI(1);
    return static_cast<double>(mallinfo2().uordblks - before);
}

double ReadFile() {
    return Cost([] {
        char text[4096];
        std::ifstream(Folder() / "ZORMIDI.INI").read(text, sizeof text);
    });
}

} // namespace

int main() {
    std::puts("How cost grows: least processor time of several runs");
    bool holds = Sweep("One record out and one in, by slots of a full queue", "slots",
                       {16, 64, 256, 1024, 4096, 16384, 32767}, 0, QueueSize);
    holds &= Sweep("A record sent to one port, by ports open", "ports", {1, 2, 4, 6, 8}, 0,
                   [](double ports) { return Send(ports, 0); });
    holds &= Sweep("A record sent to all 16 channels of all ports", "ports", {1, 2, 4, 6, 8}, 1,
                   [](double ports) { return Send(ports, -1); });
    holds &= Sweep("A second of messages played at their times", "messages",
                   {1, 10, 100, 1000, 10000, 100000}, 1, Rate);
    holds &= Sweep("A pass of the pump, by records due", "records", {1, 3, 10, 30, 100, 300, 1000},
                   1, PerPass);
    holds &= Sweep("ZorKillMIDI, by notes that sound on 8 ports", "notes",
                   {16, 64, 256, 1024, 4096, 16384}, 1, Silence);
    holds &= Sweep("MIDISysInit, by lines of the ini file", "lines", {10, 100, 1000, 10000}, 1,
                   IniLines);
    rusage before{}, after{};
    Sound(1);
    getrusage(RUSAGE_SELF, &before);
    holds &= Sweep("Sound into the recogniser", "minutes", {1, 10, 60, 180, 600}, 1, Sound);
    getrusage(RUSAGE_SELF, &after);
    std::printf("  memory grew by %ld KiB over these\n", after.ru_maxrss - before.ru_maxrss);

    std::puts("\nCosts of a host, each beside its floor");
    Line("a second: 400 records out, 100 in", TypicalSecond() / 1000, "us",
         "1,000 times a lock and a copy, us", LockAndCopyFloor() / 1000);
    Line("a second of the microphone", Sound(1) / 60 / 1000, "us",
         "the window moved, the new scanned, us", MicrophoneFloor() / 1000);
    Line("wake-ups per second, nothing waiting, MMESpeed 4", Wakeups(false), "", "1,000 / MMESpeed",
         250);
    Line("wake-ups per second, the next record 100 s away", Wakeups(true), "", "none", 0);
    Line("memory: 3 queues of 1,000, 2 ports each way open", Memory() / 1024, "KiB",
         "the records and 2 note tables, KiB", (3 * 14000 + 2 * 2048) / 1024.0);
    Line("MIDISysInit", IniLines(0) / 1000, "us", "reading the ini file once, us",
         ReadFile() / 1000);
    ZorStopMIDI(), MIDISysTerm();
    std::filesystem::remove_all(Folder());
    return holds ? 0 : 1;
}
