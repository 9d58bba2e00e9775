// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Kernel services: events, threads and waits.
#include "tests/support/machine_test.h"

#include <array>
#include <pwd.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Kernel = MachineTest;

TEST_F(Kernel, TheSettingsLieInTheUsersFolder) {
    machine::SetModulePath("");
    setenv("HOME", "/home/me", 1);
    for (const std::string config : {"/etc/x", "relative"}) {
        setenv("XDG_CONFIG_HOME", config.c_str(), 1);
        EXPECT_EQ(machine::ModulePath(),
                  (config[0] == '/' ? config : "/home/me/.config") + "/zormidi/libzormidi.so");
    }
    char cut[8] = "";
    EXPECT_EQ(GetModuleFileNameA(nullptr, cut, sizeof cut), sizeof cut); // not the path's length
    EXPECT_STREQ(cut, "/home/m");
    // A service or a cron job may have no HOME.
    const std::string home = getpwuid(getuid())->pw_dir;
    for (const bool empty : {true, false}) {
        empty ? setenv("HOME", "", 1) : unsetenv("HOME");
        EXPECT_EQ(machine::ModulePath(), home + "/.config/zormidi/libzormidi.so");
    }
}

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

TEST_F(Kernel, OfSeveralObjectsTheFirstSignalledCountsAndIsConsumedUnlessItIsManual) {
    const HANDLE events[] = {Event(), Event(), Event(true, true)};
    const auto wait = [&events](DWORD ms) { return WaitForMultipleObjects(3, events, FALSE, ms); };
    EXPECT_EQ(wait(0), WAIT_OBJECT_0 + 2);
    EXPECT_EQ(wait(0), WAIT_OBJECT_0 + 2);
    SetEvent(events[1]);
    SetEvent(events[1]); // signals are not counted
    EXPECT_EQ(wait(INFINITE), WAIT_OBJECT_0 + 1);
    EXPECT_EQ(wait(INFINITE), WAIT_OBJECT_0 + 2);
    ResetEvent(events[2]);
    EXPECT_EQ(wait(10), WAIT_TIMEOUT);
    EXPECT_EQ(timeGetTime(), 1010u);
    EXPECT_TRUE(CloseHandle(events[0]));
    EXPECT_FALSE(SetEvent(events[0]));
    EXPECT_EQ(wait(0), WAIT_FAILED);
}

TEST_F(Kernel, TimeStandsStillUntilEveryThreadWaitsAgain) {
    // Each signal starts a chain of work through two threads, which must end before time moves on.
    const HANDLE tick = Event(), tock = Event(), stop = Event(true);
    const auto relay = [stop](HANDLE on, auto then) {
        const std::array<HANDLE, 2> objects{on, stop};
        while (WaitForMultipleObjects(2, objects.data(), FALSE, INFINITE) == WAIT_OBJECT_0) {
            std::this_thread::yield();
            then();
        }
    };
    std::vector<DWORD> worked, slept;
    auto first = [&] { relay(tick, [&] { SetEvent(tock); }); };
    auto second = [&] { relay(tock, [&] { worked.push_back(timeGetTime()); }); };
    auto sleeper = [&] {
        for (int i = 0; i < 2; ++i) Sleep(15), slept.push_back(timeGetTime());
    };
    const HANDLE threads[] = {Start(first), Start(second), Start(sleeper)};
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
    EXPECT_EQ(slept, (std::vector<DWORD>{1015, 1030}));
    SetEvent(stop);
    for (const HANDLE thread : threads) {
        EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
        EXPECT_EQ(WaitForSingleObject(thread, 0), WAIT_OBJECT_0); // stays signalled
        EXPECT_TRUE(CloseHandle(thread));
    }
}

} // namespace
