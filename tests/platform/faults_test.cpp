#include "tests/platform/machine_test.h"

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
