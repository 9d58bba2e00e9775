#include "tests/platform/machine_test.h"

#include <atomic>
#include <functional>
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

using Clock = SteppedTest;

TEST_F(Clock, TimersComeAtTheirMillisecondInOrderOfTime) {
    Expiries expiries;
    for (const UINT delay : {30u, 5u, 500u, 5u, 1u}) EXPECT_NE(Set(expiries, delay), 0u);
    EXPECT_EQ(machine::PendingTimers(), (Dues{1001, 1005, 1005, 1030, 1500}));
    machine::Advance(4);
    EXPECT_EQ(expiries.At, (Dues{1001}));
    machine::Advance(1000);
    EXPECT_EQ(expiries.At, (Dues{1001, 1005, 1005, 1030, 1500}));
    EXPECT_EQ(timeGetTime(), 2004u);
    EXPECT_TRUE(machine::PendingTimers().empty());
}

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

TEST_F(Clock, AnOldIdentifierNeverNamesANewTimer) {
    Expiries expiries;
    const UINT old = Set(expiries, 1);
    machine::Advance(1);
    for (int i = 0; i < 40000; ++i) { // several times round the slots
        const UINT next = Set(expiries, 1);
        ASSERT_NE(next, 0u);
        ASSERT_NE(next, old);
        machine::Advance(1);
    }
    EXPECT_EQ(expiries.At.size(), 40001u);
}

TEST_F(Clock, PeriodsAndDelaysKeepToTheRangeThatIsTold) {
    machine::SetTimerCaps(2, 100);
    TIMECAPS caps{};
    EXPECT_EQ(timeGetDevCaps(&caps, sizeof caps), TIMERR_NOERROR);
    EXPECT_EQ(caps.wPeriodMin, 2u);
    EXPECT_EQ(caps.wPeriodMax, 100u);
    Expiries expiries;
    for (const UINT milliseconds : {0u, 1u, 2u, 100u, 101u}) {
        const bool possible = milliseconds >= 2 && milliseconds <= 100;
        EXPECT_EQ(Set(expiries, milliseconds) != 0, possible) << milliseconds;
        EXPECT_EQ(timeBeginPeriod(milliseconds) == TIMERR_NOERROR, possible) << milliseconds;
    }
    EXPECT_EQ(machine::OpenTimerPeriods(), (std::vector<unsigned>{2, 100}));
    EXPECT_EQ(timeEndPeriod(100), TIMERR_NOERROR);
    EXPECT_EQ(timeEndPeriod(100), TIMERR_NOCANDO);
    EXPECT_EQ(machine::OpenTimerPeriods(), (std::vector<unsigned>{2}));
}

// With the real clock no more can be said of a timer than that it never comes early, in whichever
// part of a millisecond it was set.
TEST_F(MachineTest, RealTimersNeverComeBeforeTheirMillisecond) {
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

} // namespace
