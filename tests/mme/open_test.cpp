// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Opening and closing all ports, with failures of each system call involved.
#include "mme_test.h"

namespace {

using machine::Call;

constexpr int Rows = 3; // per side
constexpr MMRESULT Code = MMSYSERR_NODRIVER;

class OpenTest : public MmeTest {
protected:
    void SetUp() override {
        MmeTest::SetUp();
        Plug({"1", "2", "3"});
        Load(IniFor({"1", "2", "3"}));
    }

    static void ExpectAllClosed() {
        EXPECT_EQ(machine::OpenMidiInputs(), 0);
        EXPECT_EQ(machine::OpenMidiOutputs(), 0);
        for (int row = 0; row < PortRows; ++row) {
            EXPECT_EQ(InPorts[row].Handle, nullptr);
            EXPECT_EQ(OutPorts[row].Handle, nullptr);
            EXPECT_EQ(OutPorts[row].NoteCounts, nullptr);
        }
    }

    // Expects this number of message boxes with this error since the last call.
    static void ExpectBoxes(std::size_t count, MMRESULT code = Code) {
        char text[256] = "";
        midiOutGetErrorTextA(code, text, sizeof text);
        const std::vector<machine::Box> boxes = machine::DrainBoxes();
        EXPECT_EQ(boxes.size(), count);
        for (const machine::Box& box : boxes) {
            EXPECT_EQ(box.Text, text);
            EXPECT_EQ(box.Caption, "Default MIDI Output Device");
            EXPECT_EQ(box.Flags, 0x2030u);
        }
    }
};

TEST_F(OpenTest, WithoutMemoryForItsNotesNoPortOpens) {
    for (const Call call : {Call::GlobalAlloc, Call::GlobalLock}) {
        machine::FailCall(call, 2, 0);
        EXPECT_FALSE(ZorStartMIDI(0));
        ExpectBoxes(1, MMSYSERR_NOMEM);
        ExpectAllClosed();
        EXPECT_EQ(ZorErrorMIDI(nullptr), MMERow);
    }
}

TEST_F(OpenTest, AnErrorDuringTheCleanUpGetsABoxOfItsOwn) {
    MidiOutReset = 1;
    machine::FailCall(Call::midiInOpen, 3, Code);
    machine::FailCall(Call::midiInStop, 1, Code);
    machine::FailCall(Call::midiOutClose, 2, Code);
    machine::FailCall(Call::midiInClose, 2, Code);
    EXPECT_FALSE(MMEOpen());
    ExpectBoxes(4);
    EXPECT_EQ(machine::CallCount(Call::midiInStart), 0u); // no input starts before all are open
    EXPECT_EQ(machine::OpenMidiOutputs(), 2);
    Send(16, 0xE0, 1, 2); // the port that could not be closed still works
    EXPECT_EQ(Sent(), Lines{Line(1, 0xE0, 1, 2)});
    EXPECT_EQ(machine::OpenMidiInputs(), 1);
    machine::ClearFaults();
    EXPECT_TRUE(MMEOpen()); // closes the remaining ports
    MMEClose();
    ExpectAllClosed();
}

// Pulled out while open: nothing is left of it, and it comes back when it is plugged in again.
TEST_F(OpenTest, AnUnpluggedDeviceIsLetGoOf) {
    MidiOutReset = 1;
    ASSERT_TRUE(ZorStartMIDI(0));
    machine::UnplugMidiInput("2");
    machine::UnplugMidiOutput("2");
    ZorStopMIDI();
    ExpectAllClosed();
    for (const int open : {Rows - 1, Rows}) {
        EXPECT_TRUE(ZorStartMIDI(0));
        EXPECT_EQ(machine::OpenMidiInputs(), open);
        EXPECT_EQ(machine::OpenMidiOutputs(), open);
        ZorStopMIDI();
        Plug({"2"});
    }
    ExpectBoxes(0);
}

// The system refuses to close a dead handle, even when it is abandoned.
TEST_F(OpenTest, ADeadHandleIsAbandonedAtTheNextInitDialogOrSecondStart) {
    const Call calls[] = {Call::midiInReset, Call::midiInClose, Call::midiOutReset,
                          Call::midiOutClose};
    enum { SecondStart, ForcedInit, Dialog };
    for (const Call call : calls)
        for (const int recovery : {SecondStart, ForcedInit, Dialog}) {
            SCOPED_TRACE(testing::Message() << static_cast<int>(call) << " recovery " << recovery);
            Restart();
            const bool output = call == Call::midiOutReset || call == Call::midiOutClose;
            MidiOutReset = 1;
            ASSERT_TRUE(ZorStartMIDI(0));
            void* const dead = output ? static_cast<void*>(OutPorts[2].Handle.load())
                                      : static_cast<void*>(InPorts[2].Handle.load());
            machine::UnplugMidiInput("3");
            machine::UnplugMidiOutput("3");
            machine::FailCall(call, Rows, Code, recovery == SecondStart ? 4 : 2);
            ZorStopMIDI();
            ExpectBoxes(1);
            if (recovery == SecondStart) {
                EXPECT_FALSE(ZorStartMIDI(0));
                ExpectBoxes(2);
            } else if (recovery == ForcedInit) {
                EXPECT_EQ(MIDISysInit(1), -1);
            } else {
                ZorConfigMIDIDriver(nullptr, MMERow);
            }
            EXPECT_TRUE(ZorStartMIDI(0));
            ZorStopMIDI();
            ExpectBoxes(0);
            // A handle that the system would close is closed.
            const bool refused = call == Call::midiInClose || call == Call::midiOutClose;
            EXPECT_EQ(machine::OpenMidiInputs() + machine::OpenMidiOutputs(), refused);
            if (!refused) continue;
            if (output)
                midiOutClose(static_cast<HMIDIOUT>(dead));
            else
                midiInClose(static_cast<HMIDIIN>(dead));
        }
}

TEST_F(OpenTest, DevicesAreResetAtOpeningAndOnRequestAtClosing) {
    for (const bool wanted : {false, true}) {
        MidiOutReset = wanted;
        machine::ResetCallCounts();
        ASSERT_TRUE(MMEOpen());
        EXPECT_EQ(machine::CallCount(Call::midiOutReset), 3u);
        EXPECT_EQ(machine::CallCount(Call::midiInReset), 3u);
        MMEClose();
        EXPECT_EQ(machine::CallCount(Call::midiOutReset), wanted ? 6u : 3u);
    }
}

} // namespace
