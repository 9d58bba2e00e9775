// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Whole runs from a virtual microphone to ZorRcv, through both capture classes.
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
    double Begin, End; // seconds from the start of the sound
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
                if (seconds >= tone.Begin && seconds < tone.End)
                    request.Samples[i] = static_cast<float>(
                        0.8 * std::cos(2 * M_PI * tone.Hertz * (seconds - tone.Begin)));
        }
    };
}

class Scenario : public Session {
protected:
    ~Scenario() override { SetDirectSound(DirectSound::Absent); }
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
    // The begin of a capture block, in seconds from the start of the sound.
    static double BlockStart(int block) { return block * 512 / 22050.0; }
};

// waveIn is used without DirectSound, and in the last case, where DirectSound does not request the
// only format of the microphone.
TEST_F(Scenario, NotesHaveTheTimeOfTheirOnsetWithEitherCapture) {
    const struct {
        DirectSound Direct;
        std::uint32_t Formats;
        unsigned Channels;
    } cases[] = {{DirectSound::Present, 0xFFF, 2},
                 {DirectSound::Absent, 0xFFF, 2},
                 {DirectSound::Present, 0x400, 1}};
    // The tones begin at block boundaries, the second without a rest before it.
    constexpr struct {
        int Begin, End, Note; // blocks
        double Hertz;
    } tones[] = {{20, 40, 69, 441}, {40, 60, 76, 660}, {80, 90, 57, 220}};
    std::vector<Tone> melody;
    for (const auto& tone : tones)
        melody.push_back({BlockStart(tone.Begin), BlockStart(tone.End), tone.Hertz});
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "case " << &c - cases);
        SwitchOn(0xFFFFFF00); // the clock wraps during the run
        SetDirectSound(c.Direct);
        UseMicrophone(melody, c.Formats, c.Channels);
        WriteSettings("EnablePitchRec=1\nChannel=5\n");
        OpenLibrary();
        ASSERT_TRUE(ZorStartMIDI(1));
        machine::Advance(3000);
        const auto records = DrainReceived();
        ASSERT_EQ(records.size(), 6u);
        for (std::size_t i = 0; i < 3; ++i) {
            const MIDIEvent& record = records[2 * i];
            EXPECT_EQ(record.Status, 0x90);
            EXPECT_EQ(record.Data1, tones[i].Note);
            // A note is decided in its second block, with the time of that block's first loud
            // sample. Records that arrive with an age get a time 30 ms earlier. The time base
            // starts with the capture.
            EXPECT_NEAR(record.Time + 30, BlockStart(tones[i].Begin + 1) * 1000, 3) << i;
        }
        ZorStopMIDI();
        EXPECT_EQ(machine::OpenWaveIns() + OpenCaptureObjects(), 0);
        MIDISysTerm();
    }
    EXPECT_TRUE(DrainBoxTexts().empty());
}

// With the setting off the row opens for the dialog, but does not listen.
TEST_F(Scenario, OpensIdleWhileSwitchedOffButNotWithoutMemory) {
    UseMicrophone({});
    OpenLibrary();
    {
        const ScarceMemory scarce;
        EXPECT_FALSE(PRecOpen());
    }
    EXPECT_EQ(Recogniser, nullptr);
    machine::FailCall(machine::Call::GlobalAlloc, 1, 0); // of the ring
    SetDirectSound(DirectSound::Present);
    EXPECT_FALSE(PRecOpen());
    EXPECT_EQ(machine::OpenWaveIns() + OpenCaptureObjects(), 0);
    EXPECT_EQ(DrainBoxTexts(), (std::vector<std::string>{NotOpened, NotOpened}));
    EXPECT_TRUE(PRecOpen());
    EXPECT_FALSE(Recogniser->IsRunning());
    // This entry of DirectSound's list stands for the default device in waveIn's.
    ASSERT_TRUE(Choose("Primary Sound Capture Driver"));
    machine::FailCall(machine::Call::CreateCaptureBuffer, 1, DSERR_ALLOCATED, 0);
    EXPECT_TRUE(PRecOpen());
    EXPECT_TRUE(DrainBoxTexts().empty());
    EXPECT_EQ(machine::OpenWaveIns(), 1);
    EXPECT_TRUE(PRecClose());
}

// A session frees its tables, queues, buffers, events and threads. (The address sanitizer has its
// own heap and leak check.)
TEST_F(Scenario, ASessionLeaksNothing) {
    UseMicrophone({});
    WriteSettings("EnablePitchRec=1\n");
    const auto session = [](DirectSound direct) {
        SetDirectSound(direct);
        OpenLibrary();
        ASSERT_TRUE(ZorStartMIDI(1));
        machine::Advance(100);
        ZorStopMIDI();
        MIDISysTerm();
        EXPECT_EQ(machine::OpenWaveIns() + OpenCaptureObjects(), 0);
    };
    // Caches and arenas of other threads vary; a leak grows with the number of sessions.
    constexpr int Sessions = 400, Batches = 6;
    constexpr std::int64_t smallest = 32; // bytes, including the heap's header
    for (const DirectSound direct : {DirectSound::Present, DirectSound::Absent}) {
        for (int warm = 0; warm < 10; ++warm) session(direct);
        const std::size_t before = mallinfo2().uordblks;
        std::int64_t growth = 0, sessions = 0;
        do {
            for (int i = 0; i < Sessions; ++i) session(direct);
            sessions += Sessions;
            growth = static_cast<std::int64_t>(mallinfo2().uordblks - before);
        } while (growth >= sessions * smallest / 2 && sessions < Batches * Sessions);
        EXPECT_LT(growth, sessions * smallest / 2) << "in " << sessions << " sessions";
    }
}

// Two microphones; the second is the user's choice.
class Choice : public Scenario, public testing::WithParamInterface<DirectSound> {
protected:
    void SetUp() override {
        SetDirectSound(GetParam());
        WriteSettings("EnablePitchRec=1\n");
        OpenLibrary();
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
    // Makes the next openings of both classes fail, or all if times is 0.
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

// The choice lasts across starts, changed device numbers, the other class, and failed openings of
// it and of another one.
TEST_P(Choice, IsKeptAndNoOtherMicrophoneOpened) {
    machine::MoveControl(First, machine::MicrophoneVolume, 60000);
    RefuseOpening();
    EXPECT_FALSE(PRecOpen());
    EXPECT_EQ(DrainBoxTexts().back(), NotOpened);
    machine::ClearFaults();
    for (const auto direct : {DirectSound::Absent, DirectSound::Present, GetParam()}) {
        SetDirectSound(direct);
        ASSERT_TRUE(PRecOpen());
        EXPECT_EQ(Open(Second), 1);
        EXPECT_EQ(Volume(Second), 32767u);
        EXPECT_EQ(Volume(First), 60000u);
        machine::Unplug(Add("Between"));
    }
    EXPECT_TRUE(DrainBoxTexts().empty());
    RefuseOpening(1);
    EXPECT_FALSE(Choose("First"));
    EXPECT_EQ(DrainBoxTexts().size(), 1u);
    EXPECT_EQ(Open(Second), 1);
    EXPECT_FALSE(Choose("Third"));
    ASSERT_TRUE(PRecOpen());
    EXPECT_EQ(Open(Second), 1);
}

TEST_P(Choice, IsReplacedByTheDefaultWhileUnplugged) {
    for (int time = 0; time < 2; ++time) {
        machine::Unplug(Second);
        for (int start = 0; start < 2; ++start) {
            ASSERT_TRUE(PRecOpen());
            EXPECT_EQ(Open(First), 1);
            const auto texts = DrainBoxTexts(); // once
            ASSERT_EQ(texts.size(), start == 0 ? 1u : 0u);
            EXPECT_TRUE(texts.empty() || texts[0].find("\nSecond\n") != std::string::npos);
        }
        Second = Add("Second");
        ASSERT_TRUE(PRecOpen());
        EXPECT_EQ(Open(Second), 1);
        EXPECT_TRUE(DrainBoxTexts().empty());
    }
}

// The host's calls from within a message box win over the operation that shows the box.
TEST_P(Choice, TheLatestCallWins) {
    const std::function<void()> begins[] = {[] { PRecOpen(); }, [] { Choose("First"); }};
    const std::function<void()> acts[] = {[] { PRecClose(); }, [] { PRecOpen(); },
                                          [] { PRecClose(), PRecOpen(); }};
    int tested = 0;
    for (int i = 0; i < 2 * 3 * 3 * 2; ++i) {
        SCOPED_TRACE(i);
        const auto& begin = begins[i % 2];
        const auto& act = acts[i / 2 % 3];
        const int refused = i / 6 % 3; // failed openings in a row
        int skipped = i / 18;          // boxes before the host acts
        ASSERT_TRUE(PRecOpen() && Choose("Second"));
        machine::Unplug(Second); // so that another box reports that
        if (refused > 0) RefuseOpening(refused);
        bool acted = false;
        machine::WhileBoxIsUp([&](const machine::Box&) {
            if (acted || skipped-- > 0) return;
            acted = true;
            machine::ClearFaults();
            act();
        });
        begin();
        machine::WhileBoxIsUp(nullptr);
        machine::ClearFaults();
        const bool closed = &act == &acts[0];
        if (acted) {
            ++tested;
            EXPECT_EQ(Recogniser == nullptr, closed);
            EXPECT_EQ(Open(First), closed ? 0 : 1);
        }
        PRecClose();
        EXPECT_EQ(machine::OpenWaveIns() + OpenCaptureObjects(), 0);
        Second = Add("Second");
        machine::DrainBoxes();
    }
    EXPECT_EQ(tested, 24);
}

// On the real clock, with timer, capture and host on their own threads: opens and closes at various
// moments, and still listens at the end.
TEST_F(Scenario, ReopensUnderARunningTimer) {
    machine::UseRealClock();
    for (const DirectSound direct : {DirectSound::Present, DirectSound::Absent}) {
        SetDirectSound(direct);
        UseMicrophone({{0.0, 100.0, 441}});
        WriteSettings("EnablePitchRec=1\n");
        OpenLibrary();
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
