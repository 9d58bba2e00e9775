#include "tests/platform/machine_test.h"

#include <functional>
#include <string>

namespace {

using Faults = SteppedTest;
using machine::Call;

TEST_F(Faults, TheNthCallFailsAndTheOthersGoOn) {
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

    machine::FailCall(Call::midiOutShortMsg, 1, MMSYSERR_NODRIVER, 0);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(send(), MMSYSERR_NODRIVER);
    machine::ClearFaults();
    EXPECT_EQ(send(), MMSYSERR_NOERROR);
    machine::ResetCallCounts();
    EXPECT_EQ(machine::CallCount(Call::midiOutShortMsg), 0u);
    midiOutClose(out);
}

// Each call of this layer is made with everything in order, so that only the fault explains a
// failure. The result is compared as the call's own type gives it.
TEST_F(Faults, EveryCallCanBeMadeToFail) {
    machine::AddMidiInput("In");
    machine::AddMidiOutput("Out", MIDICAPS_CACHE);
    HMIDIIN in = nullptr;
    HMIDIOUT out = nullptr;
    const auto ignore = [](void*, UINT, DWORD_PTR, DWORD_PTR, DWORD_PTR) {};
    void(CALLBACK * callback)(void*, UINT, DWORD_PTR, DWORD_PTR, DWORD_PTR) = ignore;
    const HGLOBAL memory = GlobalAlloc(GPTR, 8);
    const auto value = [](auto pointer) { return reinterpret_cast<std::intptr_t>(pointer); };
    const auto number = [](auto result) { return static_cast<std::intptr_t>(result); };
    struct Case {
        Call What;
        std::intptr_t Failure;
        std::function<std::intptr_t()> Make;
    };
    const Case cases[] = {
        {Call::GlobalAlloc, 0,
         [&] {
             const HGLOBAL block = GlobalAlloc(GPTR, 8);
             GlobalFree(block);
             return block ? 1 : 0;
         }},
        {Call::GlobalLock, 0, [&] { return value(GlobalLock(memory)); }},
        {Call::CreateEventA, 0, [&] { return value(CreateEventA(nullptr, 0, 0, nullptr)); }},
        {Call::WritePrivateProfileStringA, 0,
         [&] { return number(WritePrivateProfileStringA("S", "k", "v", "faults_test.ini")); }},
        {Call::timeGetDevCaps, 97,
         [&] {
             TIMECAPS caps;
             return number(timeGetDevCaps(&caps, sizeof caps));
         }},
        {Call::timeBeginPeriod, 97, [&] { return number(timeBeginPeriod(4)); }},
        {Call::timeEndPeriod, 97, [&] { return number(timeEndPeriod(4)); }},
        {Call::timeSetEvent, 0,
         [&] {
             return number(timeSetEvent(
                 9, 1, [](UINT, UINT, DWORD_PTR, DWORD_PTR, DWORD_PTR) {}, 0, 0));
         }},
        {Call::midiInOpen, 7,
         [&] {
             return number(midiInOpen(&in, 0, reinterpret_cast<DWORD_PTR>(callback), 0, 0x30020));
         }},
        {Call::midiInStart, 7, [&] { return number(midiInStart(in)); }},
        {Call::midiInStop, 7, [&] { return number(midiInStop(in)); }},
        {Call::midiInReset, 7, [&] { return number(midiInReset(in)); }},
        {Call::midiInClose, 7, [&] { return number(midiInClose(in)); }},
        {Call::midiInGetDevCapsA, 7,
         [&] {
             MIDIINCAPSA caps;
             return number(midiInGetDevCapsA(0, &caps, sizeof caps));
         }},
        {Call::midiOutGetDevCapsA, 7,
         [&] {
             MIDIOUTCAPSA caps;
             return number(midiOutGetDevCapsA(0, &caps, sizeof caps));
         }},
        {Call::midiOutOpen, 7, [&] { return number(midiOutOpen(&out, 0, 0, 0, 0)); }},
        {Call::midiOutReset, 7, [&] { return number(midiOutReset(out)); }},
        {Call::midiOutCachePatches, 7,
         [&] {
             WORD patches[MIDIPATCHSIZE];
             return number(midiOutCachePatches(out, 0, patches, MIDI_CACHE_QUERY));
         }},
        {Call::midiOutShortMsg, 7, [&] { return number(midiOutShortMsg(out, 0xF8)); }},
        {Call::midiOutClose, 7, [&] { return number(midiOutClose(out)); }},
    };
    machine::ResetCallCounts();
    for (const Case& c : cases) {
        machine::FailCall(c.What, 1, c.Failure);
        EXPECT_EQ(c.Make(), c.Failure) << static_cast<int>(c.What);
        EXPECT_NE(c.Make(), c.Failure) << static_cast<int>(c.What);
        EXPECT_GE(machine::CallCount(c.What), 2u) << static_cast<int>(c.What);
    }
    GlobalFree(memory);
}

TEST_F(MachineTest, PowerOnDropsEverything) {
    machine::UseSteppedClock(5000);
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
