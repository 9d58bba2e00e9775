#include "tests/engine/rig.h"

#include "engine/queues.h"

#include <utility>

namespace {

std::string trace;
std::vector<FakeDrivers::Sent> sent;

void Say(const std::string& word) {
    if (!trace.empty()) trace += ' ';
    trace += word;
}

void Run(const std::function<void()>& action) {
    if (action) action();
}

template <int row>
struct FakeSlots {
    static FakeRow& Me() { return FakeDrivers::Rows[row]; }
    // The plus: the microphone is its dialog's.
    static void Say(const char* slot) {
        const char* plus = row == PRecRow && PRecInDialog ? "+" : "";
        ::Say(slot + (plus + std::to_string(row)));
    }

    static std::uint16_t Init() { return Say("Init"), Me().InitResult; }
    static std::uint8_t Term() { return Say("Term"), std::uint8_t{1}; }
    static std::uint8_t Open() {
        Say("Open");
        Run(Me().OnOpen);
        return Me().Opens;
    }
    static std::uint8_t Close() {
        Say("Close");
        Run(Me().OnClose);
        return 1;
    }
    static std::uint8_t Xmit(const MIDIEvent* event) {
        if (row == 0) sent.push_back({ZorTimeMIDI(0), *event});
        if (const auto action = Me().OnXmit) action(*event);
        return Me().Sends;
    }
    static void Sync(std::int16_t mode) { Say("Sync"), trace += ':' + std::to_string(mode); }
    static void Config(HWND) {
        Say("Config");
        Run(Me().OnConfig);
    }
    static std::uint8_t Silence() { return Say("Silence"), std::uint8_t{1}; }
    static std::uint8_t Ready() { return Me().Ready; }
};

// The table holds atomics and cannot be copied whole.
template <typename Slots>
void CopySlots(MIDIDriverEntry& to, const Slots& from) {
    to.Init = from.Init;
    to.Term = from.Term;
    to.Open = from.Open;
    to.Close = from.Close;
    to.Xmit = from.Xmit;
    to.Sync = from.Sync;
    to.Config = from.Config;
    to.Silence = from.Silence;
    to.Ready = from.Ready;
    to.Inited = to.Opened = 0;
    to.Error = 0;
}

MIDIDriverEntry real[DriverRows];

} // namespace

FakeDrivers::FakeDrivers() {
    for (int row = 0; row < DriverRows; ++row) {
        CopySlots(real[row], MIDIDrivers[row]);
        Rows[row] = {};
    }
    CopySlots(MIDIDrivers[0], FakeSlots<0>());
    CopySlots(MIDIDrivers[1], FakeSlots<1>());
    TakeTrace();
    TakeSent();
}

FakeDrivers::~FakeDrivers() {
    for (int row = 0; row < DriverRows; ++row) CopySlots(MIDIDrivers[row], real[row]);
}

std::string FakeDrivers::TakeTrace() { return std::exchange(trace, {}); }
std::vector<FakeDrivers::Sent> FakeDrivers::TakeSent() { return std::exchange(sent, {}); }

MIDIEvent Note(std::int32_t time, std::uint8_t note, std::int32_t etime) {
    return {time, etime, 0, 2, 0x90, note, 64};
}

void Receive(std::uint8_t status, std::uint8_t data1, std::uint8_t data2, std::int16_t channel) {
    MIDIEvent event = {
        static_cast<std::int32_t>(timeGetTime()), 0, channel, 2, status, data1, data2};
    RcvEvent(&event, 0);
}

std::string Played(const std::vector<FakeDrivers::Sent>& notes) {
    std::string text;
    for (const auto& [at, event] : notes) {
        if (!text.empty()) text += ' ';
        text += std::to_string(event.Data1) + '@' + std::to_string(at);
    }
    return text;
}

int CountOf(int queue) { return MIDIQueues[queue].Count; }

EngineTest::EngineTest(std::uint32_t clock) : MachineTest(clock) {
    EXPECT_EQ(MIDISysInit(0), -1);
    for (std::int16_t queue = 0; queue < QueueCount; ++queue) ZorAllocMIDI(queue, 16);
    FakeDrivers::TakeTrace();
}
