// From a microphone of the machine to ZorRcv, through both capture classes.
#include "pitchrec/driver/prec_driver.h"
#include "tests/pitchrec/session.h"
#include "tests/support/scarce_memory.h"

#include <cmath>
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
    void UseMicrophone(const std::vector<Tone>& tones, std::uint32_t formats = 0xFFF) {
        machine::MicrophoneModel model;
        model.Name = "Desk";
        model.Formats = formats;
        Desk = machine::AddMicrophone(model);
        machine::FeedGenerator(Desk, Melody(tones));
    }
    // Milliseconds of the time base at which a moment of the feed sounded. The timer starts, and
    // the time base with it, in the same moment as the capture.
    static void ExpectNote(const MIDIEvent& record, std::uint8_t status, std::uint8_t note,
                           double seconds, int tolerance) {
        EXPECT_EQ(record.Status, status);
        EXPECT_EQ(record.Data1, note);
        // What comes with an age is filed 30 ms early.
        EXPECT_NEAR(record.Time + 30, seconds * 1000, tolerance) << int{note};
    }

    machine::Microphone Desk{};
};

// The class is told by what the microphone can do: waveIn without DirectSound, and there at every
// step of the format negotiation.
TEST_F(Journey, StampsNotesWhereTheyBeganWithEitherCapture) {
    struct Case {
        const char* Name;
        machine::DirectSound Direct;
        std::uint32_t Formats;
    };
    const Case cases[] = {
        {"DirectSound", machine::DirectSound::Present, 0xFFF},
        {"waveIn", machine::DirectSound::Absent, 0xFFF},
        {"waveIn, 22,050 Hz mono 16 bits", machine::DirectSound::Absent, 0x040},
        {"waveIn, 44,100 Hz stereo 16 bits", machine::DirectSound::Absent, 0x800},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.Name);
        machine::PowerOn();
        machine::UseSteppedClock(0xFFFFFF00); // the clock wraps on the way
        machine::SetModulePath((Folder / "zormidi.so").string());
        machine::SetDirectSound(c.Direct);
        // The second note comes so soon that the first has no rest behind it.
        UseMicrophone({{0.5, 0.9, 441}, {0.9, 1.4, 660}, {2.0, 2.3, 220}}, c.Formats);
        WriteIni("EnablePitchRec=1\nChannel=5\n");
        BringUp();
        ASSERT_TRUE(ZorStartMIDI(1));
        machine::Advance(3000);
        const auto records = TakeReceived();
        ASSERT_EQ(records.size(), 6u);
        ExpectNote(records[0], 0x90, 69, 0.5, 25);
        ExpectNote(records[2], 0x90, 76, 0.9, 60);
        ExpectNote(records[4], 0x90, 57, 2.0, 60);
        ZorStopMIDI();
        EXPECT_EQ(machine::OpenWaveIns() + machine::OpenCaptureObjects(), 0);
        MIDISysTerm();
    }
    EXPECT_TRUE(TakeBoxTexts().empty());
}

TEST_F(Journey, WithoutAMicrophoneSaysSoAndFails) {
    WriteIni("EnablePitchRec=1\n");
    BringUp();
    EXPECT_FALSE(ZorStartMIDI(1));
    EXPECT_EQ(Recogniser, nullptr);
    const auto boxes = machine::TakeBoxes();
    ASSERT_FALSE(boxes.empty()); // the capture's own first
    EXPECT_EQ(boxes.back().Text, NotOpened);
    EXPECT_EQ(boxes.back().Caption, "Testing");
    EXPECT_EQ(boxes.back().Flags, 48u);
    EXPECT_EQ(boxes.back().Owner, nullptr);
    std::uint16_t code = 0;
    EXPECT_EQ(ZorErrorMIDI(&code), 1);
    EXPECT_EQ(code, 1);
}

TEST_F(Journey, WithoutMemorySaysSoAndFails) {
    UseMicrophone({});
    WriteIni("EnablePitchRec=1\n");
    BringUp();
    {
        const ScarceMemory scarce;
        EXPECT_FALSE(PRecOpen());
    }
    EXPECT_EQ(Recogniser, nullptr);
    EXPECT_EQ(TakeBoxTexts(), std::vector<std::string>{NotOpened});
    machine::FailCall(machine::Call::GlobalAlloc, 1, 0); // the ring's block
    machine::SetDirectSound(machine::DirectSound::Present);
    EXPECT_FALSE(PRecOpen());
    machine::ClearFaults();
    EXPECT_EQ(machine::OpenWaveIns() + machine::OpenCaptureObjects(), 0);
    EXPECT_TRUE(PRecOpen());
    EXPECT_TRUE(PRecClose());
}

// Switched off, the row opens for the dialog all the same, and hears nothing.
TEST_F(Journey, OpensIdleWhileSwitchedOff) {
    UseMicrophone({{0.1, 1.0, 441}});
    BringUp();
    ASSERT_TRUE(PRecOpen());
    EXPECT_FALSE(Recogniser->IsRunning());
    ASSERT_TRUE(ZorStartTimer());
    machine::Advance(1000);
    EXPECT_TRUE(TakeReceived().empty());
    PRecClose();
}

// In real time, with timer, capture and host each on their own thread: opened and closed at any
// moment, and still listening at the end.
TEST_F(Journey, ReopensUnderARunningTimer) {
    machine::UseRealClock();
    for (const machine::DirectSound direct :
         {machine::DirectSound::Present, machine::DirectSound::Absent}) {
        machine::SetDirectSound(direct);
        UseMicrophone({{0.0, 100.0, 441}});
        WriteIni("EnablePitchRec=1\n");
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
