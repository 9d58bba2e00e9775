// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The exported functions in any order and with any arguments, compared with the reference model.
#include "fuzz/fuzz.h"
#include "tests/support/library_and_model.h"

namespace {

constexpr int Ports = 3;

MIDIEvent Record(Bytes& bytes, std::int32_t now) {
    const std::uint8_t how = bytes.Byte();
    MIDIEvent event = {};
    event.Time = how & 1 ? static_cast<std::int32_t>(bytes.Long())
                         : now + static_cast<std::int8_t>(bytes.Byte());
    event.Etime = how & 2 ? static_cast<std::int32_t>(bytes.Long()) : how;
    event.Channel = how & 4 ? static_cast<std::int16_t>(bytes.Word())
                            : static_cast<std::int16_t>(bytes.Below(50) - 1);
    event.Length = how >> 3 & 3;
    event.Status = bytes.Byte();
    if (event.Status < 0x80) event.Status = how & 32 ? 0 : 0x90;
    event.Data1 = bytes.Byte() & (how & 64 ? 0xFF : 0x7F);
    event.Data2 = bytes.Byte();
    return event;
}

void Time(LibraryAndModel& both, Bytes& bytes) {
    switch (bytes.Below(6)) {
    case 0:
        return both.SetTime(static_cast<std::int32_t>(bytes.Long()));
    case 1:
        return both.SetTime(bytes.Byte());
    case 2:
        return both.ResetTime();
    case 3:
        return both.Sync(static_cast<std::int16_t>(bytes.Below(4)));
    case 4:
        return both.StartTimer();
    default:
        return both.Advance(bytes.Word() % 1000);
    }
}

void Life(LibraryAndModel& both, Bytes& bytes) {
    std::uint8_t map[64];
    for (int i = 0; i < 64; ++i) map[i] = static_cast<std::uint8_t>(i % 9 == 0 ? 255 : 63 - i);
    switch (bytes.Below(10)) {
    case 0:
        return both.Init(bytes.Byte() & 1);
    case 1:
        return both.Term();
    case 2:
        return both.Restore();
    case 3:
        return both.Stop();
    case 4:
        return both.Echo(true, bytes.Byte() & 1 ? map : nullptr);
    case 5:
        return both.Echo(false, map);
    case 6:
        return both.RunDialog();
    case 7:
        return both.Filter(bytes.Word(), bytes.Word());
    default:
        return both.Start(bytes.Byte() & 1);
    }
}

void Queue(LibraryAndModel& both, Bytes& bytes) {
    const auto queue = static_cast<std::int16_t>(bytes.Below(5) - 1);
    switch (bytes.Below(4)) {
    case 0:
        return both.Free(queue);
    case 1:
        return both.Zero(queue);
    case 2:
        return both.Alloc(queue, static_cast<std::int16_t>(bytes.Word()));
    default:
        return both.Alloc(queue, static_cast<std::int16_t>(bytes.Below(24) - 1));
    }
}

// Calls with invalid arguments, which change nothing.
void Nonsense() {
    std::uint16_t count = 7;
    Check(!ZorRcv(nullptr, 0) && !ZorXmit(1, nullptr) && !ZorXmit(ZOR_IMMEDIATE, nullptr), "null");
    Check(!ZorReportMQ(1, nullptr, &count) && count == 0, "an output reads 0");
    Check(ZorEtimeMIDI(9, &count) == 0 && ZorResoMIDI() == 1000 && ZorSetupMIDI(1), "constants");
    ZorMIDIStatus(nullptr, nullptr);
    ZorConfigMIDIDriver(nullptr, -1);
    Check(ZorMIDIDriverVersion(nullptr) == 0x04030401, "the version");
    MmeMidiInCallBack(&count, 0x3C3, 0, 0x403C90, 0);
}

void Step(LibraryAndModel& both, Bytes& bytes) {
    const std::uint8_t choice = bytes.Byte();
    static constexpr std::uint16_t queues[] = {1, 2, 1, 2, ZOR_IMMEDIATE, 0, 3, 0xFFFE};
    if (choice < 90)
        return static_cast<void>(both.Xmit(queues[choice % 8], Record(bytes, both.Model.Time())));
    if (choice < 140) return both.Receive(choice % Ports, bytes.Long() & 0xFFFFFF);
    if (choice < 170) return both.Advance(bytes.Byte() % 32);
    if (choice < 185) return static_cast<void>(both.Rcv(choice & 1));
    if (choice < 195) return Queue(both, bytes);
    if (choice < 215) return Time(both, bytes);
    if (choice < 235) return Life(both, bytes);
    if (choice < 240) return both.CallBack();
    if (choice < 245) return both.Kill();
    choice < 254 ? both.Play() : Nonsense();
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    [[maybe_unused]] static const bool ready =
        (FreshMachine(LibraryAndModel::Ini(Ports)), LibraryAndModel::AddPorts(Ports), true);
    Bytes bytes(data, size);
    static constexpr std::uint32_t clocks[] = {5000, 0xFFFFFF00, 0x7FFFFF00};
    const std::uint32_t clock = clocks[bytes.Below(3)];
    machine::UseSteppedClock(clock);
    MIDISysInit(0);
    LibraryAndModel both(Ports, clock, true);
    for (std::int16_t queue = 0; queue < 3; ++queue) both.Alloc(queue, 8);
    both.Start(true);
    both.SetTime(0);
    both.Receive(0, 0xFC); // Stop, since the run before may have armed the clock
    while (bytes.Any() && both.Difference.empty()) {
        for (int step = 0; step < 8 && bytes.Any(); ++step) Step(both, bytes);
        both.Compare();
    }
    Check(both.Difference.empty(), both.Difference.c_str());
    ZorEchoMIDI(0, nullptr);
    ZorStopMIDI();
    ZorSyncMIDI(0), ZorFilterMIDI(0, 0);
    Check(machine::OpenMidiInputs() + machine::OpenMidiOutputs() == 0, "all ports are closed");
    Check(machine::PendingTimers().empty() && machine::OpenTimerPeriods().empty(), "no timers");
    return 0;
}
