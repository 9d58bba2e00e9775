// Kernel services: sections, memory, modules, events, threads and waits; faults on demand.
#include "tests/support/machine_test.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

using Kernel = MachineTest;

TEST_F(Kernel, GlobalMemory) {
    const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 2048);
    auto* const bytes = static_cast<char*>(GlobalLock(memory));
    EXPECT_EQ(std::count(bytes, bytes + 2048, '\0'), 2048);
    std::memset(bytes, 0xFF, 2048);
    EXPECT_NE(static_cast<void*>(bytes), memory); // nobody gets by without locking it
    EXPECT_EQ(GlobalHandle(bytes), memory);
    EXPECT_EQ(GlobalFree(memory), nullptr);
    // What a negative count of records comes to.
    EXPECT_EQ(GlobalAlloc(GPTR, static_cast<SIZE_T>(-1 * 14)), nullptr);
}

TEST_F(Kernel, AModuleKnowsWhereItLies) {
    char path[MAX_PATH], drive[_MAX_DRIVE], directory[_MAX_DIR];
    const HMODULE there = nullptr;
    machine::SetModulePath("");
    for (const char* config : {"/etc/x", "relative"}) {
        setenv("XDG_CONFIG_HOME", config, 1);
        setenv("HOME", "/home/me", 1);
        const std::string folder = *config == '/' ? config : "/home/me/.config";
        EXPECT_EQ(machine::ModulePath(), folder + "/zormidi/libzormidi.so");
    }
    machine::SetModulePath("/some/where.d/zormidi.so");
    EXPECT_EQ(GetModuleFileNameA(there, path, MAX_PATH), 24u);
    _splitpath(path, drive, directory, nullptr, nullptr);
    EXPECT_STREQ(drive, "");
    EXPECT_STREQ(directory, "/some/where.d/");
    EXPECT_EQ(GetModuleFileNameA(there, path, 10), 10u);
    EXPECT_STREQ(path, "/some/whe");
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

TEST_F(Kernel, EventsOfBothKinds) {
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

TEST_F(Kernel, OfSeveralObjectsTheFirstSignalledCountsAndIsConsumed) {
    std::array<HANDLE, 3> events{Event(), Event(), Event()};
    SetEvent(events[1]);
    SetEvent(events[2]);
    EXPECT_EQ(WaitForMultipleObjects(3, events.data(), FALSE, INFINITE), WAIT_OBJECT_0 + 1);
    EXPECT_EQ(WaitForMultipleObjects(3, events.data(), FALSE, INFINITE), WAIT_OBJECT_0 + 2);
    EXPECT_EQ(WaitForMultipleObjects(3, events.data(), FALSE, 0), WAIT_TIMEOUT);
}

TEST_F(Kernel, TimeOutsOfOtherThreadsRunOnSteppedTime) {
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

TEST_F(Kernel, TimeStandsStillUntilEveryThreadWaitsAgain) {
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

using machine::Call;

TEST_F(Kernel, TheNthCallFailsAndTheOthersGoOn) {
    machine::AddMidiOutput("Out");
    HMIDIOUT out = nullptr;
    midiOutOpen(&out, 0, 0, 0, 0);
    machine::ResetCallCounts();
    const auto send = [out] { return midiOutShortMsg(out, 0xF8); };
    machine::FailCall(Call::midiOutShortMsg, 3, MMSYSERR_NOMEM, 2);
    machine::FailCall(Call::midiOutShortMsg, 6, MMSYSERR_ERROR);
    std::string results;
    for (int i = 0; i < 8; ++i) results += std::to_string(send()) + " ";
    EXPECT_EQ(results, "0 0 7 7 0 1 0 0 ");
    EXPECT_EQ(machine::CallCount(Call::midiOutShortMsg), 8u);
    EXPECT_EQ(machine::TakeSentMidi().size(), 5u); // a call that fails does nothing
    midiOutClose(out);
}

TEST_F(Kernel, PowerOnDropsEverything) {
    machine::AddMidiInput("In");
    HMIDIIN in = nullptr;
    midiInOpen(&in, 0, 0, 0, CALLBACK_NULL);
    timeBeginPeriod(7);
    timeSetEvent(
        50, 1, [](UINT, UINT, DWORD_PTR, DWORD_PTR, DWORD_PTR) { FAIL(); }, 0, 0);
    machine::SetTimerCaps(5, 50);
    machine::SetModulePath("/x/y");
    machine::FailCall(Call::CreateEventA, 1, 0, 0);
    MessageBoxA(nullptr, "text", "caption", MB_OK);
    machine::PowerOn();
    EXPECT_FALSE(machine::ClockIsStepped());
    EXPECT_EQ(midiInGetNumDevs(), 0u);
    EXPECT_EQ(midiInClose(in), MMSYSERR_INVALHANDLE);
    EXPECT_TRUE(machine::OpenTimerPeriods().empty());
    EXPECT_TRUE(machine::PendingTimers().empty());
    EXPECT_TRUE(machine::TakeBoxes().empty());
    TIMECAPS caps{};
    timeGetDevCaps(&caps, sizeof caps);
    EXPECT_EQ(caps.wPeriodMin, 1u);
    EXPECT_EQ(caps.wPeriodMax, 1000000u);
    char path[MAX_PATH];
    GetModuleFileNameA(nullptr, path, MAX_PATH);
    EXPECT_STRNE(path, "/x/y");
    EXPECT_NE(CreateEventA(nullptr, FALSE, FALSE, nullptr), nullptr);
}

} // namespace
