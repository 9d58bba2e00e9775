#include "tests/platform/machine_test.h"

#include <array>
#include <string>
#include <thread>
#include <vector>

namespace {

HANDLE Event(bool manual = false, bool signalled = false) {
    return CreateEventA(nullptr, manual, signalled, nullptr);
}

// A thread of the library's that runs a lambda.
template <typename Body>
HANDLE Start(Body& body) {
    return reinterpret_cast<HANDLE>(_beginthreadex(
        nullptr, 0,
        [](void* argument) -> unsigned {
            (*static_cast<Body*>(argument))();
            return 0;
        },
        &body, 0, nullptr));
}

using Waits = SteppedTest;

TEST_F(Waits, EventsOfBothKinds) {
    const HANDLE automatic = Event(), manual = Event(true, true);
    EXPECT_EQ(WaitForSingleObject(automatic, 0), WAIT_TIMEOUT);
    EXPECT_TRUE(SetEvent(automatic));
    EXPECT_TRUE(SetEvent(automatic)); // twice signalled is signalled
    EXPECT_EQ(WaitForSingleObject(automatic, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(automatic, 0), WAIT_TIMEOUT);
    EXPECT_EQ(WaitForSingleObject(manual, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(manual, 0), WAIT_OBJECT_0);
    EXPECT_TRUE(ResetEvent(manual));
    EXPECT_EQ(WaitForSingleObject(manual, 0), WAIT_TIMEOUT);
    EXPECT_TRUE(CloseHandle(automatic));
    EXPECT_FALSE(CloseHandle(automatic));
    EXPECT_FALSE(SetEvent(automatic));
    EXPECT_EQ(WaitForSingleObject(automatic, 0), WAIT_FAILED);
}

TEST_F(Waits, OfSeveralObjectsTheFirstSignalledCountsAndIsConsumed) {
    std::array<HANDLE, 3> events{Event(), Event(), Event()};
    SetEvent(events[1]);
    SetEvent(events[2]);
    EXPECT_EQ(WaitForMultipleObjects(3, events.data(), FALSE, INFINITE), WAIT_OBJECT_0 + 1);
    EXPECT_EQ(WaitForMultipleObjects(3, events.data(), FALSE, INFINITE), WAIT_OBJECT_0 + 2);
    EXPECT_EQ(WaitForMultipleObjects(3, events.data(), FALSE, 0), WAIT_TIMEOUT);
}

TEST_F(Waits, TimeOutsOfOtherThreadsRunOnSteppedTime) {
    std::vector<std::string> story;
    const HANDLE never = Event();
    const auto tell = [&](const char* who) {
        story.push_back(who + std::to_string(timeGetTime()));
    };
    auto impatient = [&] {
        EXPECT_EQ(WaitForSingleObject(never, 10000), WAIT_TIMEOUT);
        tell("impatient ");
    };
    auto sleeper = [&] {
        for (int i = 0; i < 3; ++i) {
            Sleep(4000);
            tell("sleeper ");
        }
    };
    const HANDLE first = Start(impatient), second = Start(sleeper);
    machine::Advance(9999);
    EXPECT_EQ(story, (std::vector<std::string>{"sleeper 5000", "sleeper 9000"}));
    machine::Advance(10000);
    EXPECT_EQ(story, (std::vector<std::string>{"sleeper 5000", "sleeper 9000", "impatient 11000",
                                               "sleeper 13000"}));
    EXPECT_EQ(WaitForSingleObject(first, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(second, 0), WAIT_OBJECT_0);
}

TEST_F(Waits, AWaitOfTheSteeringThreadLetsTimePass) {
    // As a host that stops a capture does: the thread looks at its stop signal once a second only.
    const HANDLE stop = Event();
    auto worker = [&] {
        while (WaitForSingleObject(stop, 0) != WAIT_OBJECT_0) Sleep(1000);
    };
    const HANDLE thread = Start(worker);
    machine::Advance(500);
    SetEvent(stop);
    EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(timeGetTime(), 2000u);
    EXPECT_EQ(WaitForSingleObject(stop, 70), WAIT_TIMEOUT);
    EXPECT_EQ(timeGetTime(), 2070u);
    Sleep(30);
    EXPECT_EQ(timeGetTime(), 2100u);
}

TEST_F(Waits, TimeStandsStillUntilEveryThreadWaitsAgain) {
    // Each signal sets off a chain of work through two threads; every moment must see it done.
    const HANDLE tick = Event(), tock = Event(), stop = Event(true);
    std::vector<DWORD> worked;
    auto first = [&] {
        const std::array<HANDLE, 2> objects{tick, stop};
        while (WaitForMultipleObjects(2, objects.data(), FALSE, INFINITE) == WAIT_OBJECT_0) {
            std::this_thread::yield();
            SetEvent(tock);
        }
    };
    auto second = [&] {
        const std::array<HANDLE, 2> objects{tock, stop};
        while (WaitForMultipleObjects(2, objects.data(), FALSE, INFINITE) == WAIT_OBJECT_0) {
            std::this_thread::yield();
            worked.push_back(timeGetTime());
        }
    };
    const HANDLE threads[] = {Start(first), Start(second)};
    static HANDLE signalled;
    signalled = tick;
    std::vector<DWORD> expected;
    for (UINT ms = 1; ms <= 30; ++ms) {
        timeSetEvent(
            ms, 1, [](UINT, UINT, DWORD_PTR, DWORD_PTR, DWORD_PTR) { SetEvent(signalled); }, 0,
            TIME_ONESHOT);
        expected.push_back(1000 + ms);
    }
    machine::Advance(50);
    EXPECT_EQ(worked, expected);
    SetEvent(stop);
    for (const HANDLE thread : threads) {
        EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
        EXPECT_EQ(WaitForSingleObject(thread, 0), WAIT_OBJECT_0); // it has ended, and stays so
        EXPECT_TRUE(CloseHandle(thread));
    }
}

} // namespace
