// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/api/clock.h"

#include "tests/support/machine_test.h"

#include <array>
#include <atomic>
#include <map>
#include <random>
#include <thread>
#include <vector>

namespace {

using Dues = std::vector<std::uint32_t>;

using Clock = MachineTest;

void CALLBACK KeepChain(UINT, UINT, DWORD_PTR dues, DWORD_PTR, DWORD_PTR) {
    machine::Advance(50), Sleep(50); // a callback cannot move time
    reinterpret_cast<Dues*>(dues)->push_back(timeGetTime());
    timeSetEvent(10, 1, KeepChain, dues, TIME_ONESHOT);
}

TEST_F(Clock, AChainOfOneShotsKeepsItsGridAcrossTheWrap) {
    machine::UseSteppedClock(0xFFFFFFF0u);
    Dues came;
    timeSetEvent(10, 1, KeepChain, reinterpret_cast<DWORD_PTR>(&came), TIME_ONESHOT);
    machine::Advance(45);
    EXPECT_EQ(came, (Dues{0xFFFFFFFAu, 4, 14, 24}));
    EXPECT_EQ(machine::PendingTimers(), (Dues{34}));
    EXPECT_EQ(timeGetTime(), 29u);
    for (const UINT delay : {30u, 20u}) timeSetEvent(delay, 1, KeepChain, 0, TIME_ONESHOT);
    EXPECT_EQ(machine::PendingTimers(), (Dues{34, 49, 59}));
    machine::UseSteppedClock(); // ends the chain
}

TEST_F(Clock, AHostIsToldOfWhatTheTimersThreadHasDone) {
    static Dues notified;
    static std::uint32_t overdue; // when the action ran; time never goes back
    notified.clear();
    machine::AfterTimers([] { notified.push_back(timeGetTime()); });
    timeSetEvent(
        3, 1, [](UINT, UINT, DWORD_PTR, DWORD_PTR, DWORD_PTR) { notified.push_back(0); }, 0, 0);
    device::Schedule(
        device::Lane::Audio, 500'000, [](void*, std::uintptr_t) { overdue = timeGetTime(); },
        nullptr);
    machine::AddMidiInput("Keys");
    HMIDIIN in = nullptr;
    midiInOpen(&in, 0, 0, 0, CALLBACK_NULL);
    machine::ReceiveMidi(0, 0xF8);
    machine::Advance(5);
    EXPECT_EQ(notified, (Dues{1000, 0, 1003}));
    EXPECT_EQ(overdue, 1000u);
    machine::AfterTimers(nullptr);
    machine::ReceiveMidi(0, 0xF8);
    machine::Advance(1);
    EXPECT_EQ(notified.size(), 3u);
    midiInClose(in);
}

// On the real clock a timer must not expire early, in whatever part of a millisecond it was set;
// how late it is depends on the computer.
struct Link {
    DWORD Due = timeGetTime() + 1;
    std::atomic<int> Left{100}, Early{0};
};
void CALLBACK NoteEarly(UINT, UINT, DWORD_PTR user, DWORD_PTR, DWORD_PTR) {
    auto& chain = *reinterpret_cast<Link*>(user);
    if (static_cast<std::int32_t>(timeGetTime() - chain.Due) < 0) ++chain.Early;
    const int left = chain.Left;
    const std::uint64_t odd = machine::Microseconds() + static_cast<std::uint64_t>(left * 7);
    while (machine::Microseconds() < odd) {
    }
    chain.Due = timeGetTime() + 1;
    // Set before the count decreases, since the test may destroy the link after that.
    if (left > 1) timeSetEvent(1, 1, NoteEarly, user, TIME_ONESHOT);
    chain.Left = left - 1;
}

TEST_F(Clock, RealTimersNeverComeBeforeTheirMillisecond) {
    machine::UseRealClock();
    Link link;
    timeSetEvent(1, 1, NoteEarly, reinterpret_cast<DWORD_PTR>(&link), TIME_ONESHOT);
    while (link.Left > 0) std::this_thread::yield();
    EXPECT_EQ(link.Early, 0);
}

// ---- the interface that all devices share
// --------------------------------------------------------------------

using device::Lane;
using device::Schedule;
using device::Token;

std::vector<std::uintptr_t> ran;
void Keep(void*, std::uintptr_t argument) { ran.push_back(argument); }

std::uint64_t In(std::uint64_t microseconds) { return machine::Microseconds() + microseconds; }

// Compares with a plain list, while actions are added and removed and time moves at random.
TEST_F(Clock, KeepsOrderUnderARandomLoad) {
    std::mt19937 random(7);
    std::map<std::pair<std::uint64_t, Token>, std::uintptr_t> model; // by due time, then by age
    std::array<int, 3> contexts{}; // every third step's is the same
    std::vector<std::uintptr_t> expected;
    ran.clear();
    for (std::uintptr_t step = 1; step < 20000; ++step) {
        const unsigned choice = random() % 100;
        if (choice < 60) {
            const std::uint64_t due = In(random() % 300 * 100);
            const Lane lane = random() % 2 ? Lane::Audio : Lane::Timers;
            model[{due, Schedule(lane, due, Keep, &contexts[step % 3], step)}] = step;
        } else if (choice < 90 && !model.empty()) {
            const auto some =
                std::next(model.begin(), random() % std::min<std::size_t>(model.size(), 50));
            EXPECT_TRUE(device::Unschedule(some->first.second));
            EXPECT_FALSE(device::Unschedule(some->first.second));
            model.erase(some);
        } else if (choice == 90) {
            device::UnscheduleAll(&contexts[step % 3]);
            std::erase_if(model, [step](const auto& each) { return each.second % 3 == step % 3; });
        } else {
            machine::Advance(1);
            while (!model.empty() && model.begin()->first.first <= machine::Microseconds()) {
                expected.push_back(model.begin()->second);
                model.erase(model.begin());
            }
        }
    }
    EXPECT_EQ(ran, expected);
}

TEST_F(Clock, ForgettingAndLeavingWaitForAnActionUnderWay) {
    machine::UseRealClock();
    struct State {
        std::atomic<bool> Inside{false}, MayEnd{false}, Ended{false};
    };
    for (const bool leaving : {false, true}) {
        State state;
        const auto action = [](void* context, std::uintptr_t) {
            auto& s = *static_cast<State*>(context);
            s.Inside = true;
            while (!s.MayEnd) std::this_thread::yield();
            Schedule(Lane::Audio, In(60'000'000), Keep, context);
            s.Ended = true;
        };
        Schedule(leaving ? Lane::Timers : Lane::Audio, machine::Microseconds(), action, &state);
        while (!state.Inside) std::this_thread::yield();
        int other = 0;
        device::UnscheduleAll(&other); // does not wait for another context's action
        EXPECT_FALSE(state.Ended);
        const std::jthread helper([&] { state.MayEnd = true; });
        leaving ? device::WaitForActions() : device::UnscheduleAll(&state);
        EXPECT_TRUE(state.Ended);
        EXPECT_EQ(device::PendingDueTimes(Keep).size(), leaving ? 1u : 0u);
    }
    machine::UseSteppedClock();
}

// Two threads at once on the real clock: no action is lost or runs twice.
TEST_F(Clock, EveryActionRunsOnceUnlessItWasForgotten) {
    machine::UseRealClock();
    static std::atomic<int> runs;
    runs = 0;
    std::atomic<int> forgotten{0};
    const auto load = [&](unsigned seed) {
        std::mt19937 random(seed);
        for (int i = 0; i < 2000; ++i) {
            const Token token = Schedule(
                random() % 2 ? Lane::Audio : Lane::Timers, In(random() % 500),
                [](void*, std::uintptr_t) { ++runs; }, nullptr);
            if (random() % 3 == 0 && device::Unschedule(token)) ++forgotten;
        }
    };
    const std::jthread other(load, 2);
    load(1);
    while (runs + forgotten < 4000) std::this_thread::yield();
    machine::UseSteppedClock(); // drops pending actions: any would be one too many
    EXPECT_EQ(runs + forgotten, 4000);
}

} // namespace
