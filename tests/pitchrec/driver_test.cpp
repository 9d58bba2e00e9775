// Row 1 of the driver table: its settings, its poll, and taking its recogniser away under the
// timer's feet. The recogniser is a made-up one.
#include "pitchrec/driver/microphone_name.h"
#include "pitchrec/driver/prec_driver.h"
#include "pitchrec/driver/recogniser_guard.h"
#include "tests/pitchrec/session.h"

#include <deque>
#include <thread>

namespace {

struct Note {
    std::int32_t Time, Status, Data1, Data2;
};

// Has the notes that it is given, and writes down what is done to it.
class MadeUpRecogniser : public Sonorel::PitchRec {
public:
    explicit MadeUpRecogniser(std::string* trace = nullptr) : Trace(trace) {}
    ~MadeUpRecogniser() override { Say("gone"); }

    bool IsRunning() override { return Runs; }
    bool Enable(bool on) override {
        Say(on ? "on " : "off ");
        return true;
    }
    void SetTrackingMode(bool sliding) override { Say(sliding ? "sliding " : "steady "); }
    void SetAttackDetect(bool on, std::int32_t) override { Say(on ? "attacks " : "no-attacks "); }
    void SetPitchBendOutput(bool on) override { Say(on ? "bends " : "no-bends "); }
    bool GetNote(std::int32_t* time, std::int32_t* status, std::int32_t* data1,
                 std::int32_t* data2) override {
        if (Waiting.empty()) return false;
        *time = Waiting.front().Time;
        *status = Waiting.front().Status;
        *data1 = Waiting.front().Data1;
        *data2 = Waiting.front().Data2;
        Waiting.pop_front();
        return true;
    }

    std::deque<Note> Waiting;
    bool Runs = true;

private:
    void Say(const char* word) {
        if (Trace) *Trace += word;
    }
    std::string* Trace;
};

class PRecDriver : public Session {
protected:
    ~PRecDriver() override { PRecClose(); }

    static MadeUpRecogniser& PutIn(std::string* trace = nullptr) {
        auto* made = new MadeUpRecogniser(trace);
        delete SetRecogniser(made);
        return *made;
    }
};

TEST_F(PRecDriver, ReadsItsSettingsOnce) {
    struct Case {
        const char* Lines;
        int Enabled, Channel, Min, Max;
    };
    const Case cases[] = {
        {"", 0, 0, 0, 127},
        {"EnablePitchRec=1\nChannel=3\nNoteRangeMin=40\nNoteRangeMax=60\n", 1, 3, 40, 60},
        {"EnablePitchRec=256\nChannel=65538\nNoteRangeMax=-1\n", 1, 2, 0, 65535},
        {"enablepitchrec=0\nchannel=x\n", 0, 0, 0, 127},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.Lines);
        WriteSettings(c.Lines);
        BringUp(); // ends a session before it, so that the file is read again
        WriteSettings("EnablePitchRec=1\nChannel=77\n");
        EXPECT_EQ(PRecInit(), DriverSuccess); // not read again without an end
        EXPECT_EQ(PRecReady(), c.Enabled);
        EXPECT_EQ(PRecChannel, c.Channel);
        EXPECT_EQ(NoteRangeMin, c.Min);
        EXPECT_EQ(NoteRangeMax, c.Max);
    }
}

TEST_F(PRecDriver, HandsNotesOnWithTheirAge) {
    WriteSettings("Channel=3\nNoteRangeMax=60\n"); // a range that filters nothing
    BringUp();
    ASSERT_TRUE(ZorStartTimer());
    machine::Advance(500);
    MadeUpRecogniser& recogniser = PutIn();
    recogniser.SignalLevel = 44;
    recogniser.Waiting = {{static_cast<std::int32_t>(Start) + 475, 0x90, 69, 100},
                          {static_cast<std::int32_t>(Start) + 500, 0x81, 70, 255}};
    PollPitchRec();
    const auto records = TakeReceived();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(+records[0].Time, 500 - 55);
    EXPECT_EQ(+records[0].Etime, 0);
    EXPECT_EQ(records[0].Channel, 3);
    EXPECT_EQ(records[0].Length, 2);
    EXPECT_EQ(records[0].Status, 0x90);
    EXPECT_EQ(records[0].Data1, 69);
    EXPECT_EQ(records[0].Data2, 100);
    EXPECT_EQ(+records[1].Time, 500 - 30);
    EXPECT_EQ(records[1].Status, 0x81);
    EXPECT_EQ(records[1].Data2, 255);
    EXPECT_EQ(PRecLevel, 44);
}

// The timer does it by itself, also while the row is not open.
TEST_F(PRecDriver, IsPolledByTheTimer) {
    BringUp();
    ASSERT_TRUE(ZorStartTimer());
    MadeUpRecogniser& recogniser = PutIn();
    recogniser.Waiting = {{0, 0x90, 69, 100}};
    // And before the queues are played: what is sung is not late behind what is written.
    ZorEchoMIDI(1, nullptr);
    ASSERT_TRUE(ZorAllocMIDI(ZOR_QUEUE_OUTPUT, 4));
    const MIDIEvent due = {0, 0, 0, 2, 0x90, 70, 1};
    EXPECT_TRUE(ZorXmit(ZOR_QUEUE_OUTPUT, &due));
    machine::RecordSentMidi(true);
    machine::TakeSentMidi();
    machine::Advance(50);
    const auto sent = machine::TakeSentMidi();
    ASSERT_EQ(sent.size(), 2u);
    EXPECT_EQ(sent[0].Message, 0x644590u);
    EXPECT_EQ(sent[1].Message, 0x014690u);
    ZorEchoMIDI(0, nullptr);
    EXPECT_EQ(TakeReceived().size(), 1u);
    recogniser.Runs = false; // no notes are fetched from one that does not listen
    recogniser.Waiting = {{0, 0x90, 69, 100}};
    machine::Advance(50);
    EXPECT_TRUE(TakeReceived().empty());
    recogniser.Runs = true;
    ZorKillMIDI();
    MMETimerCallBack(0, 0, 0, 0, 0); // late, and nobody's
    EXPECT_TRUE(TakeReceived().empty());
}

TEST_F(PRecDriver, ClosesInOrderAndWithoutARecogniserDoesNothing) {
    PollPitchRec();
    EXPECT_TRUE(PRecClose());
    const MIDIEvent event{};
    EXPECT_TRUE(PRecXmit(&event));
    EXPECT_TRUE(PRecSilence());
    PRecSync(2);

    std::string trace;
    PutIn(&trace);
    EXPECT_TRUE(PRecClose());
    EXPECT_EQ(trace, "off steady no-attacks no-bends gone");
    EXPECT_EQ(Recogniser, nullptr);
}

// An echo is refused and its box runs the host's messages, the timer's among them: a note that was
// taken now would meet the transmission under way, and be lost.
TEST_F(PRecDriver, TakesTheNextNoteWhenTheOneBeforeIsThrough) {
    BringUp();
    ZorEchoMIDI(1, nullptr);
    MadeUpRecogniser& recogniser = PutIn();
    recogniser.Waiting = {{0, 0x90, 69, 100}, {0, 0x80, 69, 64}};
    machine::FailCall(machine::Call::midiOutShortMsg, 1, MMSYSERR_ERROR);
    machine::WhileBoxIsUp([](const machine::Box&) { PollPitchRec(); });
    PollPitchRec();
    EXPECT_EQ(TakeBoxTexts().size(), 1u);
    EXPECT_EQ(TakeReceived().size(), 2u);
    ZorEchoMIDI(0, nullptr);
    ZorErrorMIDI(nullptr);
}

TEST(Microphones, AreKnownByTheirNamesInEitherList) {
    const std::string cut = "Microphone (USB Audio Device 2.",
                      cutToo = "Microphone (2- USB Audio CODEC ";
    const std::string front = cut + "0 front)", back = cut + "0 back)", codec = cutToo + ")";
    struct Case {
        std::vector<std::string> Then;
        int Chosen;
        std::vector<std::string> Now;
        int Place;
    };
    const Case cases[] = {
        {{"Primary", "A", "B"}, 2, {"A", "B"}, 1},      // numbered from 0 and from 1
        {{"A", "B"}, 1, {"B"}, 0},                      // moved
        {{"A", "B"}, 1, {"A", "BB", "b"}, -1},          // gone
        {{"A", "A", "A"}, 1, {"A", "A"}, 1},            // twins
        {{"A", "A"}, 1, {"A"}, 0},                      // the one that is left
        {{"Primary", codec}, 1, {"A", cutToo}, 1},      // cut, behind a blank
        {{"A", cutToo}, 1, {"Primary", "A", codec}, 2}, // and whole again
        {{front, back}, 1, {"A", cut, cut}, 2},         // cut to twins
        {{cut, cut}, 1, {front, back}, 1},              // and told apart
        {{front, back}, 0, {back}, -1},                 // not its neighbour
        {{back, front}, 1, {front, back}, 0},
    };
    for (const Case& c : cases) {
        Sonorel::TextStringArray then, now;
        for (const std::string& name : c.Then) then.AppendText(name.c_str());
        for (const std::string& name : c.Now) now.AppendText(name.c_str());
        EXPECT_EQ(Sonorel::MicrophoneName(then, c.Chosen).PlaceIn(now), c.Place)
            << testing::PrintToString(c.Then) << testing::PrintToString(c.Now);
    }
}

// The poll runs on while the recogniser comes and goes; it never meets one that is going.
TEST_F(PRecDriver, PollsSafelyWhileClosing) {
    BringUp();
    std::atomic<bool> stop{false};
    std::thread timer([&] {
        while (!stop) PollPitchRec();
    });
    for (int round = 0; round < 3000; ++round) {
        auto* made = new MadeUpRecogniser;
        made->Waiting = {{0, 0x90, 69, 100}, {0, 0x80, 69, 64}};
        delete SetRecogniser(made);
        if (round % 3 == 0) std::this_thread::yield();
        PRecClose();
    }
    stop = true;
    timer.join();
}

} // namespace
