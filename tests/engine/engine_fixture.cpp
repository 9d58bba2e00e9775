// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "tests/engine/engine_fixture.h"

#include "engine/queues.h"

#include <utility>

namespace {

std::string trace;
std::vector<FakeDrivers::Sent> sent;

void Record(const std::string& word) {
    if (!trace.empty()) trace += ' ';
    trace += word;
}

void Run(const std::function<void()>& action) {
    if (action) action();
}

template <int row>
struct FakeSlots {
    static FakeRow& Me() { return FakeDrivers::Rows[row]; }
    // "+": the microphone is open for its dialog.
    static void Record(const char* slot) {
        const char* plus = row == PRecRow && PRecInDialog ? "+" : "";
        ::Record(slot + (plus + std::to_string(row)));
    }

    static std::uint16_t Init() { return Record("Init"), Me().InitResult; }
    static std::uint8_t Term() { return Record("Term"), std::uint8_t{1}; }
    static std::uint8_t Open() {
        Record("Open");
        Run(Me().OnOpen);
        return Me().Opens;
    }
    static std::uint8_t Close() {
        Record("Close");
        Run(Me().OnClose);
        return 1;
    }
    static std::uint8_t Xmit(const MIDIEvent* event) {
        if (row == 0) sent.push_back({ZorTimeMIDI(0), *event});
        if (const auto action = Me().OnXmit) action(*event);
        return Me().Sends;
    }
    static void Sync(std::int16_t mode) { Record("Sync"), trace += ':' + std::to_string(mode); }
    static void Config(HWND) {
        Record("Config");
        Run(Me().OnConfig);
    }
    static std::uint8_t Silence() { return Record("Silence"), std::uint8_t{1}; }
    static std::uint8_t Ready() { return Me().Ready; }
};

// Member by member, since atomics cannot be copied.
template <typename Slots>
void CopySlots(MIDIDriverEntry& target, const Slots& source) {
    target.Init = source.Init;
    target.Term = source.Term;
    target.Open = source.Open;
    target.Close = source.Close;
    target.Xmit = source.Xmit;
    target.Sync = source.Sync;
    target.Config = source.Config;
    target.Silence = source.Silence;
    target.Ready = source.Ready;
    target.Inited = target.Opened = 0;
    target.Error = 0;
}

MIDIDriverEntry realDrivers[DriverRows];

} // namespace

FakeDrivers::FakeDrivers() {
    for (int row = 0; row < DriverRows; ++row) {
        CopySlots(realDrivers[row], MIDIDrivers[row]);
        Rows[row] = {};
    }
    CopySlots(MIDIDrivers[0], FakeSlots<0>());
    CopySlots(MIDIDrivers[1], FakeSlots<1>());
    DrainTrace();
    DrainSent();
}

FakeDrivers::~FakeDrivers() {
    for (int row = 0; row < DriverRows; ++row) CopySlots(MIDIDrivers[row], realDrivers[row]);
}

std::string FakeDrivers::DrainTrace() { return std::exchange(trace, {}); }
std::vector<FakeDrivers::Sent> FakeDrivers::DrainSent() { return std::exchange(sent, {}); }

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
    for (const auto& [time, event] : notes) {
        if (!text.empty()) text += ' ';
        text += std::to_string(event.Data1) + '@' + std::to_string(time);
    }
    return text;
}

int CountOf(int queue) { return MIDIQueues[queue].Count; }

EngineTest::EngineTest(std::uint32_t clock) : MachineTest(clock) {
    EXPECT_EQ(MIDISysInit(0), -1);
    for (std::int16_t queue = 0; queue < QueueCount; ++queue) ZorAllocMIDI(queue, 16);
    FakeDrivers::DrainTrace();
}
