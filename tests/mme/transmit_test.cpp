// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Sending: note counts, status bytes, channels, data limits, patches and errors.
#include "mme_test.h"

namespace {

constexpr int Key = 60;

std::uint8_t& CountOf(int row, int channel, int key = Key) {
    return OutPorts[row].NoteCounts[channel * 128 + key];
}

// Overlapping notes of one key; with OutMatch 0 only the last note off is sent.
TEST_F(MmeTest, NotesAreCounted) {
    OpenPorts({16});
    for (const bool match : {true, false}) {
        OutPorts[0].OutMatch = match;
        for (int i = 0; i < 130; ++i) Send(16 + 5, 0x90, Key, i + 1);
        EXPECT_EQ(Sent().size(), 127u);
        for (int i = 0; i < 130; ++i) Send(16 + 5, i % 2 ? 0x90 : 0x80, Key, 0);
        EXPECT_EQ(Sent().size(), match ? 127u : 1u);
        EXPECT_EQ(CountOf(0, 5), 0);
    }
}

TEST_F(MmeTest, RunningStatusIsKeptWhereVelocityIsZero) {
    const struct {
        int Last, Status, Channel, Velocity;
        int OutStatus, OutVelocity, LastAfter;
    } cases[] = {
        {0x93, 0x80, 3, 64, 0x93, 0, 0x93},  // Note Off becomes Note On with velocity 0
        {0x93, 0x80, 4, 64, 0x84, 64, 0x84}, // but not on another channel
        {0xB3, 0x80, 3, 64, 0x83, 64, 0x83}, // nor after another message
        {0x83, 0x90, 3, 0, 0x83, 0, 0x83},   // Note On with velocity 0 becomes Note Off
        {0x83, 0x90, 3, 1, 0x93, 1, 0x93},   // with velocity 1 it does not
        {0x00, 0x80, 0, 7, 0x80, 7, 0x80},   // 0 is no Note On of channel 0
        {0x93, 0xC7, 3, 0, 0xC3, 0,
         0xC3}, // any other message changes it; the low nibble is ignored
        {0x93, 0xF8, 3, 0, 0xF8, 0, 0x93}, // system messages do not change it
    };
    OpenPorts({0});
    for (const auto& test : cases) {
        SCOPED_TRACE(Line(test.Last, test.Status, test.Channel, test.Velocity));
        for (int channel = 0; channel < 16; ++channel)
            CountOf(0, channel) = 1; // or the note off would be held back
        OutPorts[0].LastStatus = static_cast<std::uint8_t>(test.Last);
        EXPECT_TRUE(Send(test.Channel, test.Status, Key, test.Velocity));
        EXPECT_EQ(Sent(), Lines{Line(0, test.OutStatus, Key, test.OutVelocity)});
        EXPECT_EQ(OutPorts[0].LastStatus, test.LastAfter);
    }
}

TEST_F(MmeTest, AHeldBackNoteOffChangesTheStatus) {
    OpenPorts({0});
    Send(2, 0x90, Key, 9);
    Send(2, 0x80, Key, 0); // ends the note
    Send(3, 0x80, Key, 0); // no open note
    EXPECT_EQ(OutPorts[0].LastStatus, 0x83);
    Send(2, 0x90, Key, 9);
    EXPECT_EQ(Sent(), (Lines{Line(0, 0x92, Key, 9), Line(0, 0x92, Key, 0), Line(0, 0x92, Key, 9)}));
}

TEST_F(MmeTest, ARecordGoesToEveryPortThatCoversIt) {
    OpenPorts({0, 8, 16, 32751});
    for (const int channel : {-1, 7, 8, 15, 16, 23, 24, 32, 32750, 32751, 32766, 32767}) {
        Lines expected; // for -1 one on each channel
        for (int row = 0; row < 4; ++row)
            for (int offset = 0; offset < 16; ++offset)
                if (channel == -1 || channel == OutPorts[row].BaseChannel + offset)
                    expected.push_back(Line(row, 0xE0 + offset, 1, 2));
        EXPECT_TRUE(Send(channel, 0xE0, 1, 2));
        EXPECT_EQ(Sent(), expected) << channel;
    }
}

TEST_F(MmeTest, DataBytesAbove127ReachNoDevice) {
    OpenPorts({0});
    EXPECT_TRUE(Send(0, 0x90, Key, 128)); // from a clipping microphone
    EXPECT_TRUE(Send(-1, 0xF2, 0x80, 0xFF));
    EXPECT_TRUE(Send(1, 0xB0, 200, 255));
    for (const int type : {0x80, 0x90, 0xC0}) EXPECT_FALSE(Send(0, type, 128, 1)); // no such key
    EXPECT_EQ(Sent(),
              (Lines{Line(0, 0x90, Key, 127), Line(0, 0xF2, 127, 127), Line(0, 0xB1, 127, 127)}));
    EXPECT_EQ(CountOf(0, 0), 1);
}

// The count of the refused note drops to 0; other notes and later ports keep their counts.
TEST_F(MmeTest, SilenceEndsAtADeviceThatRefuses) {
    OpenPorts({16, 200});
    Send(16, 0x90, 1, 9);
    Send(16, 0x90, 2, 9);
    Send(203, 0x90, 3, 9);
    machine::FailCall(machine::Call::midiOutShortMsg, 1, MMSYSERR_NODRIVER);
    EXPECT_FALSE(MMESilence());
    EXPECT_EQ(machine::DrainBoxes().size(), 1u);
    EXPECT_EQ(CountOf(0, 0, 1), 0);
    EXPECT_EQ(CountOf(0, 0, 2), 1);
    EXPECT_EQ(CountOf(1, 3, 3), 1);
}

TEST_F(MmeTest, PatchesAreCachedOnceForTheirChannels) {
    using machine::Call;
    OpenPorts({16}, MIDICAPS_CACHE);
    machine::ResetCallCounts();
    Send(20, 0xC0, 9);
    EXPECT_EQ(machine::CachedPatches(0)[9], 1 << 4);
    EXPECT_EQ(machine::CallCount(Call::midiOutCachePatches), 2u);
    Send(20, 0xC0, 9);
    EXPECT_EQ(machine::CallCount(Call::midiOutCachePatches),
              3u); // a query only: it is cached already
    Send(31, 0xC0, 9);
    EXPECT_EQ(machine::CachedPatches(0)[9], 1 << 4 | 1 << 15);
    Send(-1, 0xC0, 9);
    EXPECT_EQ(machine::CachedPatches(0)[9], 0xFFFF);
    Sent();
    machine::FailCall(Call::midiOutCachePatches, 1, MMSYSERR_NOTSUPPORTED, 2);
    EXPECT_TRUE(Send(20, 0xC0, 10));
    EXPECT_EQ(Sent(), Lines{Line(0, 0xC4, 10, 0)});
    // The host moves the port during the query: the patch is cached for the channel it is sent on.
    machine::InsideMidiOut([](Call call, int) {
        if (call == Call::midiOutCachePatches) OutPorts[0].BaseChannel = 56;
    });
    Send(20, 0xC0, 12);
    machine::InsideMidiOut(nullptr);
    EXPECT_EQ(Sent(), Lines{Line(0, 0xCC, 12, 0)});
    EXPECT_EQ(machine::CachedPatches(0)[12], 1 << 0xC);
    OutPorts[0].BaseChannel = 16;
    machine::ResetCallCounts();
    OutPorts[0].Support = 0;
    Send(20, 0xC0, 11);
    EXPECT_EQ(machine::CallCount(Call::midiOutCachePatches), 0u);
}

TEST_F(MmeTest, ADeviceThatRefusesIsReportedAndTheOthersReceive) {
    OpenPorts({0, 0, 0});
    machine::FailCall(machine::Call::midiOutShortMsg, 2, MIDIERR_NOTREADY);
    const MIDIEvent note = Event(1, 0x90, Key, 9);
    EXPECT_FALSE(ZorXmit(ZOR_IMMEDIATE, &note));
    EXPECT_EQ(Sent(), (Lines{Line(0, 0x91, Key, 9), Line(2, 0x91, Key, 9)}));
    EXPECT_EQ(CountOf(1, 1), 1);
    EXPECT_EQ(machine::DrainBoxes().size(), 1u);
    std::uint16_t code = 0;
    EXPECT_EQ(ZorErrorMIDI(&code), MMERow);
    EXPECT_EQ(code, 1);
    EXPECT_EQ(ZorErrorMIDI(&code), -1);

    // With channel -1 errors are shown in message boxes only.
    machine::FailCall(machine::Call::midiOutShortMsg, 3, MIDIERR_NOTREADY, 2);
    EXPECT_TRUE(Send(-1, 0xE0, 0, 64));
    EXPECT_EQ(machine::DrainBoxes().size(), 2u);
    EXPECT_EQ(Sent().size(), 46u);
}

// A device refuses, and while the message box is up the host kills or restarts playback.
TEST_F(MmeTest, AStaleTransmissionReachesNoOtherPort) {
    const MIDIEvent fresh = Event(2, 0x90, Key, 5);
    for (const bool kills : {true, false})
        for (const int channel : {2, -1})
            for (const int status : {0x90, 0xC0}) {
                Restart();
                OpenPorts({0, 0}, MIDICAPS_CACHE);
                machine::FailCall(machine::Call::midiOutShortMsg, 1, MIDIERR_NOTREADY);
                machine::WhileBoxIsUp([&](const machine::Box&) {
                    if (kills) {
                        ZorKillMIDI();
                    } else {
                        ZorStopMIDI();
                        ASSERT_TRUE(ZorStartMIDI(0));
                    }
                    Sent();
                    ZorXmit(ZOR_IMMEDIATE, &fresh);
                });
                const MIDIEvent old = Event(channel, status, Key, 9);
                ZorXmit(ZOR_IMMEDIATE, &old);
                EXPECT_EQ(machine::DrainBoxes().size(), 1u);
                EXPECT_EQ(Sent(), (Lines{Line(0, 0x92, Key, 5), Line(1, 0x92, Key, 5)}));
                EXPECT_EQ(CountOf(0, 2) + CountOf(1, 2), 2);
                EXPECT_EQ(machine::CachedPatches(1)[Key], 0);
            }
}

} // namespace
