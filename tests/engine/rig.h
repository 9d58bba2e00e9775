// The engine between a stepped machine and two drivers that only take notes.
#pragma once

#include "engine/driver_table.h"
#include "engine/receive.h"
#include "tests/support/machine_test.h"

#include <functional>

// What a fake driver row does when it is called.
struct FakeRow {
    std::uint16_t InitResult = DriverSuccess;
    bool Ready = true;
    bool Opens = true;
    bool Sends = true;
    std::function<void(const MIDIEvent&)> OnXmit;    // runs inside the slot
    std::function<void()> OnConfig, OnOpen, OnClose; // as from a dialog or a message box
};

// Takes the place of the two drivers for its life. Slots called are written down as "Open0",
// "Sync1:2" and so on.
class FakeDrivers {
public:
    FakeDrivers();
    ~FakeDrivers();
    FakeDrivers(const FakeDrivers&) = delete;
    FakeDrivers& operator=(const FakeDrivers&) = delete;

    static inline FakeRow Rows[DriverRows];
    // Slots called since the last call of this, Xmit left out.
    static std::string TakeTrace();
    // What row 0 was sent since the last call, with the time base's time of sending.
    struct Sent {
        std::int32_t At;
        MIDIEvent Event;
    };
    static std::vector<Sent> TakeSent();
};

MIDIEvent Note(std::int32_t time, std::uint8_t note, std::int32_t etime = 0);
// A received record as the input ports hand it in.
void Receive(std::uint8_t status, std::uint8_t data1 = 0, std::uint8_t data2 = 0,
             std::int16_t channel = 0);
// "60@0 61@500": which notes were sent at what time.
std::string Played(const std::vector<FakeDrivers::Sent>& sent);
int CountOf(int queue);

// A library that is up, with three queues of 16 slots, on a clock that a test steps.
class EngineTest : public MachineTest {
protected:
    explicit EngineTest(std::uint32_t clock = 1000);
    ~EngineTest() override { // while the fake drivers are still there
        drivers.Rows[0] = drivers.Rows[1] = {};
        PowerOff();
    }

    FakeDrivers drivers;
};
