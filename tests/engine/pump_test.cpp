// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "tests/engine/engine_fixture.h"

#include "engine/queues.h"

namespace {

class Pump : public EngineTest {
protected:
    Pump() { ZorStartMIDI(1); }
    static void Put(std::uint16_t queue, const MIDIEvent& event) {
        EXPECT_TRUE(ZorXmit(queue, &event));
    }
    std::string PlayedBy(std::uint32_t time) {
        machine::Advance(time);
        return Played(drivers.DrainSent());
    }
    // Milliseconds to the pending expiry; -1 for none.
    static std::int64_t PendingDelay() {
        const auto pending = machine::PendingTimers();
        EXPECT_LE(pending.size(), 1u);
        return pending.empty() ? -1 : std::int64_t{pending[0] - timeGetTime()};
    }
};

// The programmed delay for differences of 32-bit times.
TEST_F(Pump, LimitsDelaysTo32Bits) {
    constexpr std::int32_t high = INT32_MAX, low = INT32_MIN;
    machine::SetTimerCaps(1, UINT32_MAX);
    struct Case {
        std::int32_t now, time;
        std::int64_t delay;
    };
    for (const Case& c :
         {Case{0, 100, 100}, Case{0, 5, 5}, Case{0, 2, 4}, Case{0, high, 4},
          Case{0, high - 1, high - 1}, Case{5, high - 1, high - 6}, Case{-1, high - 1, 4},
          Case{-1, high - 2, high - 1}, Case{-1000, high - 1, 4}, Case{low, high - 1, 4},
          Case{low, -1, 4}, Case{low, 0, 4}, Case{low, -2, high - 1}, Case{high - 9, high - 1, 8},
          Case{high, high - 1, 4}}) {
        SCOPED_TRACE(std::to_string(c.now) + " to " + std::to_string(c.time));
        ZorZeroQueue(1);
        ZorSetMIDITimer(c.now);
        Put(1, Note(c.time, 1));
        ZorMIDIPlay();
        EXPECT_EQ(PendingDelay(), c.delay);
        EXPECT_EQ(CountOf(1), c.now < c.time ? 1 : 0);
    }
}

// In external sync nothing is sent before the clock runs; a due record that waits ends the chain.
TEST_F(Pump, WaitsForTheExternalClock) {
    ZorSyncMIDI(ZOR_SYNC_EXTERNAL);
    ZorTimeMIDI(1);
    Put(1, Note(300, 1));
    machine::Advance(4);
    EXPECT_EQ(PendingDelay(), 300); // time units, used as milliseconds
    Put(2, Note(0, 2));
    ZorMIDIPlay();
    EXPECT_EQ(PendingDelay(), -1);
    EXPECT_EQ(PlayedBy(1000), "");
    Receive(0xFA);
    ZorMIDIPlay();
    EXPECT_EQ(PendingDelay(), -1); // Start alone does not start the clock
    Receive(0xF8);
    ZorMIDIPlay();
    EXPECT_EQ(PlayedBy(0), "2@42");
    EXPECT_EQ(PendingDelay(), 258);
    for (int clock = 1; clock < 8; ++clock) {
        machine::Advance(20);
        Receive(0xF8);
    }
    EXPECT_EQ(PlayedBy(1000), "1@384"); // time stops at the ninth clock
    Receive(0xFC);
    Put(1, Note(0, 3));
    machine::Advance(4);
    EXPECT_EQ(PendingDelay(), -1);
    ZorSyncMIDI(ZOR_SYNC_INTERNAL);
    ZorMIDIPlay();
    EXPECT_EQ(drivers.DrainSent().size(), 1u);
}

} // namespace
