// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The engine on a stepped machine, with two fake drivers that record their calls.
#pragma once

#include "engine/driver_table.h"
#include "engine/receive.h"
#include "tests/support/machine_test.h"

#include <functional>

// Behaviour of one fake driver row.
struct FakeRow {
    std::uint16_t InitResult = DriverSuccess;
    bool Ready = true;
    bool Opens = true;
    bool Sends = true;
    std::function<void(const MIDIEvent&)> OnXmit;    // runs inside the slot
    std::function<void()> OnConfig, OnOpen, OnClose; // as from a dialog or message box
};

// Replaces the two drivers for its lifetime. Records calls of the slots as "Open0", "Sync1:2" and
// so on.
class FakeDrivers {
public:
    FakeDrivers();
    ~FakeDrivers();
    FakeDrivers(const FakeDrivers&) = delete;
    FakeDrivers& operator=(const FakeDrivers&) = delete;

    static inline FakeRow Rows[DriverRows];
    // Returns and clears the recorded calls, without those of Xmit.
    static std::string DrainTrace();
    // Returns and clears the records sent to row 0, with the time of the time base.
    struct Sent {
        std::int32_t Time;
        MIDIEvent Event;
    };
    static std::vector<Sent> DrainSent();
};

MIDIEvent Note(std::int32_t time, std::uint8_t note, std::int32_t etime = 0);
// Passes a record to RcvEvent, as an input port does.
void Receive(std::uint8_t status, std::uint8_t data1 = 0, std::uint8_t data2 = 0,
             std::int16_t channel = 0);
// "60@0 61@500": the notes sent and their times.
std::string Played(const std::vector<FakeDrivers::Sent>& sent);
int CountOf(int queue);

// The initialised library, with three queues of 16 slots, on a stepped clock.
class EngineTest : public MachineTest {
protected:
    explicit EngineTest(std::uint32_t clock = 1000);
    ~EngineTest() override { // before the fake drivers are destroyed
        drivers.Rows[0] = drivers.Rows[1] = {};
        PowerOff();
    }

    FakeDrivers drivers;
};
