// From a microphone of the machine to ZorRcv, through both capture classes.
#include "pitchrec/driver/listening.h"
#include "pitchrec/driver/prec_driver.h"
#include "tests/pitchrec/session.h"
#include "tests/support/direct_sound.h"
#include "tests/support/scarce_memory.h"

#include <cmath>
#include <malloc.h>
#include <thread>

namespace {

constexpr const char* NotOpened = "Error initializing Pitch Recognition";

struct Tone {
    double From, To; // seconds on the feed
    double Hertz;
};

// Tones with sharp edges in silence.
machine::Generator Melody(std::vector<Tone> tones) {
    return [tones](const machine::FeedRequest& request) {
        for (std::size_t i = 0; i < request.Samples.size(); ++i) {
            const std::uint64_t frame = request.First + i / request.Channels;
            const double seconds = static_cast<double>(frame) / request.Rate;
            request.Samples[i] = 0;
            for (const Tone& tone : tones)
                if (seconds >= tone.From && seconds < tone.To)
                    request.Samples[i] = static_cast<float>(
                        0.8 * std::cos(2 * M_PI * tone.Hertz * (seconds - tone.From)));
        }
    };
}

class Journey : public Session {
protected:
    ~Journey() override { SetDirectSound(DirectSound::Absent); }
    static void UseMicrophone(const std::vector<Tone>& tones, std::uint32_t formats = 0xFFF,
                              unsigned channels = 2) {
        const auto desk = machine::AddMicrophone({"Desk", formats, channels});
        machine::FeedGenerator(desk, Melody(tones));
    }
    static bool Choose(const char* name) {
        Sonorel::TextStringArray names;
        names.AppendText(name);
        return ChoosePRecDevice(std::make_unique<Sonorel::MicrophoneName>(names, 0));
    }
    // When a block of the capture begins, in seconds on the feed.
    static double BlockStart(int block) { return block * 512 / 22050.0; }
};

// By waveIn where there is no DirectSound, or the microphone has only a format that is not asked of
// it, at the last step of the negotiation.
TEST_F(Journey, StampsNotesWhereTheyBeganWithEitherCapture) {
    const struct {
        DirectSound Direct;
        std::uint32_t Formats;
        unsigned Channels;
    } cases[] = {{DirectSound::Present, 0xFFF, 2},
                 {DirectSound::Absent, 0xFFF, 2},
                 {DirectSound::Present, 0x400, 1}};
    // Tones that begin with a block, the second of them without a rest before it.
    constexpr struct {
        int From, To, Note;
        double Hertz;
    } tones[] = {{20, 40, 69, 441}, {40, 60, 76, 660}, {80, 90, 57, 220}};
    std::vector<Tone> melody;
    for (const auto& tone : tones)
        melody.push_back({BlockStart(tone.From), BlockStart(tone.To), tone.Hertz});
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "case " << &c - cases);
        SwitchOn(0xFFFFFF00); // the clock wraps on the way
        SetDirectSound(c.Direct);
        UseMicrophone(melody, c.Formats, c.Channels);
        WriteSettings("EnablePitchRec=1\nChannel=5\n");
        BringUp();
        ASSERT_TRUE(ZorStartMIDI(1));
        machine::Advance(3000);
        const auto records = TakeReceived();
        ASSERT_EQ(records.size(), 6u);
        for (std::size_t i = 0; i < 3; ++i) {
            const MIDIEvent& record = records[2 * i];
            EXPECT_EQ(record.Status, 0x90);
            EXPECT_EQ(record.Data1, tones[i].Note);
            // A note is decided in its second block, stamped with that block's first loud sample,
            // and filed 30 ms early, as what comes with an age is. The time base starts with the
            // capture.
            EXPECT_NEAR(record.Time + 30, BlockStart(tones[i].From + 1) * 1000, 3) << i;
        }
        ZorStopMIDI();
        EXPECT_EQ(machine::OpenWaveIns() + OpenCaptureObjects(), 0);
        MIDISysTerm();
    }
    EXPECT_TRUE(TakeBoxTexts().empty());
}

// Switched off, the row opens for the dialog all the same, and hears nothing.
TEST_F(Journey, OpensIdleWhileSwitchedOffButNotWithoutMemory) {
    UseMicrophone({});
    BringUp();
    {
        const ScarceMemory scarce;
        EXPECT_FALSE(PRecOpen());
    }
    EXPECT_EQ(Recogniser, nullptr);
    machine::FailCall(machine::Call::GlobalAlloc, 1, 0); // the ring's block
    SetDirectSound(DirectSound::Present);
    EXPECT_FALSE(PRecOpen());
    EXPECT_EQ(machine::OpenWaveIns() + OpenCaptureObjects(), 0);
    EXPECT_EQ(TakeBoxTexts(), (std::vector<std::string>{NotOpened, NotOpened}));
    EXPECT_TRUE(PRecOpen());
    EXPECT_FALSE(Recogniser->IsRunning());
    // The first entry of one list stands for whatever the system has first in the other.
    ASSERT_TRUE(Choose("Primary Sound Capture Driver"));
    machine::FailCall(machine::Call::CreateCaptureBuffer, 1, DSERR_ALLOCATED, 0);
    EXPECT_TRUE(PRecOpen());
    EXPECT_TRUE(TakeBoxTexts().empty());
    EXPECT_EQ(machine::OpenWaveIns(), 1);
    EXPECT_TRUE(PRecClose());
}

// Tables, queues, buffers, events and threads of a session all end with it. The address sanitizer
// has a heap of its own, and looks for such leaks itself.
TEST_F(Journey, NothingIsLeftOfASession) {
    UseMicrophone({});
    WriteSettings("EnablePitchRec=1\n");
    const auto session = [](DirectSound direct) {
        SetDirectSound(direct);
        BringUp();
        ASSERT_TRUE(ZorStartMIDI(1));
        machine::Advance(100);
        ZorStopMIDI();
        MIDISysTerm();
        EXPECT_EQ(machine::OpenWaveIns() + OpenCaptureObjects(), 0);
    };
    // What caches and the arenas of other threads hold comes and goes; a leak grows on and on.
    constexpr int Sessions = 400, Batches = 6;
    constexpr std::int64_t smallest = 32; // bytes, with the heap's own
    for (const DirectSound direct : {DirectSound::Present, DirectSound::Absent}) {
        for (int warm = 0; warm < 10; ++warm) session(direct);
        const std::size_t before = mallinfo2().uordblks;
        std::int64_t grown = 0, ran = 0;
        do {
            for (int i = 0; i < Sessions; ++i) session(direct);
            ran += Sessions;
            grown = static_cast<std::int64_t>(mallinfo2().uordblks - before);
        } while (grown >= ran * smallest / 2 && ran < Batches * Sessions);
        EXPECT_LT(grown, ran * smallest / 2) << "in " << ran << " sessions";
    }
}

// Two microphones; the second is the user's choice.
class Choice : public Journey, public testing::WithParamInterface<DirectSound> {
protected:
    void SetUp() override {
        SetDirectSound(GetParam());
        WriteSettings("EnablePitchRec=1\n");
        BringUp();
        First = Add("First");
        Second = Add("Second");
        ASSERT_TRUE(PRecOpen());
        ASSERT_TRUE(Choose("Second"));
    }
    void TearDown() override {
        MachineTest::TearDown();
        PRecClose();
        EXPECT_EQ(machine::OpenWaveIns() + OpenCaptureObjects(), 0);
    }
    static machine::Microphone Add(const char* name) {
        return machine::AddMicrophone({.Name = name, .Exclusive = true});
    }
    // Neither class opens anything, the next so many times or for good.
    static void RefuseOpening(int times = 0) {
        machine::FailCall(machine::Call::CreateCaptureBuffer, 1, DSERR_ALLOCATED, times);
        machine::FailCall(machine::Call::waveInOpen, 1, MMSYSERR_ALLOCATED, times);
    }
    static int Open(machine::Microphone microphone) { return machine::StatsOf(microphone).Open; }
    static std::uint32_t Volume(machine::Microphone microphone) {
        return machine::ControlValues(microphone, machine::MicrophoneVolume).at(0);
    }
    machine::Microphone First{}, Second{};
};
INSTANTIATE_TEST_SUITE_P(Both, Choice, testing::Values(DirectSound::Present, DirectSound::Absent));

// Across starts, whatever numbers come and go, in the other class, and where another one, or for
// once it itself, cannot be opened.
TEST_P(Choice, IsKeptAndNoOtherMicrophoneTouched) {
    machine::MoveControl(First, machine::MicrophoneVolume, 60000);
    RefuseOpening();
    EXPECT_FALSE(PRecOpen());
    EXPECT_EQ(TakeBoxTexts().back(), NotOpened);
    machine::ClearFaults();
    for (const auto direct : {DirectSound::Absent, DirectSound::Present, GetParam()}) {
        SetDirectSound(direct);
        ASSERT_TRUE(PRecOpen());
        EXPECT_EQ(Open(Second), 1);
        EXPECT_EQ(Volume(Second), 32767u);
        EXPECT_EQ(Volume(First), 60000u);
        machine::Unplug(Add("Between"));
    }
    EXPECT_TRUE(TakeBoxTexts().empty());
    RefuseOpening(1);
    EXPECT_FALSE(Choose("First"));
    EXPECT_EQ(TakeBoxTexts().size(), 1u);
    EXPECT_EQ(Open(Second), 1);
    EXPECT_FALSE(Choose("Third"));
    ASSERT_TRUE(PRecOpen());
    EXPECT_EQ(Open(Second), 1);
}

TEST_P(Choice, GivesWayToTheDefaultWhileItIsGone) {
    for (int time = 0; time < 2; ++time) {
        machine::Unplug(Second);
        for (int start = 0; start < 2; ++start) {
            ASSERT_TRUE(PRecOpen());
            EXPECT_EQ(Open(First), 1);
            const auto texts = TakeBoxTexts(); // once
            ASSERT_EQ(texts.size(), start == 0 ? 1u : 0u);
            EXPECT_TRUE(texts.empty() || texts[0].find("\nSecond\n") != std::string::npos);
        }
        Second = Add("Second");
        ASSERT_TRUE(PRecOpen());
        EXPECT_EQ(Open(Second), 1);
        EXPECT_TRUE(TakeBoxTexts().empty());
    }
}

// What the host does from within a box decides, whatever the box came in the middle of.
TEST_P(Choice, LeavesTheLastWordToTheHost) {
    const std::function<void()> begins[] = {[] { PRecOpen(); }, [] { Choose("First"); }};
    const std::function<void()> acts[] = {[] { PRecClose(); }, [] { PRecOpen(); },
                                          [] { PRecClose(), PRecOpen(); }};
    int met = 0;
    for (int place = 0; place < 2 * 3 * 3 * 2; ++place) {
        SCOPED_TRACE(place);
        const auto& begin = begins[place % 2];
        const auto& act = acts[place / 2 % 3];
        const int refused = place / 6 % 3; // openings in a row
        int before = place / 18;           // boxes that are left alone
        ASSERT_TRUE(PRecOpen() && Choose("Second"));
        machine::Unplug(Second); // so that a box tells of that too
        if (refused > 0) RefuseOpening(refused);
        bool acted = false;
        machine::WhileBoxIsUp([&](const machine::Box&) {
            if (acted || before-- > 0) return;
            acted = true;
            machine::ClearFaults();
            act();
        });
        begin();
        machine::WhileBoxIsUp(nullptr);
        machine::ClearFaults();
        const bool closed = &act == &acts[0];
        if (acted) {
            ++met;
            EXPECT_EQ(Recogniser == nullptr, closed);
            EXPECT_EQ(Open(First), closed ? 0 : 1);
        }
        PRecClose();
        EXPECT_EQ(machine::OpenWaveIns() + OpenCaptureObjects(), 0);
        Second = Add("Second");
        machine::TakeBoxes();
    }
    EXPECT_EQ(met, 24);
}

// In real time, with timer, capture and host each on their own thread: opened and closed at any
// moment, and still listening at the end.
TEST_F(Journey, ReopensUnderARunningTimer) {
    machine::UseRealClock();
    for (const DirectSound direct : {DirectSound::Present, DirectSound::Absent}) {
        SetDirectSound(direct);
        UseMicrophone({{0.0, 100.0, 441}});
        WriteSettings("EnablePitchRec=1\n");
        BringUp();
        ASSERT_TRUE(ZorStartTimer());
        for (int round = 0; round < 12; ++round) {
            ASSERT_TRUE(ZorStartMIDI(0));
            std::this_thread::sleep_for(std::chrono::milliseconds(5 * round % 37));
            ZorRestoreMIDI();
        }
        ASSERT_TRUE(ZorStartMIDI(0));
        MIDIEvent event;
        while (!ZorRcv(&event, 0)) std::this_thread::sleep_for(std::chrono::milliseconds(5));
        EXPECT_EQ(event.Status, 0x90);
        EXPECT_EQ(event.Data1, 69);
        ZorStopMIDI();
        MIDISysTerm();
    }
}

} // namespace
