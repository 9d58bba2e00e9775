// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// soak MINUTES: runs the library in real time with all of its threads, while a host calls it from
// several threads. Exits with 0 if no record was torn, lost or stuck and nothing was left open.
#include "engine/zormidi.h"
#include "platform/machine.h"
#include "tests/support/library_and_model.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <thread>

namespace {

constexpr int Ports = 8;
using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

std::atomic<long> put{0}, received{0}, sung{0}, torn{0};
int faults = 0;

void Expect(bool holds, const char* what) {
    if (!holds) ++faults, std::printf("FAULT: %s\n", what);
}

// The data bytes depend on each other, so that a mixture of two records is detected.
MIDIEvent Record(int number) {
    const auto key = static_cast<std::uint8_t>(number & 127);
    return {ZorTimeMIDI(0) + number % 20,
            number,
            static_cast<std::int16_t>(number % (16 * Ports)),
            2,
            0xB0,
            key,
            static_cast<std::uint8_t>(127 - key)};
}

void DrainInput() {
    for (MIDIEvent event; ZorRcv(&event, 0);) {
        const bool ofKill = event.Data1 == 64 || event.Data1 == 123; // from ZorKillMIDI
        if ((event.Status & 0xF0) == 0x90 || (event.Status & 0xF0) == 0x80) ++sung;
        if (event.Status != 0xB0) continue;
        if (event.Data2 != 127 - event.Data1 && !ofKill) ++torn;
        ++received;
    }
}

// A machine with a cable from each output to the input of its name, and a tone in the microphone
// every other second.
void PrepareMachine(const std::filesystem::path& folder) {
    machine::PowerOn();
    machine::RecordSentMidi(false);
    machine::SetModulePath((folder / "libzormidi.so").string());
    std::ofstream(folder / "ZORMIDI.INI")
        << LibraryAndModel::Ini(Ports) << "[ZORMIDI]\nMMESpeed=1\n[PRECDRVR]\nEnablePitchRec=1\n";
    LibraryAndModel::AddPorts(Ports);
    for (int port = 0; port < Ports; ++port) machine::Connect(port, port);
    machine::FeedGenerator(machine::AddMicrophone({"Desk"}), [](const auto& request) {
        for (std::size_t i = 0; i < request.Samples.size(); ++i) {
            const std::uint64_t frame = request.First + i / request.Channels;
            const bool rests = frame / request.Rate % 2 == 1;
            request.Samples[i] = rests ? 0.0f : frame % 50 < 25 ? 0.7f : -0.7f;
        }
    });
}

// Starts a thread that repeats the action until done.
void StartThread(std::vector<std::thread>& threads, const std::atomic<bool>& done,
                 std::function<void(int)> action) {
    threads.emplace_back([&done, action] {
        for (int i = 0; !done; ++i) {
            action(i);
            std::this_thread::sleep_for(500us);
        }
    });
}

// One call of a host, or a few.
void CallAsHost(int turn) {
    switch (turn % 10) {
    case 0:
        ZorKillMIDI(), ZorMIDIPlay();
        break;
    case 1:
        ZorEchoMIDI(turn / 10 % 2, nullptr), ZorStartMIDI(1);
        break;
    case 2:
        ZorSyncMIDI(turn / 10 % 4 == 0 ? ZOR_SYNC_EXTERNAL : ZOR_SYNC_INTERNAL), ZorTimeMIDI(1);
        break;
    case 3:
        ZorZeroQueue(static_cast<std::int16_t>(1 + turn / 10 % 2)), ZorSetMIDITimer(turn);
        break;
    case 4:
        machine::UnplugMidiInput("Port 5"), machine::AddMidiInput("Port 5");
        break;
    case 5:
        ZorEchoMIDI(0, nullptr), ZorStopMIDI(), ZorStartMIDI(1);
        break;
    case 6:
        ZorAllocMIDI(static_cast<std::int16_t>(turn / 10 % 3), 256);
        break;
    case 7:
        if (turn % 100 == 7) ZorStopMIDI(), MIDISysInit(1), ZorStartMIDI(1);
        break;
    default:
        ZorFilterMIDI(turn % 20 == 8 ? 0x80 : 0, 0xFF00);
    }
    for (std::int16_t queue = 0; queue < 3; ++queue)
        if (std::uint16_t size, count; !ZorReportMQ(queue, &size, &count)) ZorAllocMIDI(queue, 256);
}

void RunThreads(Clock::duration length) {
    std::atomic<bool> done{false};
    std::vector<std::thread> threads;
    for (const std::uint16_t queue : {1, 2})
        StartThread(threads, done, [queue](int i) {
            const MIDIEvent event = Record(i);
            put += ZorXmit(queue, &event);
        });
    for (int port = 0; port < Ports; port += 3)
        StartThread(threads, done, [port](int i) {
            machine::ReceiveMidi(port, i % 3 ? 0xF8 : 0x3F40B0);
            machine::CallBackMidi(port, 0x3C3, i % 100 ? 0x3F40B0 : 0xFA, 1);
        });
    StartThread(threads, done, [](int) { DrainInput(); });
    StartThread(threads, done, [](int) {
        MMETimerCallBack(0, 0, 0, 0, 0);
        ZorEtimeMIDI(1, nullptr), ZorErrorMIDI(nullptr), ZorXmitEmpty(0);
    });
    const auto end = Clock::now() + length;
    for (int turn = 0; Clock::now() < end; ++turn) {
        CallAsHost(turn);
        std::this_thread::sleep_for(turn % 50 ? 5ms
                                              : 500ms); // long enough for a note of the microphone
    }
    done = true;
    for (std::thread& thread : threads) thread.join();
}

// Afterwards the library works as after a fresh start: all records are sent.
void CheckPlayback() {
    ZorEchoMIDI(0, nullptr), ZorStopMIDI();
    ZorSyncMIDI(ZOR_SYNC_INTERNAL), ZorFilterMIDI(0, 0);
    for (std::int16_t queue = 0; queue < 3; ++queue) ZorAllocMIDI(queue, 4000);
    Expect(ZorStartMIDI(1), "it starts again");
    std::multiset<int> in, out;
    for (int i = 0; i < 1000; ++i) {
        MIDIEvent event = Record(i);
        event.Time = ZorTimeMIDI(0) + i / 10;
        if (ZorXmit(1, &event)) in.insert(event.Channel << 8 | event.Data1);
    }
    Expect(ZorXmitEmpty(1), "the queue becomes empty");
    std::this_thread::sleep_for(1s);
    for (MIDIEvent event; ZorRcv(&event, 0);)
        if (event.Status == 0xB0) out.insert(event.Channel << 8 | event.Data1);
    Expect(in.size() == 1000, "all records are queued");
    // Records received during a transmission are lost.
    for (const int record : out) Expect(in.contains(record), "only sent records are received");
    Expect(out.size() > 500, "most of them are received");
    ZorKillMIDI();
    ZorStopMIDI();
    MIDISysTerm();
}

} // namespace

int main(int count, char** arguments) {
    const double minutes = count > 1 ? std::atof(arguments[1]) : 10;
    std::string name = (std::filesystem::temp_directory_path() / "zorsoak-XXXXXX").string();
    const std::filesystem::path folder = mkdtemp(name.data());
    PrepareMachine(folder);
    Expect(MIDISysInit(0) == -1, "it initialises");
    CallAsHost(6);
    Expect(ZorStartMIDI(1), "it starts");
    RunThreads(
        std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(minutes * 60)));
    CheckPlayback();
    Expect(torn == 0, "no record is torn");
    Expect(received > 0, "records are received");
    Expect(sung > 0 || minutes < 1, "notes of the microphone are received");
    Expect(machine::DrainBoxes().empty(), "no message box is shown");
    Expect(machine::OpenMidiInputs() + machine::OpenMidiOutputs() == 0, "ports are closed");
    Expect(machine::OpenWaveIns() + machine::OpenMixers() == 0, "the microphone is closed");
    Expect(machine::PendingTimers().empty() && machine::OpenTimerPeriods().empty(),
           "the timer is stopped");
    std::printf(
        "%g minutes: %ld records queued, %ld received, %ld notes of the microphone; %d faults\n",
        minutes, put.load(), received.load(), sung.load(), faults);
    std::filesystem::remove_all(folder);
    return faults != 0;
}
