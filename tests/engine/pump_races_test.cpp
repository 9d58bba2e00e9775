// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Calls of other functions while a pump pass is inside a driver.
#include "tests/engine/engine_fixture.h"

#include "engine/active_call.h"
#include "engine/timer.h"

#include <thread>

namespace {

using namespace std::chrono_literals;

class PumpRaces : public EngineTest {
protected:
    PumpRaces() { ZorStartMIDI(1); }

    // Queues three notes, 10, 20 and 30 ms after start, and runs the action inside the driver when
    // it receives the first one.
    void During(std::function<void()> action, std::int32_t start = 0) {
        drivers.Rows[0].OnXmit = [this, action](const MIDIEvent& event) {
            if (event.Data1 != 1 || event.Status != 0x90) return;
            drivers.Rows[0].OnXmit = nullptr;
            action();
        };
        for (std::uint8_t i = 1; i <= 3; ++i) Put(1, Note(start + 10 * i, i));
        drivers.DrainTrace();
    }
    static void Put(std::uint16_t queue, const MIDIEvent& event) {
        EXPECT_TRUE(ZorXmit(queue, &event));
    }
    static std::string PlayedBy(std::uint32_t time) {
        machine::Advance(time);
        std::vector<FakeDrivers::Sent> notes;
        for (const auto& record : FakeDrivers::DrainSent()) {
            if (record.Event.Status == 0x90) notes.push_back(record);
        }
        return Played(notes);
    }
    static std::size_t Pending() { return machine::PendingTimers().size(); }
};

TEST_F(PumpRaces, KillLeavesNoTimerPending) {
    for (const std::uint8_t during : {0xB0, 0xE0}) { // a late expiry during its own messages
        SCOPED_TRACE(during);
        ZorMIDIPlay();
        Put(1, Note(9000, 1));
        Put(2, Note(9000, 1));
        Receive(0x90, 60, 1);
        drivers.DrainSent();
        drivers.DrainTrace();
        drivers.Rows[1].OnXmit = [&](const MIDIEvent& event) {
            EXPECT_EQ(CountOf(1) + CountOf(2), 0); // emptied first
            if (event.Status == during) MMETimerCallBack(0, 0, 0, 0, 0);
        };
        ZorKillMIDI();
        EXPECT_TRUE(ZorStartTimer()); // runs already; the chain stays ended until ZorMIDIPlay
        EXPECT_EQ(Pending(), 0u);
        EXPECT_EQ(CountOf(0), 1); // received records stay
        EXPECT_EQ(drivers.DrainTrace(), "Silence0 Silence1");
        std::string messages;
        for (const auto& [at, event] : drivers.DrainSent())
            messages += std::to_string(event.Status) + ',' + std::to_string(event.Data1) + ',' +
                        std::to_string(event.Data2) + ' ';
        EXPECT_EQ(messages, "176,64,0 176,123,0 224,0,64 ");
        ZorZeroQueue(0);
    }
}

// A pass during another pass or a transmission is deferred by one period; no record is sent twice.
TEST_F(PumpRaces, DefersASecondPass) {
    const auto deferred = [] {
        MMETimerCallBack(0, 0, 0, 0, 0);
        EXPECT_EQ(machine::PendingTimers(), std::vector<std::uint32_t>{timeGetTime() + 4});
        EXPECT_EQ(CountOf(1), 3); // a record is removed after it was sent
    };
    During([&] { ZorMIDIPlay(), deferred(); });
    EXPECT_EQ(PlayedBy(15), "1@10");
    EXPECT_EQ(PlayedBy(100), "2@20 3@30");
    During(nullptr);
    drivers.Rows[0].OnXmit = [&](const MIDIEvent& event) {
        if (event.Status == 0xC0) deferred();
    };
    const MIDIEvent now = {0, 0, 0, 1, 0xC0, 1, 0};
    EXPECT_TRUE(ZorXmit(ZOR_IMMEDIATE, &now));
    EXPECT_EQ(PlayedBy(4), "1@119 2@119 3@119");
}

// The host stops, restarts or changes playback while a pass is inside a device's send.
TEST_F(PumpRaces, DropsStalePasses) {
    struct Case {
        const char* name;
        void (*inside)();
        void (*afterwards)();
        const char* played; // within 400 ms
        std::size_t pending;
    };
    static const auto queue = [](std::initializer_list<std::int32_t> times) {
        for (const std::int32_t time : times) Put(1, Note(time, 9));
    };
    const Case cases[] = {
        {"emptied", [] { ZorZeroQueue(1), queue({60100}); }, [] {}, "1@60010 9@60100", 1},
        {"freed", [] { ZorFreeMIDI(1), ZorAllocMIDI(1, 2), queue({60100}); }, [] {},
         "1@60010 9@60100", 1},
        {"stop and start",
         [] {
             ZorStopMIDI(), ZorStartMIDI(1), queue({100, 200, 900});
         },
         [] {}, "1@60010 9@100 9@200", 1},
        {"stop and start under echo",
         [] {
             ZorEchoMIDI(1, nullptr);
             ZorStopMIDI(), ZorStartMIDI(1), queue({100, 200, 900});
         },
         [] {}, "1@60010 9@100 9@200", 1},
        {"rewind",
         [] {
             ZorZeroQueue(1), ZorTimeMIDI(1), queue({0, 100, 300, 900}), ZorMIDIPlay();
         },
         [] {}, "1@60010 9@0 9@100 9@300", 1},
        {"time set: the sent record is not sent again", [] { ZorSetMIDITimer(60005); }, [] {},
         "1@60010 2@60020 3@60030", 1},
        {"time set back: queue 2 uses the new time",
         [] { ZorSetMIDITimer(50), Put(2, Note(100, 9)); }, [] {}, "1@60010 9@100", 1},
        {"stop", [] { ZorStopMIDI(), queue({0}); }, [] {}, "1@60010", 0},
        {"kill, and a late expiry", [] { ZorKillMIDI(), queue({60100}); },
         [] { MMETimerCallBack(0, 0, 0, 0, 0); }, "1@60010", 0},
        {"kill, and play", [] { ZorKillMIDI(), queue({60100}); }, [] { ZorMIDIPlay(); },
         "1@60010 9@60100", 1},
        {"kill and play", [] { ZorKillMIDI(), queue({60100}), ZorMIDIPlay(); }, [] {},
         "1@60010 9@60100", 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ZorStopMIDI(), ZorStartMIDI(1);
        ZorAllocMIDI(1, 16);
        ZorSetMIDITimer(60000);
        During(c.inside, 60000);
        ZorMIDIPlay();
        const std::string first = PlayedBy(10);
        EXPECT_TRUE(c.pending != 0 || Pending() == 0); // at once
        c.afterwards();
        const std::string rest = PlayedBy(400);
        EXPECT_EQ(first + (rest.empty() ? "" : " ") + rest, c.played);
        EXPECT_EQ(Pending(), c.pending);
        drivers.Rows[0].OnXmit = nullptr;
        ZorEchoMIDI(0, nullptr);
    }
}

// A port refuses a record, and from its message box the host restarts or kills: the remaining
// drivers do not receive the record.
TEST_F(PumpRaces, CancelsTheRestOfATransmission) {
    struct Case {
        void (*fromBox)();
        bool goesOn;
    };
    for (const Case& c : {Case{[] { ZorStopMIDI(), ZorStartMIDI(1); }, false},
                          Case{ZorKillMIDI, false}, Case{[] { ZorSetMIDITimer(0); }, true}}) {
        bool reached = false;
        drivers.Rows[1].OnXmit = [&](const MIDIEvent& event) { reached |= event.Data1 == 77; };
        drivers.Rows[0].OnXmit = [&](const MIDIEvent& event) {
            if (event.Data1 == 77) c.fromBox();
        };
        const MIDIEvent note = Note(0, 77);
        EXPECT_TRUE(ZorXmit(ZOR_IMMEDIATE, &note));
        EXPECT_EQ(reached, c.goesOn);
    }
}

// A callback that started before a kill echoes no more notes after it: they would keep sounding,
// since the microphone is not polled until the host plays.
TEST_F(PumpRaces, KillCancelsEchoesInProgress) {
    ZorEchoMIDI(1, nullptr);
    {
        const ActiveCall expiry(CallKind::TimerCallback);
        Receive(0x90, 60, 1);
        ZorKillMIDI();
        Receive(0x90, 61, 1);
        EXPECT_EQ(PlayedBy(0), "60@0");
        EXPECT_EQ(CountOf(0), 2); // the host has both
    }
    Receive(0x90, 62, 1);
    EXPECT_EQ(PlayedBy(0), "62@0");
}

// The timer starts long after the time base was last set: other threads read the stopped time or 0,
// never the old time, at which a pass would send later records.
TEST_F(PumpRaces, StartingTheTimerHidesTheOldTime) {
    std::atomic<int> reads{0};
    int old = 0;
    std::thread reader([&] {
        for (; reads < 2000000; ++reads) {
            const Generation pass = CurrentGeneration();
            old += ZorTimeMIDI(0) != 0 && pass == CurrentGeneration() ? 1 : 0;
        }
    });
    while (reads < 2000000) {
        ZorStopMIDI();
        machine::Advance(200000);
        ZorStartTimer();
    }
    reader.join();
    EXPECT_EQ(old, 0);
}

// MIDISysTerm waits for callbacks in progress, including those of earlier waits that timed out.
TEST_F(PumpRaces, TermWaitsForCallbacks) {
    std::atomic<bool> inside{false}, mayLeave{false}, left{false};
    drivers.Rows[0].OnXmit = [&](const MIDIEvent&) {
        inside = true;
        mayLeave.wait(false);
        left = true;
    };
    Put(1, Note(0, 1));
    std::thread expiry([] { MMETimerCallBack(0, 0, 0, 0, 0); });
    while (!inside) std::this_thread::yield();
    for (int ending = 0; ending < 3; ++ending) EXPECT_FALSE(AwaitCallbacks(0ms));
    std::thread end([&] {
        std::this_thread::sleep_for(50ms);
        mayLeave = true;
        mayLeave.notify_all();
    });
    MIDISysTerm();
    EXPECT_TRUE(left);
    end.join();
    expiry.join();
}

// Another thread calls between the computation of a delay and its programming.
TEST_F(PumpRaces, ProgramsNoStaleDelay) {
    struct Case {
        const char* name;
        void (*between)();
        int pendingDelay; // -1: none
    };
    const Case cases[] = {
        {"nothing", [] {}, 500},
        {"a deferred pass", DeferTimer, 4},
        {"a kill, and a deferred pass", [] { EndPlayback(), DeferTimer(); }, -1},
        {"a kill, and a new chain",
         [] { EndPlayback(), ResumeChain(), ArmTimer(50, CurrentGeneration()); }, 50},
        {"a stop", StopMIDITimer, -1},
        {"a stop and a start", [] { StopMIDITimer(), ZorStartTimer(); }, 4},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ZorStopMIDI(), ZorStartMIDI(1);
        const Generation start = CurrentGeneration();
        c.between();
        EXPECT_EQ(ArmTimer(500, start), c.pendingDelay == 500);
        EXPECT_EQ(DisarmTimer(start - 1), false);
        const auto pending = machine::PendingTimers();
        ASSERT_EQ(pending.size(), c.pendingDelay < 0 ? 0u : 1u);
        for (const std::uint32_t due : pending)
            EXPECT_EQ(due - timeGetTime(), static_cast<std::uint32_t>(c.pendingDelay));
    }
}

// The wait continues while records are sent, and ends 5 seconds after the last one.
TEST_F(PumpRaces, WaitsForEmptyQueues) {
    EXPECT_TRUE(ZorXmitEmpty(1));
    for (const bool plays : {true, false}) {
        ZorTimeMIDI(1);
        if (!plays) ZorKillMIDI();
        for (int i = 0; i < 5; ++i)
            Put(static_cast<std::uint16_t>(1 + i % 2), Note(4000 * (i + 1), 1));
        std::atomic<int> result{-1};
        std::uint32_t waited = 0; // milliseconds
        const auto wait = [&] {
            result = -1;
            const std::uint32_t began = timeGetTime();
            std::thread waiter([&] { result = ZorXmitEmpty(1); });
            while (result < 0) {
                machine::Advance(100);
                std::this_thread::sleep_for(std::chrono::microseconds(100));
            }
            waiter.join();
            waited = timeGetTime() - began;
        };
        wait();
        // On a busy machine the clock may advance before the waiting thread reads it: try again.
        for (int again = 0; again < 50 && !plays && waited >= 12000; ++again) wait();
        EXPECT_TRUE(plays || (waited >= 5000 && waited < 12000)) << waited;
        EXPECT_EQ(result != 0, plays);
        EXPECT_EQ(ZorXmitEmpty(0) != 0, plays);
    }
}

} // namespace
