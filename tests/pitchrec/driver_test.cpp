// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Row 1 of the driver table: settings, poll, and closing while the timer runs. The recogniser is a
// fake.
#include "pitchrec/driver/capture_choice.h"
#include "pitchrec/driver/microphone_name.h"
#include "pitchrec/driver/prec_driver.h"
#include "pitchrec/driver/recogniser_guard.h"
#include "tests/pitchrec/session.h"

#include <array>
#include <deque>
#include <thread>
#include <tuple>

namespace {

using Note = std::tuple<std::int32_t, std::int32_t, std::int32_t, std::int32_t>; // time, message

// Returns the notes in Waiting.
class FakeRecogniser : public Sonorel::PitchRec {
public:
    ~FakeRecogniser() override { EXPECT_FALSE(Runs) << "deleted while it listens"; }
    bool IsRunning() override { return Runs; }
    bool Enable(bool on) override { return Runs = on, true; }
    bool GetNote(std::int32_t* time, std::int32_t* status, std::int32_t* data1,
                 std::int32_t* data2) override {
        if (Waiting.empty()) return false;
        std::tie(*time, *status, *data1, *data2) = Waiting.front();
        Waiting.pop_front();
        return true;
    }
    std::deque<Note> Waiting;
    bool Runs = true;
};

class PRecDriver : public Session {
protected:
    ~PRecDriver() override { PRecClose(); }

    static FakeRecogniser& Install(std::deque<Note> notes) {
        auto* fake = new FakeRecogniser;
        fake->Waiting = std::move(notes);
        delete SetRecogniser(fake);
        return *fake;
    }
};

TEST_F(PRecDriver, ReadsItsSettingsOnce) {
    const auto settings = [] {
        return std::array<int, 4>{PRecReady(), PRecChannel, NoteRangeMin, NoteRangeMax};
    };
    WriteSettings("EnablePitchRec=256\nChannel=65538\nNoteRangeMax=-1\n");
    OpenLibrary();
    WriteSettings("enablepitchrec=0\nchannel=x\nNoteRangeMin=40\n");
    EXPECT_EQ(PRecInit(), DriverSuccess); // not read again before PRecTerm
    EXPECT_EQ(settings(), (std::array{1, 2, 0, 65535}));
    OpenLibrary();
    EXPECT_EQ(settings(), (std::array{0, 0, 40, 127}));
}

// On the timer, even while the row is closed.
TEST_F(PRecDriver, DeliversNotesWithTheirAgeBeforeThePump) {
    WriteSettings("Channel=3\nNoteRangeMax=60\n"); // a range that filters nothing
    OpenLibrary();
    ASSERT_TRUE(ZorStartTimer());
    machine::Advance(450);
    FakeRecogniser& recogniser =
        Install({{Start + 475, 0x90, 69, 100}, {Start + 500, 0x81, 70, 255}});
    recogniser.SignalLevel = 44;
    // The sung note is echoed before the queued one.
    ZorEchoMIDI(1, nullptr);
    ASSERT_TRUE(ZorAllocMIDI(ZOR_QUEUE_OUTPUT, 4));
    const MIDIEvent due = {500, 0, 0, 2, 0x90, 70, 1};
    EXPECT_TRUE(ZorXmit(ZOR_QUEUE_OUTPUT, &due));
    machine::RecordSentMidi(true);
    machine::DrainSentMidi();
    machine::Advance(50);
    std::vector<std::uint32_t> sent;
    for (const machine::SentMidi& message : machine::DrainSentMidi())
        sent.push_back(message.Message);
    EXPECT_EQ(sent, (std::vector<std::uint32_t>{0x644593, 0x014690}));
    ZorEchoMIDI(0, nullptr);
    using Record = std::array<int, 7>;
    std::vector<Record> records;
    for (const MIDIEvent& r : DrainReceived())
        records.push_back({r.Time, r.Etime, r.Channel, r.Length, r.Status, r.Data1, r.Data2});
    EXPECT_EQ(records, (std::vector<Record>{{500 - 55, 0, 3, 2, 0x90, 69, 100},
                                            {500 - 30, 0, 3, 2, 0x81, 70, 255}}));
    EXPECT_EQ(PRecLevel, 44);

    recogniser.Runs = false; // a stopped recogniser is not polled
    recogniser.Waiting = {{0, 0x90, 69, 100}};
    machine::Advance(50);
    recogniser.Runs = true;
    ZorKillMIDI();
    MMETimerCallBack(0, 0, 0, 0, 0); // a late timer callback
    EXPECT_TRUE(DrainReceived().empty());
}

// The device refuses an echo, and the timer runs while the message box is up: a note popped then
// would be lost, since a transmission is running.
TEST_F(PRecDriver, PopsTheNextNoteAfterTheEchoOfTheLast) {
    OpenLibrary();
    ZorEchoMIDI(1, nullptr);
    Install({{0, 0x90, 69, 100}, {0, 0x80, 69, 64}});
    machine::FailCall(machine::Call::midiOutShortMsg, 1, MMSYSERR_ERROR);
    machine::WhileBoxIsUp([](const machine::Box&) { PollPitchRec(); });
    PollPitchRec();
    EXPECT_EQ(DrainBoxTexts().size(), 1u);
    EXPECT_EQ(DrainReceived().size(), 2u);
    ZorEchoMIDI(0, nullptr);
    ZorErrorMIDI(nullptr);
    PRecInDialog = 1; // opens, and no note is held any more
    PollPitchRec();
    PRecInDialog = 0;
    EXPECT_TRUE(DrainReceived().empty());
}

// The device refuses a message of the host, and the timer runs while the message box is up. Notes
// wait, with their order and time, or are dropped with their recogniser.
TEST_F(PRecDriver, NotesWaitForTheEndOfATransmission) {
    WriteSettings("Channel=1\n");
    OpenLibrary();
    ASSERT_TRUE(ZorStartMIDI(1));
    const MIDIEvent sent = {0, 0, 0, 2, 0xB0, 7, 1};
    const auto pollDuringSend = [&sent](const std::function<void()>& meanwhile) {
        machine::FailCall(machine::Call::midiOutShortMsg, 1, MMSYSERR_ERROR);
        machine::WhileBoxIsUp([&](const machine::Box&) {
            for (int expiries = 0; expiries < 2; ++expiries) PollPitchRec();
            EXPECT_TRUE(DrainReceived().empty());
            meanwhile();
        });
        ZorXmit(ZOR_IMMEDIATE, &sent);
        EXPECT_EQ(DrainBoxTexts().size(), 1u);
        machine::Advance(8);
        return DrainReceived();
    };
    machine::Advance(100);
    FakeRecogniser& recogniser = Install(
        {{Start + 60, 0x80, 69, 64}, {Start + 60, 0x90, 70, 9}, {Start + 90, 0x80, 70, 64}});
    std::vector<std::array<int, 3>> notes;
    for (const MIDIEvent& r : pollDuringSend([] {})) notes.push_back({r.Time, r.Status, r.Data1});
    EXPECT_EQ(notes,
              (std::vector<std::array<int, 3>>{{30, 0x80, 69}, {30, 0x90, 70}, {60, 0x80, 70}}));
    recogniser.Waiting = {{Start, 0x90, 71, 9}};
    const auto replace = [&recogniser] {
        recogniser.Runs = false;
        Install({});
    };
    EXPECT_TRUE(pollDuringSend(replace).empty());
    ZorStopMIDI();
    ZorErrorMIDI(nullptr);
}

TEST(Microphones, AreFoundByNameInEitherList) {
    const std::string cut = "Microphone (USB Audio Device 2.";
    const std::string front = cut + "0 front)", back = cut + "0 back)";
    struct Case {
        std::vector<std::string> Before;
        int Chosen;
        std::vector<std::string> Now;
        int Index;
    };
    const Case cases[] = {
        {{"Primary", "A", "B"}, 2, {"A", "B"}, 1}, // numbered from 0 and from 1
        {{"A", "B"}, 1, {"A", "BB", "b"}, -1},     // missing
        {{"A", "A", "A"}, 1, {"A", "A"}, 1},       // equal names
        {{front, back}, 1, {"A", cut, cut}, 2},    // equal once truncated
        {{cut, cut}, 1, {front, back}, 1},         // and the reverse
        {{front, back}, 0, {back}, -1},            // not its neighbour
        {{back, front}, 1, {front, back}, 0},
    };
    for (const Case& c : cases) {
        Sonorel::TextStringArray before, now;
        for (const std::string& name : c.Before) before.AppendText(name.c_str());
        for (const std::string& name : c.Now) now.AppendText(name.c_str());
        EXPECT_EQ(Sonorel::MicrophoneName(before, c.Chosen).IndexIn(now), c.Index)
            << testing::PrintToString(c.Before) << testing::PrintToString(c.Now);
    }
}

// waveIn's list leaves out the first device, whose name cannot be read. In the second case it can
// be read from the middle of the search on: then no device is opened, rather than the wrong one.
TEST_F(PRecDriver, AMicrophoneIsOpenedByItsNumber) {
    machine::AddMicrophone({"Nameless"});
    const machine::Microphone line = machine::AddMicrophone({"Line"});
    Sonorel::TextStringArray names;
    names.AppendText("Line");
    const Sonorel::MicrophoneName wanted(names, 0);
    for (const bool readable : {false, true}) {
        machine::FailCall(machine::Call::waveInGetDevCapsA, 1, MMSYSERR_NODRIVER);
        if (!readable) machine::FailCall(machine::Call::waveInGetDevCapsA, 3, MMSYSERR_NODRIVER);
        const OpenMicrophone opened = OpenRecogniser(&wanted);
        EXPECT_EQ(opened.Recogniser != nullptr, !readable);
        EXPECT_EQ(machine::StatsOf(line).Open, readable ? 0 : 1);
    }
}

// The poll runs while recognisers are installed and closed, and never uses one that is closing.
TEST_F(PRecDriver, PollsSafelyWhileClosing) {
    OpenLibrary();
    std::atomic<bool> stop{false};
    std::thread timer([&] {
        while (!stop) PollPitchRec();
    });
    for (int round = 0; round < 3000; ++round) {
        Install({{0, 0x90, 69, 100}, {0, 0x80, 69, 64}});
        if (round % 3 == 0) std::this_thread::yield();
        PRecClose();
    }
    stop = true;
    timer.join();
}

} // namespace
