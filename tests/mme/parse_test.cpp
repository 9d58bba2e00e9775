// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Input messages from the device callback to the record that the host receives.
#include "mme_test.h"

namespace {

TEST_F(MmeTest, OnlyTheSyncMastersClockPassesInExternalSync) {
    OpenPorts({0, 16});
    for (const int master : {0, 1, 5}) // row 5 has no device
        for (const int mode : {0, 1, 2})
            for (const int row : {0, 1}) {
                SyncMaster = static_cast<std::int16_t>(master);
                MMESync(static_cast<std::int16_t>(mode));
                machine::CallBackMidi(row, MIM_DATA, 0xF8, 0);
                EXPECT_EQ(DrainReceived().size(), mode != 2 || row == master)
                    << master << mode << row;
                machine::CallBackMidi(row, MIM_DATA, 0x403C90, 0);
                EXPECT_EQ(DrainReceived().size(), 1u);
            }
}

TEST_F(MmeTest, OnlyDataOfOpenPortsIsParsed) {
    OpenPorts({0, 16});
    for (const UINT message : {MIM_OPEN, MIM_CLOSE, MIM_LONGDATA, MIM_ERROR, MIM_LONGERROR, 0u})
        machine::CallBackMidi(0, message, 0x403C90, 0);
    HMIDIIN const handle = InPorts[1].Handle;
    int noDevice = 0;
    for (void* const unknown : {static_cast<void*>(nullptr), static_cast<void*>(&noDevice)})
        MmeMidiInCallBack(unknown, MIM_DATA, 0, 0x403C90, 0);
    EXPECT_EQ(DrainReceived().size(), 0u);
    for (const UINT message : {MIM_DATA, MIM_MOREDATA})
        MmeMidiInCallBack(handle, message, 0, 0x403C90, 0);
    EXPECT_EQ(DrainReceived().size(), 2u);
    ZorStopMIDI();
    MmeMidiInCallBack(handle, MIM_DATA, 0, 0x403C90, 0);
    MmeMidiInCallBack(nullptr, MIM_DATA, 0, 0x403C90, 0);
    EXPECT_EQ(DrainReceived().size(), 0u);
}

TEST_F(MmeTest, AMessageDuringAnotherIsLost) {
    OpenPorts({0});
    ASSERT_TRUE(ZorStartTimer());
    ZorSyncMIDI(2);
    ZorTimeMIDI(1);
    ZorEchoMIDI(1, nullptr);
    machine::CallBackMidi(0, MIM_DATA, 0xFA, 0);
    // The echo of a note fails, and a clock arrives while the message box is up. The engine would
    // count the clock, so the parser must have dropped it.
    machine::FailCall(machine::Call::midiOutShortMsg, 1, MMSYSERR_NODRIVER);
    int boxes = 0;
    machine::WhileBoxIsUp([&](const machine::Box&) {
        ++boxes;
        machine::CallBackMidi(0, MIM_DATA, 0xF8, 0);
    });
    machine::CallBackMidi(0, MIM_DATA, 0x403C90, 0);
    machine::WhileBoxIsUp(nullptr);
    EXPECT_EQ(boxes, 1);
    EXPECT_EQ(ZorTimeMIDI(0), 0);
    machine::CallBackMidi(0, MIM_DATA, 0xF8, 0); // the next one passes
    EXPECT_EQ(ZorTimeMIDI(0), 1024 / 24);
    ZorSyncMIDI(0);
}

} // namespace
