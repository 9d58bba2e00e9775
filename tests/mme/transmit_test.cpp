// What goes out of the output ports, case by case.
#include "mme_test.h"

#include <functional>

namespace {

constexpr int Key = 60;

std::uint8_t& CountOf(int row, int channel, int key = Key) {
    return OutPorts[row].NoteCounts[channel * 128 + key];
}

TEST_F(MmeTest, NotesAreCounted) {
    const struct {
        int Status, Velocity, Before;
        int AfterMatch, OutMatch; // with OutMatch 1: count after, whether it goes out
        int AfterLast, OutLast;   // with OutMatch 0
    } cases[] = {
        {0x90, 100, 0, 1, 1, 1, 1},       {0x90, 1, 1, 2, 1, 2, 1},
        {0x90, 100, 126, 127, 1, 127, 1}, {0x90, 100, 127, 127, 0, 127, 0},
        {0x80, 64, 0, 0, 0, 0, 0},        {0x80, 64, 1, 0, 1, 0, 1},
        {0x80, 0, 2, 1, 1, 1, 0},         {0x80, 64, 127, 126, 1, 126, 0},
        {0x90, 0, 0, 0, 0, 0, 0},         {0x90, 0, 1, 0, 1, 0, 1},
        {0x90, 0, 2, 1, 1, 1, 0},         {0xA0, 9, 3, 3, 1, 3, 1},
    };
    OpenOutputs({16});
    for (const bool match : {true, false}) {
        OutPorts[0].OutMatch = match;
        for (const auto& test : cases) {
            SCOPED_TRACE(Line(match, test.Status, test.Velocity, test.Before));
            CountOf(0, 5) = static_cast<std::uint8_t>(test.Before);
            OutPorts[0].LastStatus = 0xE5; // so that nothing is rewritten
            EXPECT_TRUE(Send(16 + 5, test.Status, Key, test.Velocity));
            EXPECT_EQ(CountOf(0, 5), match ? test.AfterMatch : test.AfterLast);
            EXPECT_EQ(Sent().size(),
                      static_cast<std::size_t>(match ? test.OutMatch : test.OutLast));
        }
    }
}

TEST_F(MmeTest, StatusIsKeptWhereVelocityIsZero) {
    const struct {
        int Last, Status, Channel, Velocity;
        int OutStatus, OutVelocity, LastAfter;
    } cases[] = {
        {0x00, 0x90, 0, 5, 0x90, 5, 0x90},   // fresh port
        {0x93, 0x90, 3, 5, 0x93, 5, 0x93},   // the same status
        {0x93, 0x80, 3, 64, 0x93, 0, 0x93},  // Note Off becomes Note On with velocity 0
        {0x93, 0x80, 4, 64, 0x84, 64, 0x84}, // but not on another channel
        {0xB3, 0x80, 3, 64, 0x83, 64, 0x83}, // nor after another message
        {0x83, 0x90, 3, 0, 0x83, 0, 0x83},   // Note On with velocity 0 becomes Note Off
        {0x83, 0x90, 3, 1, 0x93, 1, 0x93},   // with velocity 1 it does not
        {0x83, 0x90, 2, 0, 0x92, 0, 0x92},
        {0xE3, 0x90, 3, 0, 0x93, 0, 0x93},
        {0x90, 0x80, 0, 7, 0x90, 0, 0x90}, // channel 0
        {0x00, 0x80, 0, 7, 0x80, 7, 0x80}, // 0 is no Note On of channel 0
        {0x93, 0xB0, 3, 1, 0xB3, 1, 0xB3}, // every channel message moves the status
        {0x93, 0xE0, 3, 1, 0xE3, 1, 0xE3},
        {0x93, 0xA0, 3, 1, 0xA3, 1, 0xA3},
        {0x93, 0xD0, 3, 0, 0xD3, 0, 0xD3},
        {0x93, 0xC7, 3, 0, 0xC3, 0, 0xC3}, // the caller's low nibble means nothing
        {0x93, 0xF8, 3, 0, 0xF8, 0, 0x93}, // system messages leave it alone
    };
    OpenOutputs({0});
    for (const auto& test : cases) {
        SCOPED_TRACE(Line(test.Last, test.Status, test.Channel, test.Velocity));
        for (int channel = 0; channel < 16; ++channel)
            CountOf(0, channel) = 1; // so that nothing is held back
        OutPorts[0].LastStatus = static_cast<std::uint8_t>(test.Last);
        EXPECT_TRUE(Send(test.Channel, test.Status, Key, test.Velocity));
        EXPECT_EQ(Sent(), Lines{Line(0, test.OutStatus, Key, test.OutVelocity)});
        EXPECT_EQ(OutPorts[0].LastStatus, test.LastAfter);
    }
}

TEST_F(MmeTest, AHeldBackNoteOffHasMovedTheStatus) {
    OpenOutputs({0});
    Send(2, 0x90, Key, 9);
    Send(2, 0x80, Key, 0); // ends the note
    Send(3, 0x80, Key, 0); // none to end
    EXPECT_EQ(OutPorts[0].LastStatus, 0x83);
    Send(2, 0x90, Key, 9);
    EXPECT_EQ(Sent(), (Lines{Line(0, 0x92, Key, 9), Line(0, 0x92, Key, 0), Line(0, 0x92, Key, 9)}));
}

TEST_F(MmeTest, ARecordGoesToEveryPortThatCoversIt) {
    OpenOutputs({0, 8, 16, 32751});
    for (const int channel : {0, 7, 8, 15, 16, 23, 24, 31, 32, 32750, 32751, 32766, 32767}) {
        Lines bend, clock;
        for (int row = 0; row < 4; ++row) {
            const int offset = channel - OutPorts[row].BaseChannel;
            if (offset < 0 || offset > 15) continue;
            bend.push_back(Line(row, 0xE0 + offset, 1, 2));
            clock.push_back(Line(row, 0xF8, 1, 2));
        }
        EXPECT_TRUE(Send(channel, 0xE0, 1, 2));
        EXPECT_EQ(Sent(), bend) << channel;
        EXPECT_TRUE(Send(channel, 0xF8, 1, 2));
        EXPECT_EQ(Sent(), clock) << channel;
    }
}

TEST_F(MmeTest, ANegativeChannelIsAllChannels) {
    OpenOutputs({0, 100});
    EXPECT_TRUE(Send(-1, 0x90, Key, 3));
    Lines all;
    for (int row = 0; row < 2; ++row)
        for (int channel = 0; channel < 16; ++channel) {
            all.push_back(Line(row, 0x90 + channel, Key, 3));
            EXPECT_EQ(CountOf(row, channel), 1);
        }
    EXPECT_EQ(Sent(), all);
    EXPECT_TRUE(Send(-32768, 0xF6));
    EXPECT_EQ(Sent(), (Lines{Line(0, 0xF6, 0, 0), Line(1, 0xF6, 0, 0)}));
    EXPECT_EQ(OutPorts[0].LastStatus, 0x9F);
}

TEST_F(MmeTest, SilenceReleasesWhatIsCounted) {
    OpenOutputs({16, 200});
    OutPorts[1].OutMatch = 0;
    for (const int channel : {16, 31, 203, 203, 203})
        Send(channel, 0x90, channel == 31 ? 127 : 0, 9);
    Send(16, 0x90, 0, 9);
    Sent();
    EXPECT_TRUE(MMESilence());
    EXPECT_EQ(Sent(), (Lines{Line(0, 0x90, 0, 0), Line(0, 0x90, 0, 0), Line(0, 0x8F, 127, 0),
                             Line(1, 0x93, 0, 0)}));
    EXPECT_TRUE(MMESilence());
    EXPECT_EQ(Sent(), Lines{});

    // A device that refuses ends it: what it held is let go, later ports keep theirs.
    Send(16, 0x90, 1, 9);
    Send(16, 0x90, 2, 9);
    Send(203, 0x90, 3, 9);
    machine::FailCall(machine::Call::midiOutShortMsg, 1, MMSYSERR_NODRIVER);
    EXPECT_FALSE(MMESilence());
    EXPECT_EQ(machine::TakeBoxes().size(), 1u);
    EXPECT_EQ(CountOf(0, 0, 1), 0);
    EXPECT_EQ(CountOf(0, 0, 2), 1);
    EXPECT_EQ(CountOf(1, 3, 3), 1);
}

TEST_F(MmeTest, RecordsOutsideTheTablesAreRefused) {
    OpenOutputs({0}, MIDICAPS_CACHE);
    for (const int status : {0x80, 0x90, 0xC0})
        for (const int channel : {3, -1}) {
            EXPECT_FALSE(Send(channel, status, 128, 1));
            EXPECT_FALSE(Send(channel, status, 255, 1));
        }
    EXPECT_TRUE(MMESilence());
    EXPECT_EQ(Sent(), Lines{});
    EXPECT_EQ(OutPorts[0].LastStatus, 0);
    EXPECT_EQ(machine::CallCount(machine::Call::midiOutCachePatches), 0u);
    EXPECT_TRUE(machine::TakeBoxes().empty());
}

TEST_F(MmeTest, PatchesAreCachedOnceForTheirChannels) {
    using machine::Call;
    OpenOutputs({16}, MIDICAPS_CACHE);
    machine::ResetCallCounts();
    Send(20, 0xC0, 9);
    EXPECT_EQ(machine::CachedPatches(0)[9], 1 << 4);
    EXPECT_EQ(machine::CallCount(Call::midiOutCachePatches), 2u);
    Send(20, 0xC0, 9);
    EXPECT_EQ(machine::CallCount(Call::midiOutCachePatches), 3u); // asked, and there already
    Send(31, 0xC0, 9);
    EXPECT_EQ(machine::CachedPatches(0)[9], 1 << 4 | 1 << 15);
    Send(-1, 0xC0, 9);
    EXPECT_EQ(machine::CachedPatches(0)[9], 0xFFFF);
    EXPECT_EQ(machine::CachedPatches(0)[8], 0);
    Sent();
    machine::FailCall(Call::midiOutCachePatches, 1, MMSYSERR_NOTSUPPORTED, 2);
    EXPECT_TRUE(Send(20, 0xC0, 10));
    EXPECT_EQ(Sent(), Lines{Line(0, 0xC4, 10, 0)});
    machine::ResetCallCounts();
    OutPorts[0].Support = 0;
    Send(20, 0xC0, 11);
    EXPECT_EQ(machine::CallCount(Call::midiOutCachePatches), 0u);
}

TEST_F(MmeTest, ADeviceThatRefusesIsReportedAndTheOthersServed) {
    OpenOutputs({0, 0, 0});
    machine::FailCall(machine::Call::midiOutShortMsg, 2, MIDIERR_NOTREADY);
    const MIDIEvent note = Event(1, 0x90, Key, 9);
    EXPECT_FALSE(ZorXmit(ZOR_IMMEDIATE, &note));
    EXPECT_EQ(Sent(), (Lines{Line(0, 0x91, Key, 9), Line(2, 0x91, Key, 9)}));
    EXPECT_EQ(CountOf(1, 1), 1);
    EXPECT_EQ(machine::TakeBoxes().size(), 1u);
    std::uint16_t code = 0;
    EXPECT_EQ(ZorErrorMIDI(&code), MMERow);
    EXPECT_EQ(code, 1);
    EXPECT_EQ(ZorErrorMIDI(&code), -1);

    // For all channels the errors show in boxes only.
    machine::FailCall(machine::Call::midiOutShortMsg, 3, MIDIERR_NOTREADY, 2);
    EXPECT_TRUE(Send(-1, 0xE0, 0, 64));
    EXPECT_EQ(machine::TakeBoxes().size(), 2u);
    EXPECT_EQ(Sent().size(), 46u);
}

// A device refuses, and while its box is up the host ends what the record belongs to.
TEST_F(MmeTest, TheRestOfATransmissionGoesToNoPortOfANewSession) {
    const MIDIEvent fresh = Event(2, 0x90, Key, 5);
    const auto restart = [&] {
        ZorStopMIDI();
        ASSERT_TRUE(ZorStartMIDI(0));
        Sent();
        ZorXmit(ZOR_IMMEDIATE, &fresh);
    };
    const auto kill = [&] {
        ZorKillMIDI();
        Sent();
        ZorXmit(ZOR_IMMEDIATE, &fresh);
    };
    for (const std::function<void()>& end : {std::function<void()>(restart), {kill}})
        for (const int channel : {2, -1})
            for (const int status : {0x90, 0xC0}) {
                Restart();
                OpenOutputs({0, 0}, MIDICAPS_CACHE);
                machine::FailCall(machine::Call::midiOutShortMsg, 1, MIDIERR_NOTREADY);
                machine::WhileBoxIsUp([&](const machine::Box&) { end(); });
                const MIDIEvent old = Event(channel, status, Key, 9);
                ZorXmit(ZOR_IMMEDIATE, &old);
                EXPECT_EQ(machine::TakeBoxes().size(), 1u);
                EXPECT_EQ(Sent(), (Lines{Line(0, 0x92, Key, 5), Line(1, 0x92, Key, 5)}));
                EXPECT_EQ(CountOf(0, 2) + CountOf(1, 2), 2);
                EXPECT_EQ(machine::CachedPatches(1)[Key], 0);
            }
}

TEST_F(MmeTest, WithoutPortsNothingIsSentAndNothingFails) {
    Load();
    EXPECT_TRUE(Send(0, 0x90, Key, 9));
    EXPECT_TRUE(Send(-1, 0x90, Key, 9));
    EXPECT_TRUE(MMESilence());
    EXPECT_FALSE(XmitToPort(OutPorts[0], Event(0, 0x90, Key, 9)));
}

} // namespace
