// The pump against everything that can come in while it is inside a driver.
#include "tests/engine/rig.h"

#include "engine/timer.h"

#include <thread>

namespace {

class PumpRaces : public EngineTest {
protected:
    PumpRaces() { ZorStartMIDI(1); }

    // Queues three notes, and runs the action inside the driver as it gets the given one.
    void During(std::uint8_t note, std::function<void()> action) {
        drivers.Rows[0].OnXmit = [this, note, action](const MIDIEvent& event) {
            if (event.Data1 != note || event.Status != 0x90) return;
            drivers.Rows[0].OnXmit = nullptr;
            action();
        };
        for (std::uint8_t i = 1; i <= 3; ++i) Put(1, Note(10 * i, i));
        drivers.TakeTrace();
    }
    static void Put(std::uint16_t queue, const MIDIEvent& event) {
        EXPECT_TRUE(ZorXmit(queue, &event));
    }
    static std::string PlayedBy(std::uint32_t time) {
        machine::Advance(time);
        std::vector<FakeDrivers::Sent> notes;
        for (const auto& record : FakeDrivers::TakeSent()) {
            if (record.Event.Status == 0x90) notes.push_back(record);
        }
        return Played(notes);
    }
    static std::size_t Pending() { return machine::PendingTimers().size(); }
};

// Whatever happens to the ring while its head is being sent, what is put in afterwards is whole.
TEST_F(PumpRaces, RingThatChangesUnderACopiedRecord) {
    struct Case {
        const char* name;
        void (*change)();
        const char* played;
    };
    const Case cases[] = {
        {"emptied", [] { ZorZeroQueue(1); }, "1@10 9@30"},
        {"freed", [] { ZorFreeMIDI(1), ZorAllocMIDI(1, 16); }, "1@10 9@30"},
        {"smaller", [] { ZorAllocMIDI(1, 2); }, "1@10 9@30"},
        {"killed", [] { ZorKillMIDI(), ZorMIDIPlay(); }, "1@10 9@30"},
        {"started again", [] { ZorRestoreMIDI(), ZorStartMIDI(1); }, "1@10 9@30"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        During(1, [&] {
            c.change();
            EXPECT_EQ(CountOf(1), 0);
            Put(1, Note(30, 9, 99));
        });
        EXPECT_EQ(PlayedBy(29), "1@10");
        EXPECT_EQ(CountOf(1), 1);
        EXPECT_EQ(Pending(), 1u);
        EXPECT_EQ(PlayedBy(20), "9@30");
        EXPECT_EQ(ZorEtimeMIDI(1, nullptr), 99);
        EXPECT_TRUE(ZorXmitEmpty(0));
        ZorAllocMIDI(1, 16);
        ZorTimeMIDI(1);
    }
}

// A queue that is freed or replaced while its record is out keeps nothing of that record.
TEST_F(PumpRaces, NothingOfAnOldQueueReachesTheNewOne) {
    During(1, [] { ZorAllocMIDI(1, 8); });
    machine::Advance(50);
    EXPECT_EQ(ZorEtimeMIDI(1, nullptr), 0);
    EXPECT_EQ(CountOf(1), 0);
}

TEST_F(PumpRaces, AKillWinsOverThePumpThatIsUnderWay) {
    During(2, [] { ZorKillMIDI(); });
    EXPECT_EQ(PlayedBy(500), "1@10 2@20");
    EXPECT_EQ(Pending(), 0u);
    EXPECT_TRUE(ZorXmitEmpty(0));
    std::uint8_t timed = 0;
    ZorMIDIStatus(nullptr, &timed);
    EXPECT_TRUE(timed);
    EXPECT_EQ(drivers.TakeTrace(), "Silence0 Silence1");
    EXPECT_TRUE(ZorStartTimer()); // runs already: no new chain
    EXPECT_EQ(Pending(), 0u);
    Put(1, Note(600, 5));
    ZorMIDIPlay();
    EXPECT_EQ(PlayedBy(500), "5@600");
    EXPECT_EQ(drivers.TakeTrace(), "");
}

TEST_F(PumpRaces, AKillLeavesNothingArmedBehindIt) {
    struct Case {
        const char* name;
        std::uint8_t status, data1; // during which of the kill's own messages
        void (*meanwhile)();
    };
    const Case cases[] = {
        {"a late expiry", 0xB0, 64, [] { MMETimerCallBack(0, 0, 0, 0, 0); }},
        {"a late expiry at the end", 0xE0, 0, [] { MMETimerCallBack(0, 0, 0, 0, 0); }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ZorMIDIPlay();
        Put(1, Note(9000, 1));
        Put(2, Note(9000, 1));
        Receive(0x90, 60, 1);
        drivers.TakeSent();
        drivers.TakeTrace();
        drivers.Rows[1].OnXmit = [&](const MIDIEvent& event) {
            if (event.Status == c.status && event.Data1 == c.data1) c.meanwhile();
        };
        ZorKillMIDI();
        EXPECT_EQ(Pending(), 0u);
        EXPECT_EQ(CountOf(1) + CountOf(2), 0);
        EXPECT_EQ(CountOf(0), 1); // what was received stays
        EXPECT_EQ(drivers.TakeTrace(), "Silence0 Silence1");
        std::string endings;
        for (const auto& [at, event] : drivers.TakeSent()) {
            EXPECT_EQ(event.Channel, 0);
            EXPECT_EQ(event.Length, 2);
            endings += std::to_string(event.Status) + ',' + std::to_string(event.Data1) + ',' +
                       std::to_string(event.Data2) + ' ';
        }
        EXPECT_EQ(endings, "176,64,0 176,123,0 224,0,64 ");
        MIDIEvent event;
        while (ZorRcv(&event, 0)) {
        }
    }
    drivers.Rows[1].OnXmit = nullptr;
    ZorRestoreMIDI();
    ZorAllocMIDI(1, 16);
    Put(1, Note(9000, 1));
    ZorKillMIDI();
    EXPECT_EQ(CountOf(1), 0); // with no driver open too
}

// Whoever finds the pump or a driver busy is put off by one period, and nothing is played twice.
TEST_F(PumpRaces, ASecondPumpPutsItselfOff) {
    During(1, [] {
        ZorMIDIPlay();
        MMETimerCallBack(0, 0, 0, 0, 0);
        EXPECT_EQ(machine::PendingTimers(), std::vector<std::uint32_t>{timeGetTime() + 4});
        EXPECT_EQ(CountOf(1), 3); // a record leaves only after the drivers have had it
    });
    EXPECT_EQ(PlayedBy(15), "1@10");
    EXPECT_EQ(PlayedBy(100), "2@20 3@30");
    During(99, nullptr);
    drivers.Rows[0].OnXmit = [](const MIDIEvent& event) {
        if (event.Status != 0xC0) return;
        MMETimerCallBack(0, 0, 0, 0, 0);
        EXPECT_EQ(CountOf(1), 3);
        EXPECT_EQ(machine::PendingTimers(), std::vector<std::uint32_t>{timeGetTime() + 4});
    };
    const MIDIEvent now = {0, 0, 0, 1, 0xC0, 1, 0};
    EXPECT_TRUE(ZorXmit(ZOR_IMMEDIATE, &now));
    EXPECT_EQ(PlayedBy(4), "1@119 2@119 3@119");
}

TEST_F(PumpRaces, StoppedAndStartedInside) {
    During(1, [] { ZorStopMIDI(); });
    EXPECT_EQ(PlayedBy(100), "1@10");
    EXPECT_EQ(Pending(), 0u);
    EXPECT_TRUE(machine::OpenTimerPeriods().empty());
    EXPECT_EQ(CountOf(1), 2);
    ZorStartMIDI(1);
    During(1, [] {
        ZorStopMIDI();
        ZorStartMIDI(1);
        for (std::uint8_t i = 5; i < 8; ++i) Put(1, Note(10 * i, i));
    });
    EXPECT_EQ(PlayedBy(200), "1@10 5@50 6@60 7@70");
    EXPECT_EQ(Pending(), 1u);
    EXPECT_EQ(machine::OpenTimerPeriods().size(), 1u);
}

TEST_F(PumpRaces, KilledAndStartedAgainInside) {
    During(1, [] {
        ZorKillMIDI();
        Put(1, Note(30, 5));
        Put(1, Note(40, 6));
        ZorMIDIPlay(); // puts itself off; the old pump must leave its expiry alone
    });
    EXPECT_EQ(PlayedBy(200), "1@10 5@30 6@40");
    EXPECT_EQ(Pending(), 1u);
    EXPECT_EQ(drivers.TakeTrace(), "Silence0 Silence1");
}

// A delay is figured, and another thread calls before it is programmed.
TEST_F(PumpRaces, WhatComesBetweenFiguringAndProgramming) {
    struct Case {
        const char* name;
        void (*between)();
        int pendingDelay; // -1: none
    };
    const Case cases[] = {
        {"nothing", [] {}, 500},
        {"a pump that put itself off", DeferTimer, 4},
        {"a kill", EndPlayback, -1},
        {"a kill, and a new chain",
         [] { EndPlayback(), ResumeChain(), ArmTimer(50, CurrentGeneration()); }, 50},
        {"a stop", StopMIDITimer, -1},
        {"a stop and a start", [] { StopMIDITimer(), ZorStartTimer(); }, 4},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ZorStopMIDI(), ZorStartMIDI(1);
        const Generation since = CurrentGeneration();
        c.between();
        EXPECT_EQ(ArmTimer(500, since), since == CurrentGeneration());
        EXPECT_EQ(DisarmTimer(since - 1), false);
        const auto pending = machine::PendingTimers();
        ASSERT_EQ(pending.size(), c.pendingDelay < 0 ? 0u : 1u);
        for (const std::uint32_t due : pending)
            EXPECT_EQ(due - timeGetTime(), static_cast<std::uint32_t>(c.pendingDelay));
    }
}

// Waiting goes on as long as records leave, and ends 5 seconds after the last one has.
TEST_F(PumpRaces, WaitingForTheQueuesToRunDry) {
    EXPECT_TRUE(ZorXmitEmpty(1));
    machine::SetTimerCaps(1, UINT32_MAX);
    struct Case {
        const char* name;
        int records, spacing;
        bool chain, dry;
    };
    for (const Case& c : {Case{"leaves every 4 s", 5, 4000, true, true},
                          Case{"too far away", 2, 500000000, true, false},
                          Case{"nothing plays", 2, 10, false, false}}) {
        SCOPED_TRACE(c.name);
        ZorTimeMIDI(1);
        if (!c.chain) ZorKillMIDI();
        for (int i = 0; i < c.records; ++i)
            Put(static_cast<std::uint16_t>(1 + i % 2), Note(c.spacing * (i + 1), 1));
        if (c.chain) ZorMIDIPlay();
        std::atomic<int> result{-1};
        std::thread waiter([&] { result = ZorXmitEmpty(1); });
        while (result < 0) {
            machine::Advance(500);
            std::this_thread::yield();
        }
        waiter.join();
        EXPECT_EQ(result != 0, c.dry);
        EXPECT_EQ(ZorXmitEmpty(0) != 0, c.dry);
        ZorZeroQueue(1);
        ZorZeroQueue(2);
    }
}

} // namespace
