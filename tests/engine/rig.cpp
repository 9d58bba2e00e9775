#include "tests/engine/rig.h"

#include "engine/queues.h"

#include <algorithm>

FakeRow FakeDrivers::Rows[DriverRows];
std::string FakeDrivers::trace;
std::vector<FakeDrivers::Sent> FakeDrivers::sent;

namespace {

void Trace(const std::string& word) {
    if (!FakeDrivers::trace.empty()) FakeDrivers::trace += ' ';
    FakeDrivers::trace += word;
}

template <int row>
struct Slots {
    static constexpr char digit = '0' + row;
    static FakeRow& Me() { return FakeDrivers::Rows[row]; }
    static void Say(const char* slot) { Trace(std::string(slot) + digit); }

    static std::uint16_t Init() { return Say("Init"), Me().InitResult; }
    static std::uint8_t Term() { return Say("Term"), std::uint8_t{1}; }
    static std::uint8_t Open() {
        Say(EnablePitchRec ? "Open+" : "Open"); // the plus: the microphone is switched on
        if (const auto action = Me().OnOpen) action();
        return Me().Opens;
    }
    static std::uint8_t Close() {
        Say("Close");
        if (const auto action = Me().OnClose) action();
        return 1;
    }
    static std::uint8_t Xmit(const MIDIEvent* event) {
        if (row == 0) FakeDrivers::sent.push_back({ZorTimeMIDI(0), *event});
        if (const auto action = Me().OnXmit) action(*event);
        return Me().Sends;
    }
    static void Sync(std::int16_t mode) {
        Trace("Sync" + std::string(1, digit) + ":" + std::to_string(mode));
    }
    static void Config(HWND) {
        Say("Config");
        if (Me().OnConfig) Me().OnConfig();
    }
    static std::uint8_t Silence() { return Say("Silence"), std::uint8_t{1}; }
    static std::uint8_t Ready() { return Me().Ready; }

    static void PutIn() {
        MIDIDriverEntry& entry = MIDIDrivers[row];
        entry.Init = Init;
        entry.Term = Term;
        entry.Open = Open;
        entry.Close = Close;
        entry.Xmit = Xmit;
        entry.Sync = Sync;
        entry.Config = Config;
        entry.Silence = Silence;
        entry.Ready = Ready;
    }
};

// The table holds atomics and cannot be copied whole.
struct SavedSlots {
    decltype(MIDIDriverEntry::Init) Init;
    decltype(MIDIDriverEntry::Term) Term;
    decltype(MIDIDriverEntry::Open) Open;
    decltype(MIDIDriverEntry::Close) Close;
    decltype(MIDIDriverEntry::Xmit) Xmit;
    decltype(MIDIDriverEntry::Sync) Sync;
    decltype(MIDIDriverEntry::Config) Config;
    decltype(MIDIDriverEntry::Silence) Silence;
    decltype(MIDIDriverEntry::Ready) Ready;
} saved[DriverRows];

void Save(const MIDIDriverEntry& from, SavedSlots& to) {
    to = {from.Init, from.Term,   from.Open,    from.Close, from.Xmit,
          from.Sync, from.Config, from.Silence, from.Ready};
}

void Restore(const SavedSlots& from, MIDIDriverEntry& to) {
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

} // namespace

FakeDrivers::FakeDrivers() {
    for (int row = 0; row < DriverRows; ++row) {
        Save(MIDIDrivers[row], saved[row]);
        Rows[row] = {};
    }
    Slots<0>::PutIn();
    Slots<1>::PutIn();
    trace.clear();
    sent.clear();
}

FakeDrivers::~FakeDrivers() {
    for (int row = 0; row < DriverRows; ++row) Restore(saved[row], MIDIDrivers[row]);
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

std::string Played(const std::vector<FakeDrivers::Sent>& sent) {
    std::string text;
    for (const auto& [at, event] : sent) {
        if (!text.empty()) text += ' ';
        text += std::to_string(event.Data1) + '@' + std::to_string(at);
    }
    return text;
}

int CountOf(int queue) { return MIDIQueues[queue].Count; }

EngineTest::EngineTest(std::uint32_t clock) {
    machine::PowerOn();
    machine::UseSteppedClock(clock);
    EXPECT_EQ(MIDISysInit(0), -1);
    for (std::int16_t queue = 0; queue < QueueCount; ++queue) ZorAllocMIDI(queue, 16);
    FakeDrivers::TakeTrace();
}

EngineTest::~EngineTest() {
    ZorEchoMIDI(0, nullptr);
    ZorStopMIDI();
    ZorSyncMIDI(ZOR_SYNC_INTERNAL);
    ZorFilterMIDI(0, 0);
    MIDISysTerm();
    EXPECT_TRUE(machine::PendingTimers().empty());
    EXPECT_TRUE(machine::OpenTimerPeriods().empty());
}
