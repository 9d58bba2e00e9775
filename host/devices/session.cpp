#include "host/devices/session.h"

#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <semaphore>
#include <set>
#include <utility>

namespace zorhost {

namespace {

constexpr std::int16_t InputSlots = 32767; // as many as there can be: a busy machine takes late
constexpr std::int16_t OutputSlots = 4096;

constexpr int PollInterval = 4; // milliseconds

// The wait for what comes in. The thread that clears the flag releases the semaphore, once.
std::atomic<bool> Waiting{false};
std::counting_semaphore<> Ended{0};

// On the timers' thread.
void EndWait() {
    MIDIEvent event;
    if (Waiting && ZorRcv(&event, 1) && Waiting.exchange(false)) Ended.release();
}

void SendNow(std::int16_t channel, std::uint8_t status, std::uint8_t data1, std::uint8_t data2) {
    const MIDIEvent event = {0, 0, channel, 2, status, data1, data2};
    ZorXmit(ZOR_IMMEDIATE, &event);
}

RunChanges Changes(const SessionPlan& plan) {
    RunChanges changes;
    changes.Inputs = plan.Inputs;
    changes.Outputs = plan.Outputs;
    changes.Microphone = plan.Listens || !plan.Microphone.empty();
    changes.MicrophoneChannel = plan.Listens ? 1 : changes.Microphone ? MicrophoneChannel : 0;
    return changes;
}

} // namespace

Library::Library() {
    const std::int16_t code = MIDISysInit(0);
    if (code != -1)
        throw HostError("the MIDI library does not start (code " + std::to_string(code) + ")");
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
    ZorFilterMIDI(options.Keep.Classes, options.Keep.System);
    ZorSyncMIDI(static_cast<std::int16_t>(options.Sync));
    if (!ZorStartMIDI(1)) {
        const std::string which = TakeErrors();
        throw HostError("the ports cannot be opened" + (which.empty() ? "" : ": " + which));
    }
    std::uint8_t timed = 0;
    ZorMIDIStatus(nullptr, &timed);
    if (!timed) throw HostError("the system gives no timer");
    Thru = options.Thru;
    if (Thru) ZorEchoMIDI(1, options.ThruMap.data());
}

void Library::TakeReceived(std::vector<MIDIEvent>& records) {
    MIDIEvent event;
    for (int i = 1; i < InputSlots && ZorRcv(&event, 0); ++i) {
        event.Data2 = std::min(std::uint8_t{event.Data2}, std::uint8_t{127});
        records.push_back(event);
    }
}

// The library has nothing to wait for, but whatever comes in is filed on the timers' thread.
void Library::AwaitReceived(int milliseconds) {
    if (!machine::AfterTimers(EndWait)) return Nap(std::min(milliseconds, PollInterval));
    Waiting = true;
    MIDIEvent event;
    const bool ended =
        !ZorRcv(&event, 1) && Ended.try_acquire_for(std::chrono::milliseconds(milliseconds));
    // It may be ended just now, after all.
    if (!Waiting.exchange(false) && !ended) Ended.acquire();
}

void Library::Silence(std::span<const MIDIEvent> played) {
    ZorKillMIDI();
    // What comes in while a message is being sent directly is dropped: let the note offs come back
    // first where they are recorded.
    Nap(20);
    std::set<std::int16_t> channels;
    for (const MIDIEvent& event : played) channels.insert(event.Channel);
    for (const std::int16_t channel : channels) {
        SendNow(channel, 0xB0, 64, 0);  // sustain pedal up
        SendNow(channel, 0xB0, 123, 0); // all notes off
        SendNow(channel, 0xE0, 0, 64);  // bend centre
    }
    ZorMIDIPlay(); // a kill has ended the chain of expiries; what is queued from now on plays
}

std::string Library::TakeErrors() {
    std::string text;
    std::uint16_t code = 0;
    for (std::int16_t row = ZorErrorMIDI(&code); row >= 0; row = ZorErrorMIDI(&code)) {
        text += (text.empty() ? "" : ", ") +
                std::string(row == 0 ? "a MIDI port" : "the microphone") + " failed";
    }
    return text;
}

Session::Session(const GlobalOptions& global, const SessionPlan& plan)
    : On(global, plan.Joined), Plan(plan),
      Settings(SettingsFolder(global.IniFolder), Changes(plan)),
      Map(ReadPortMap(Settings.IniPath())) {}

void Session::PlugIn() {
    if (std::exchange(Plugged, true)) return;
    if (Plan.Listens && Plan.Microphone.empty()) return ChooseMicrophone(Plan.Device);
    Mic = PlugMicrophone(Plan.Microphone, Map);
}

void Session::Start(const StartOptions& options) {
    PlugIn();
    Lib.emplace().Start(options);
}

void Session::Stop() { Lib.reset(); }

void Session::RefuseLoop(const std::string& option) const {
    for (const Port& output : Map.Outputs) {
        for (const Port& input : Map.Inputs) {
            if (output.Device.empty() || output.Device != input.Device) continue;
            if (!Machine::IsLoopback(output.Device)) continue;
            throw HostError(option + ": \"" + output.Device +
                                "\" plays into an input that is listened to, so what is sent would "
                                "come in again; take another loopback port, or listen to another "
                                "one with --in",
                            ExitWrongUse);
        }
    }
}

} // namespace zorhost
