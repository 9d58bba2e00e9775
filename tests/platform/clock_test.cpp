#include "platform/device/clock.h"

#include "tests/support/machine_test.h"

#include <array>
#include <atomic>
#include <functional>
#include <map>
#include <random>
#include <thread>
#include <vector>

namespace {

using Dues = std::vector<std::uint32_t>;

// When each timer came, on the millisecond clock, and what it was asked to do then.
struct Expiries {
    Dues At;
    std::function<void(UINT id)> Then;
};

void CALLBACK Note(UINT id, UINT, DWORD_PTR user, DWORD_PTR, DWORD_PTR) {
    auto& expiries = *reinterpret_cast<Expiries*>(user);
    expiries.At.push_back(timeGetTime());
    if (expiries.Then) expiries.Then(id);
}

UINT Set(Expiries& expiries, UINT delay) {
    return timeSetEvent(delay, 1, Note, reinterpret_cast<DWORD_PTR>(&expiries), TIME_ONESHOT);
}

using Clock = MachineTest;

TEST_F(Clock, AChainOfOneShotsKeepsItsGridAcrossTheWrap) {
    machine::UseSteppedClock(0xFFFFFFF0u);
    Expiries expiries;
    expiries.Then = [&](UINT) { Set(expiries, 10); };
    Set(expiries, 10);
    machine::Advance(45);
    EXPECT_EQ(expiries.At, (Dues{0xFFFFFFFAu, 4, 14, 24}));
    EXPECT_EQ(machine::PendingTimers(), (Dues{34}));
    EXPECT_EQ(timeGetTime(), 29u);
    EXPECT_EQ(GetTickCount(), 29u);
    machine::UseSteppedClock(); // ends the chain
}

TEST_F(Clock, CallbacksCannotMoveTime) {
    Expiries expiries;
    expiries.Then = [](UINT) {
        machine::Advance(50);
        Sleep(50);
    };
    Set(expiries, 10);
    Set(expiries, 11);
    machine::Advance(12);
    EXPECT_EQ(expiries.At, (Dues{1010, 1011}));
    EXPECT_EQ(timeGetTime(), 1012u);
}

TEST_F(Clock, KillingATimer) {
    Expiries expiries;
    const UINT pending = Set(expiries, 10);
    EXPECT_EQ(timeKillEvent(pending), TIMERR_NOERROR);
    EXPECT_EQ(timeKillEvent(pending), MMSYSERR_INVALPARAM);

    // From inside its own callback, with a new one set already: the new one stays.
    expiries.Then = [&](UINT id) {
        if (expiries.At.size() > 1) return;
        const UINT next = Set(expiries, 5);
        EXPECT_NE(next, id);
        EXPECT_EQ(timeKillEvent(id), MMSYSERR_INVALPARAM);
    };
    Set(expiries, 10);
    machine::Advance(100);
    EXPECT_EQ(expiries.At, (Dues{1010, 1015}));
}

// With the real clock no more can be said of a timer than that it never comes early, in whichever
// part of a millisecond it was set.
TEST_F(Clock, RealTimersNeverComeBeforeTheirMillisecond) {
    machine::UseRealClock();
    struct Link {
        LPTIMECALLBACK Callback = nullptr;
        DWORD Due = 0;
        std::atomic<int> Left{100};
        std::atomic<int> Early{0};
    } link;
    const LPTIMECALLBACK callback = [](UINT, UINT, DWORD_PTR user, DWORD_PTR, DWORD_PTR) {
        auto& chain = *reinterpret_cast<Link*>(user);
        if (static_cast<std::int32_t>(timeGetTime() - chain.Due) < 0) ++chain.Early;
        const int left = chain.Left;
        const std::uint64_t odd = machine::Microseconds() + static_cast<std::uint64_t>(left * 7);
        while (machine::Microseconds() < odd) {
        }
        chain.Due = timeGetTime() + 1;
        // Set before the count goes down: the test may take the link away after that.
        if (left > 1) timeSetEvent(1, 1, chain.Callback, user, 0);
        chain.Left = left - 1;
    };
    link.Due = timeGetTime() + 1;
    link.Callback = callback;
    timeSetEvent(1, 1, callback, reinterpret_cast<DWORD_PTR>(&link), 0);
    while (link.Left > 0) std::this_thread::yield();
    EXPECT_EQ(link.Early, 0);
}

// ---- what all devices share --------------------------------------------------------------------

using machine::Lane;
using machine::Schedule;
using machine::Token;

std::vector<std::uintptr_t> ran;
void Keep(void*, std::uintptr_t argument) { ran.push_back(argument); }

std::uint64_t In(std::uint64_t microseconds) { return machine::Microseconds() + microseconds; }

// Against a plain list of what should be left, with adding, forgetting and time all mixed.
TEST_F(Clock, KeepsOrderUnderARandomLoad) {
    std::mt19937 random(7);
    std::map<std::pair<std::uint64_t, Token>, std::uintptr_t> model; // by due time, then by age
    std::array<int, 3> contexts{};
    std::map<std::uintptr_t, void*> contextOf;
    ran.clear();
    std::vector<std::uintptr_t> expected;
    for (std::uintptr_t step = 1; step < 20000; ++step) {
        const unsigned choice = random() % 100;
        if (choice < 60) {
            void* const context = &contexts[random() % contexts.size()];
            const std::uint64_t due = In(random() % 300 * 100);
            const Lane lane = random() % 2 ? Lane::Audio : Lane::Timers;
            model[{due, Schedule(lane, due, Keep, context, step)}] = step;
            contextOf[step] = context;
        } else if (choice < 90 && !model.empty()) {
            const auto some =
                std::next(model.begin(), random() % std::min<std::size_t>(model.size(), 50));
            EXPECT_TRUE(machine::Unschedule(some->first.second));
            EXPECT_FALSE(machine::Unschedule(some->first.second));
            model.erase(some);
        } else if (choice == 90) {
            void* const context = &contexts[random() % contexts.size()];
            machine::UnscheduleAll(context);
            std::erase_if(model,
                          [&](const auto& entry) { return contextOf[entry.second] == context; });
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

TEST_F(Clock, AFullQueueRefusesAndRecovers) {
    // What was forgotten long before its time takes no room.
    for (int i = 0; i < 100000; ++i)
        ASSERT_TRUE(machine::Unschedule(Schedule(Lane::Timers, In(9000000), Keep, nullptr)));
    std::vector<Token> tokens;
    while (const Token token = Schedule(Lane::Timers, In(1000), Keep, nullptr))
        tokens.push_back(token);
    EXPECT_GT(tokens.size(), 1000u);
    EXPECT_TRUE(machine::Unschedule(tokens.front()));
    const Token again = Schedule(Lane::Timers, In(1000), Keep, nullptr);
    EXPECT_NE(again, 0u);
    EXPECT_NE(again, tokens.front());
    EXPECT_EQ(Schedule(Lane::Timers, In(1000), Keep, nullptr), 0u);
    ran.clear();
    machine::Advance(1);
    EXPECT_EQ(ran.size(), tokens.size());
}

TEST_F(Clock, AnActionKnowsWhenItWasDueAndMayForgetItself) {
    static std::uint64_t due;
    static Token token;
    const auto action = [](void* context, std::uintptr_t) {
        due = machine::ActionDue();
        EXPECT_FALSE(machine::Unschedule(token));
        machine::UnscheduleAll(context); // does not wait for itself
    };
    int context = 0;
    token = Schedule(Lane::Timers, In(1500), action, &context);
    const Token later = Schedule(Lane::Audio, In(1600), action, &context);
    machine::Advance(10);
    EXPECT_EQ(due, 1001500u);
    EXPECT_FALSE(machine::Unschedule(later));
    EXPECT_EQ(machine::ActionDue(), machine::Microseconds());
}

TEST_F(Clock, ForgettingAContextWaitsForItsActionUnderWay) {
    machine::UseRealClock();
    struct State {
        std::atomic<bool> Inside{false}, MayEnd{false}, Ended{false};
    } state;
    const auto action = [](void* context, std::uintptr_t) {
        auto& s = *static_cast<State*>(context);
        s.Inside = true;
        while (!s.MayEnd) std::this_thread::yield();
        s.Ended = true;
    };
    Schedule(Lane::Audio, machine::Microseconds(), action, &state);
    while (!state.Inside) std::this_thread::yield();
    int other = 0;
    machine::UnscheduleAll(&other); // of no concern to this one
    EXPECT_FALSE(state.Ended);
    std::thread helper([&] { state.MayEnd = true; });
    machine::UnscheduleAll(&state);
    EXPECT_TRUE(state.Ended);
    helper.join();

    // The same for whoever leaves memory.
    state.Inside = state.MayEnd = state.Ended = false;
    Schedule(Lane::Timers, machine::Microseconds(), action, &state);
    while (!state.Inside) std::this_thread::yield();
    std::thread again([&] { state.MayEnd = true; });
    machine::LetActionsEnd();
    EXPECT_TRUE(state.Ended);
    again.join();
}

// Many threads at once on the real clock: nothing is lost, and nothing runs twice.
TEST_F(Clock, EveryActionRunsOnceUnlessItWasForgotten) {
    machine::UseRealClock();
    static std::atomic<int> runs;
    runs = 0;
    std::atomic<int> forgotten{0}, scheduled{0};
    const auto load = [&](unsigned seed) {
        std::mt19937 random(seed);
        for (int i = 0; i < 2000; ++i) {
            const Token token = Schedule(
                random() % 2 ? Lane::Audio : Lane::Timers, In(random() % 500),
                [](void*, std::uintptr_t) { ++runs; }, nullptr);
            if (token != 0) ++scheduled;
            if (random() % 3 == 0 && machine::Unschedule(token)) ++forgotten;
        }
    };
    std::thread first(load, 1), second(load, 2);
    first.join();
    second.join();
    while (runs + forgotten < scheduled) std::this_thread::yield();
    // Whatever is still to come now came too often.
    machine::UseSteppedClock();
    EXPECT_EQ(runs + forgotten, scheduled);
    EXPECT_EQ(scheduled, 4000);
}

} // namespace
