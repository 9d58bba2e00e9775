// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "tests/engine/engine_fixture.h"

namespace {

class Input : public EngineTest {
protected:
    Input() { ZorStartMIDI(1); }
};

// The microphone's records carry their age; they are stamped with the time of their onset.
TEST_F(Input, StampsByAge) {
    struct Case {
        const char* name;
        std::int16_t mode;
        bool timed;
        std::int32_t now, age, stamp;
    };
    for (const Case& c :
         {Case{"internal", 0, true, 1000, 50, 920}, Case{"none", 0, true, 1000, 0, 970},
          Case{"at the wrap", 0, true, INT32_MIN, 10, INT32_MAX - 39},
          Case{"timer stopped", 0, false, 0, 50, -80},
          Case{"external, in units", 2, true, 1024, 50, 944}}) {
        SCOPED_TRACE(c.name);
        ZorStopMIDI();
        ZorSyncMIDI(c.mode);
        ZorStartMIDI(c.timed);
        ZorSetMIDITimer(c.now);
        MIDIEvent event = Note(c.age, 60);
        RcvEvent(&event, 1);
        ASSERT_TRUE(ZorRcv(&event, 0));
        EXPECT_EQ(event.Time, c.stamp);
    }
}

// Records received during a transmission are lost, but still feed the external clock.
TEST_F(Input, DropsRecordsDuringATransmission) {
    ZorSyncMIDI(ZOR_SYNC_EXTERNAL);
    ZorTimeMIDI(1);
    Receive(0xFA);
    Receive(0xF8);
    ZorZeroQueue(0);
    ZorEchoMIDI(1, nullptr);
    drivers.DrainSent();
    drivers.Rows[1].OnXmit = [](const MIDIEvent&) {
        Receive(0x90, 1, 1);
        Receive(0xF8);
    };
    const MIDIEvent event = Note(0, 60);
    EXPECT_TRUE(ZorXmit(ZOR_IMMEDIATE, &event));
    EXPECT_EQ(drivers.DrainSent().size(), 1u); // no echo inside a transmission
    EXPECT_EQ(ZorTimeMIDI(0), 85);             // two clocks counted
    EXPECT_EQ(CountOf(0), 0);
    Receive(0x90, 2, 1); // queued; its echo is a transmission too
    EXPECT_EQ(CountOf(0), 1);
    drivers.Rows[1].OnXmit = nullptr;
    Receive(0x90, 3, 1);
    Receive(0xFE); // Active Sensing is ignored
    EXPECT_EQ(CountOf(0), 2);
}

} // namespace
