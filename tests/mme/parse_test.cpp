// From an input device to the record that the host takes.
#include "mme_test.h"

namespace {

// What may come in, by status: bytes of data, and whether sync gates it. Everything else is
// dropped.
struct Rule {
    int First, Last;
    int Length;
    bool Gated;
};
constexpr Rule Rules[] = {
    {0x80, 0xBF, 2, false}, {0xC0, 0xDF, 1, false}, {0xE0, 0xEF, 2, false}, {0xF2, 0xF2, 2, true},
    {0xF3, 0xF3, 1, true},  {0xF6, 0xF6, 0, false}, {0xF8, 0xF8, 0, true},  {0xFA, 0xFC, 0, true},
};

const Rule* RuleOf(int status) {
    for (const Rule& rule : Rules)
        if (status >= rule.First && status <= rule.Last) return &rule;
    return nullptr;
}

std::string Text(const MIDIEvent& event) {
    return "time " + std::to_string(event.Time) + " etime " + std::to_string(event.Etime) +
           " channel " + std::to_string(event.Channel) + " length " + std::to_string(event.Length) +
           " " + Line(0, event.Status, event.Data1, event.Data2);
}

// All records waiting, as text.
Lines Received() {
    Lines lines;
    MIDIEvent event;
    while (ZorRcv(&event, 0)) lines.push_back(Text(event));
    return lines;
}

TEST_F(MmeTest, EveryStatusInEverySyncState) {
    const int bases[] = {0, 16, 63};
    OpenInputs({0, 16, 63});
    for (const int master : {0, 1, 2, 5}) // row 5 has no device
        for (const int mode : {0, 1, 2}) {
            SyncMaster = static_cast<std::int16_t>(master);
            MMESync(static_cast<std::int16_t>(mode));
            for (int row = 0; row < 3; ++row)
                for (int status = 0; status < 256; ++status) {
                    const Rule* const rule = RuleOf(status);
                    Lines expected;
                    if (rule && !(rule->Gated && mode == 2 && row != master)) {
                        MIDIEvent event = {};
                        event.Time = 1000 + 7;
                        event.Channel = static_cast<std::int16_t>(bases[row]);
                        event.Status = static_cast<std::uint8_t>(status);
                        if (status < 0xF0) {
                            event.Channel = static_cast<std::int16_t>(bases[row] + status % 16);
                            event.Status = static_cast<std::uint8_t>(status - status % 16);
                        }
                        event.Length = static_cast<std::uint8_t>(rule->Length);
                        event.Data1 = 0x12;
                        event.Data2 = 0x34;
                        expected = {Text(event)};
                    }
                    const auto packed = static_cast<std::uintptr_t>(0x99341200 | status);
                    ASSERT_TRUE(machine::CallBackMidi(row, MIM_DATA, packed, 7));
                    ASSERT_EQ(Received(), expected)
                        << "master " << master << " mode " << mode << " row " << row;
                }
        }
}

TEST_F(MmeTest, OnlyDataOfOpenPortsIsTaken) {
    OpenInputs({0, 16});
    for (const UINT message : {MIM_OPEN, MIM_CLOSE, MIM_LONGDATA, MIM_ERROR, MIM_LONGERROR, 0u})
        machine::CallBackMidi(0, message, 0x403C90, 0);
    HMIDIIN const handle = InPorts[1].Handle;
    int nobody = 0;
    for (void* const unknown : {static_cast<void*>(nullptr), static_cast<void*>(&nobody)})
        MmeMidiInCallBack(unknown, MIM_DATA, 0, 0x403C90, 0);
    EXPECT_EQ(Received(), Lines{});
    for (const UINT message : {MIM_DATA, MIM_MOREDATA})
        MmeMidiInCallBack(handle, message, 0, 0x403C90, 0);
    EXPECT_EQ(Received().size(), 2u);
    ZorStopMIDI();
    MmeMidiInCallBack(handle, MIM_DATA, 0, 0x403C90, 0);
    MmeMidiInCallBack(nullptr, MIM_DATA, 0, 0x403C90, 0);
    EXPECT_EQ(Received(), Lines{});
}

TEST_F(MmeTest, StampsCountFromTheStartOfThePort) {
    machine::UseSteppedClock(0xFFFFFF00u); // the clock wraps while the port is open
    OpenInputs({0});
    ASSERT_TRUE(ZorStartTimer());
    machine::Advance(300);
    machine::ReceiveMidi(0, 0x403C90);
    machine::Advance(0);
    MIDIEvent event;
    ASSERT_TRUE(ZorRcv(&event, 0));
    EXPECT_EQ(event.Time, 300);
    machine::CallBackMidi(0, MIM_DATA, 0x403C90, 250);
    ASSERT_TRUE(ZorRcv(&event, 0));
    EXPECT_EQ(event.Time, 250);
}

TEST_F(MmeTest, AMessageThatComesDuringAnotherIsLost) {
    OpenInputs({0});
    ASSERT_TRUE(ZorStartTimer());
    ZorSyncMIDI(2);
    ZorTimeMIDI(1);
    ZorEchoMIDI(1, nullptr);
    machine::CallBackMidi(0, MIM_DATA, 0xFA, 0);
    // The echo of a note meets an error, and a clock comes while the box is up: the engine would
    // count it, so that it must have been lost before.
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
    machine::CallBackMidi(0, MIM_DATA, 0xF8, 0); // the next one comes through
    EXPECT_EQ(ZorTimeMIDI(0), 1024 / 24);
    ZorSyncMIDI(0);
}

} // namespace
