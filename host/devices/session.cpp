// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/devices/session.h"

#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"
#include "midi/status.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <semaphore>
#include <set>
#include <utility>

namespace zorhost {

namespace {

// Records per queue. The input queue has the greatest possible size, since a busy computer may read
// it late.
constexpr std::int16_t InputSlots = 32767;
constexpr std::int16_t OutputSlots = 4096;

constexpr int PollInterval = 4; // milliseconds

// State of AwaitReceived. The thread that clears Waiting releases WaitEnded once, whether it is the
// waiting thread or the timer thread.
std::atomic<bool> Waiting{false};
std::counting_semaphore<> WaitEnded{0};

// Runs on the timer thread after each timer callback. Does not block.
void EndWait() {
    MIDIEvent event;
    if (Waiting && ZorRcv(&event, 1) && Waiting.exchange(false)) WaitEnded.release();
}

void SendNow(std::int16_t channel, std::uint8_t status, std::uint8_t data1, std::uint8_t data2) {
    const MIDIEvent event = {0, 0, channel, 2, status, data1, data2};
    ZorXmit(ZOR_IMMEDIATE, &event);
}

SettingOverrides OverridesOf(const SessionPlan& plan) {
    SettingOverrides overrides;
    overrides.Inputs = plan.Inputs;
    overrides.Outputs = plan.Outputs;
    overrides.MicrophoneOn = plan.MicrophoneOn || !plan.MicrophoneFile.empty();
    overrides.MicrophoneChannel = plan.MicrophoneOn        ? 1
                                  : overrides.MicrophoneOn ? MicrophoneFileChannel
                                                           : 0;
    return overrides;
}

} // namespace

Library::Library() {
    const std::int16_t code = MIDISysInit(0);
    if (code != -1)
        throw HostError("cannot start the MIDI library (code " + std::to_string(code) + ")");
    if (!ZorAllocMIDI(ZOR_QUEUE_INPUT, InputSlots) ||
        !ZorAllocMIDI(ZOR_QUEUE_OUTPUT, OutputSlots)) {
        MIDISysTerm();
        throw HostError("out of memory");
    }
}

Library::~Library() {
    if (Thru) ZorEchoMIDI(0, nullptr);
    ZorStopMIDI();
    MIDISysTerm();
}

void Library::Start(const StartOptions& options) {
    ZorFilterMIDI(options.InputFilter.Classes, options.InputFilter.System);
    ZorSyncMIDI(static_cast<std::int16_t>(options.Sync));
    if (!ZorStartMIDI(1)) {
        const std::string errors = ReadErrors();
        throw HostError("cannot open the ports" + (errors.empty() ? "" : ": " + errors));
    }
    std::uint8_t timerRunning = 0;
    ZorMIDIStatus(nullptr, &timerRunning);
    if (!timerRunning) throw HostError("cannot start the system timer");
    Thru = options.Thru;
    if (Thru) ZorEchoMIDI(1, options.ThruMap.data());
}

void Library::ReadReceived(std::vector<MIDIEvent>& records) {
    MIDIEvent event;
    for (int i = 1; i < InputSlots && ZorRcv(&event, 0); ++i) {
        event.Data2 = std::min(std::uint8_t{event.Data2}, std::uint8_t{127});
        records.push_back(event);
    }
}

// The library has no blocking read. Every received record is queued on the timer thread, so a hook
// after each timer callback can end the wait.
void Library::AwaitReceived(int milliseconds) {
    if (!machine::AfterTimers(EndWait)) return Nap(std::min(milliseconds, PollInterval));
    Waiting = true;
    MIDIEvent event;
    const bool ended =
        !ZorRcv(&event, 1) && WaitEnded.try_acquire_for(std::chrono::milliseconds(milliseconds));
    // The timer thread may have cleared Waiting after the time-out: consume its release.
    if (!Waiting.exchange(false) && !ended) WaitEnded.acquire();
}

void Library::Silence(std::span<const MIDIEvent> played) {
    ZorKillMIDI();
    // The library drops messages received while one is sent immediately. Wait until the note offs
    // have come back, in case they are recorded.
    Nap(20);
    std::set<std::int16_t> channels;
    for (const MIDIEvent& event : played) channels.insert(event.Channel);
    for (const std::int16_t channel : channels) {
        SendNow(channel, midi::ControlChange, 64, 0);  // sustain pedal up
        SendNow(channel, midi::ControlChange, 123, 0); // all notes off
        SendNow(channel, midi::PitchBend, 0, 64);      // bend centre
    }
    ZorMIDIPlay(); // ZorKillMIDI stopped the timer chain; restart it for records queued later
}

std::string Library::ReadErrors() {
    std::string text;
    std::uint16_t code = 0;
    for (std::int16_t row = ZorErrorMIDI(&code); row >= 0; row = ZorErrorMIDI(&code)) {
        text += (text.empty() ? "" : ", ") +
                std::string(row == 0 ? "a MIDI port" : "the microphone") + " failed";
    }
    return text;
}

Session::Session(const GlobalOptions& global, const SessionPlan& plan)
    : Devices(global, plan.Policy), Plan(plan),
      Settings(SettingsFolder(global.IniFolder), OverridesOf(plan)),
      Map(ReadPortMap(Settings.IniPath())) {}

void Session::AttachMicrophone() {
    if (std::exchange(Attached, true)) return;
    if (Plan.MicrophoneOn && Plan.MicrophoneFile.empty())
        return SelectMicrophone(Plan.MicrophoneNumber);
    Mic = MakeVirtualMicrophone(Plan.MicrophoneFile, Map);
}

void Session::Start(const StartOptions& options) {
    AttachMicrophone();
    Lib.emplace().Start(options);
}

void Session::Stop() { Lib.reset(); }

void Session::RefuseLoop(const std::string& option) const {
    for (const Port& output : Map.Outputs) {
        for (const Port& input : Map.Inputs) {
            if (output.Device.empty() || output.Device != input.Device) continue;
            if (!DeviceSelection::IsLoopback(output.Device)) continue;
            throw HostError(option + ": \"" + output.Device +
                                "\" is a loopback to an input in use, so everything sent would be "
                                "received again; use another loopback port, or another input "
                                "with --in",
                            ExitWrongUse);
        }
    }
}

} // namespace zorhost
