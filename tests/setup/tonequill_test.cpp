// Journeys through the microphone's dialog, on a live recogniser of either capture class, with a
// script for the user.
#include "desk.h"

#include "engine/driver_table.h"
#include "pitchrec/driver/prec_driver.h"
#include "setup/tonequill.h"
#include "tests/support/direct_sound.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>

using namespace tonequill;

namespace {

// The mixer's whole range; half of it is what a recogniser calls 128 and the slider 50 percent.
constexpr std::uint32_t FullVolume = 65535, HalfVolume = 32767;

class TonequillTest : public Desk, public testing::WithParamInterface<DirectSound> {
protected:
    void SetUp() override {
        Desk::SetUp();
        SetDirectSound(GetParam());
        Outputs({"Synth"});
    }

    machine::Microphone AddMicrophone(const char* name, bool withMixer = true) {
        machine::MicrophoneModel model;
        model.Name = name;
        if (!withMixer) model.Mixer.clear();
        return machine::AddMicrophone(model);
    }
    // A steady tone whose peak is so many of 8-bit sample units.
    static void Sing(machine::Microphone microphone, double peak) {
        machine::FeedGenerator(microphone, [peak](const machine::FeedRequest& request) {
            for (std::size_t i = 0; i < request.Samples.size(); ++i) {
                const auto frame = static_cast<double>(request.First + i / request.Channels);
                request.Samples[i] = static_cast<float>(
                    peak / 128 * std::sin(2 * std::numbers::pi * 220.5 * frame / request.Rate));
            }
        });
    }
    static std::uint32_t Volume(machine::Microphone microphone) {
        return machine::ControlValues(microphone, machine::MicrophoneVolume).at(0);
    }
    static std::uint32_t Mute(machine::Microphone microphone) {
        return machine::ControlValues(microphone, machine::MicrophoneMute).at(0);
    }
    void Mic(DialogScript user) { Show(1, std::move(user)); }
    static int Percent(const DialogUser& user) { return 100 - user.Position(LevelSlider); }
};
INSTANTIATE_TEST_SUITE_P(Both, TonequillTest,
                         testing::Values(DirectSound::Present, DirectSound::Absent));

TEST_P(TonequillTest, FirstOpeningAndOk) {
    AddMicrophone("Headset");
    AddMicrophone("Line");
    std::vector<std::string> devices{"Headset", "Line"};
    if (GetParam() == DirectSound::Present)
        devices.insert(devices.begin(), "Primary Sound Capture Driver");
    Mic([&](DialogUser& user) {
        EXPECT_EQ(user.Title(), "Tonequill");
        EXPECT_EQ(GetWindowLongPtrA(user.Handle(), DWLP_USER), 6001);
        EXPECT_EQ(user.Focus(), IDOK);
        EXPECT_EQ(user.Items(DeviceList), devices);
        EXPECT_EQ(user.Text(ChannelField), "1");
        EXPECT_EQ(user.Text(RangeMinField), "0");
        EXPECT_EQ(user.Text(RangeMaxField), "127");
        for (const int hidden : {13, 30, 27, 31, 28}) EXPECT_FALSE(user.Shown(hidden)) << hidden;
        EXPECT_FALSE(user.Checked(EnableBox));
        EXPECT_FALSE(user.Checked(MicThru));
        EXPECT_EQ(Percent(user), 50);
        user.Click(EnableBox);
        user.Type(ChannelField, "4");
        user.Click(IDOK);
        EXPECT_TRUE(user.Ended());
    });
    EXPECT_EQ(ReadIni(),
              "[PRECDRVR]\nEnablePitchRec=1\nChannel=3\nNoteRangeMin=0\nNoteRangeMax=127\n");
    EXPECT_EQ(Recogniser, nullptr);
}

TEST_P(TonequillTest, TheFileIsReadAtEachOpening) {
    AddMicrophone("Headset");
    WriteIni("[PRECDRVR]\nEnablePitchRec=7\nChannel=15\nNoteRangeMin=300\nNoteRangeMax=-1\n");
    Mic([](DialogUser& user) {
        EXPECT_TRUE(user.Checked(EnableBox));
        EXPECT_EQ(user.Text(ChannelField), "16");
        EXPECT_EQ(user.Text(RangeMinField), "44"); // the low byte
        EXPECT_EQ(user.Text(RangeMaxField), "255");
        user.Click(IDOK);
    });
    // What the dialog does not let one edit is stored as it was, as a signed 16-bit number.
    EXPECT_EQ(ReadIni(),
              "[PRECDRVR]\nEnablePitchRec=1\nChannel=15\nNoteRangeMin=300\nNoteRangeMax=-1\n");
    WriteIni("");
    Mic([](DialogUser& user) {
        EXPECT_FALSE(user.Checked(EnableBox));
        EXPECT_EQ(user.Text(ChannelField), "1");
    });
}

TEST_P(TonequillTest, TheChannelFieldIsReadWhenItIsLeft) {
    AddMicrophone("Headset");
    const std::pair<const char*, const char*> typed[] = {
        {"1", "0"}, {"16", "15"},  {"64", "63"},  {"0", "-1"},
        {"", "-1"}, {"abc", "-1"}, {"12x", "11"}, {"70000", "4463"}};
    for (const auto& [text, stored] : typed) {
        Mic([text = text](DialogUser& user) {
            user.Type(ChannelField, text);
            user.Click(IDOK); // the click leaves the field
        });
        EXPECT_EQ(Key("Channel"), stored) << text;
    }
    WriteIni("[PRECDRVR]\nChannel=-1\n");
    Mic([](DialogUser& user) { EXPECT_EQ(user.Text(ChannelField), "0"); });
    // Enter takes the default button: what is shown is stored.
    Mic([](DialogUser& user) {
        user.Type(ChannelField, "9");
        user.Enter();
        EXPECT_TRUE(user.Ended());
    });
    EXPECT_EQ(Key("Channel"), "8");
    EXPECT_EQ(PRecChannel, 8);
    // A field that Cancel finds unread stays so, whatever the end of the dialog tells it.
    Mic([](DialogUser& user) {
        user.Type(ChannelField, "3");
        user.Escape();
    });
    EXPECT_EQ(PRecChannel, 8);
}

TEST_P(TonequillTest, CancelKeepsTheFileAndNothingElse) {
    const machine::Microphone headset = AddMicrophone("Headset");
    const std::string before = "[PRECDRVR]\nEnablePitchRec=1\nChannel=2\n";
    WriteIni(before);
    Mic([&](DialogUser& user) {
        user.Click(EnableBox);
        user.Type(ChannelField, "6");
        user.Click(MicThru);
        user.Slide(LevelSlider, 30);
        user.Escape();
        EXPECT_TRUE(user.Ended());
        EXPECT_EQ(Volume(headset), 45566u); // 178 / 128 of the half
    });
    EXPECT_EQ(ReadIni(), before);
    EXPECT_FALSE(EnablePitchRec);
    EXPECT_EQ(PRecChannel, 5);
    EXPECT_EQ(Mute(headset), 0u);
    EXPECT_TRUE(ZorStartMIDI(0));
    EXPECT_EQ(Recogniser, nullptr); // switched off in memory, so not opened
    ZorStopMIDI();
}

TEST_P(TonequillTest, SliderAndMixerFollowEachOther) {
    const machine::Microphone headset = AddMicrophone("Headset");
    machine::MoveControl(headset, machine::MicrophoneVolume, 5);
    Mic([&](DialogUser& user) {
        EXPECT_EQ(Volume(headset), HalfVolume); // opening puts it there
        struct Step {
            int Position;
            std::uint32_t Volume;
        };
        const Step steps[] = {{0, 65278}, {50, 32511}, {100, 0}, {1, 64510}, {99, 511}};
        for (const Step& step : steps) {
            user.Slide(LevelSlider, step.Position);
            EXPECT_EQ(Volume(headset), step.Volume) << step.Position;
            user.Wait(50);
            EXPECT_NEAR(user.Position(LevelSlider), step.Position, 1);
        }
        // Another program moves the mixer.
        machine::MoveControl(headset, machine::MicrophoneVolume, FullVolume);
        user.Wait(49);
        EXPECT_LT(Percent(user), 10);
        user.Wait(1);
        EXPECT_EQ(Percent(user), 100);
        // It is followed from 2 percent on, and by nothing else that scrolls.
        const std::pair<std::uint32_t, int> moves[] = {{63743, 98}, {63231, 98}, {32512, 50}};
        for (const auto& [volume, percent] : moves) {
            machine::MoveControl(headset, machine::MicrophoneVolume, volume);
            user.Wait(50);
            EXPECT_EQ(Percent(user), percent) << volume;
        }
        const HWND other = GetDlgItem(user.Handle(), Meter);
        SendMessageA(user.Handle(), WM_VSCROLL, 0, reinterpret_cast<LPARAM>(other));
        EXPECT_EQ(Volume(headset), 32512u);
        user.Click(MicThru);
        EXPECT_EQ(Mute(headset), 0u);
        user.Click(MicThru);
        EXPECT_EQ(Mute(headset), 1u);
    });
}

TEST_P(TonequillTest, ASliderThatTheMixerDoesNotObeyFallsBack) {
    struct Case {
        const char* Name;
        bool WithMixer, Refuses;
        int Percent; // at opening, and after the tick that follows a move
    };
    const Case cases[] = {{"no mixer", false, false, 0}, {"refused", true, true, 50}};
    for (const Case& test : cases) {
        SCOPED_TRACE(test.Name);
        Up = false;
        PowerOff();
        PowerOn();
        SetUp();
        AddMicrophone("Headset", test.WithMixer);
        Mic([&](DialogUser& user) {
            if (test.Refuses)
                machine::FailCall(machine::Call::mixerSetControlDetails, 1, MMSYSERR_NOTSUPPORTED,
                                  0);
            EXPECT_EQ(Percent(user), test.Percent);
            user.Slide(LevelSlider, 10);
            EXPECT_EQ(Percent(user), 90);
            user.Wait(50);
            EXPECT_EQ(Percent(user), test.Percent);
        });
    }
}

TEST_P(TonequillTest, WithoutARecogniserTheSettingsCanStillBeMade) {
    Mic([](DialogUser& user) { // no microphone at all
        EXPECT_TRUE(user.Items(DeviceList).empty());
        EXPECT_EQ(user.Selection(DeviceList), -1);
        EXPECT_EQ(Percent(user), 0);
        EXPECT_FALSE(user.Checked(MicThru));
        user.Slide(LevelSlider, 0);
        user.Click(MicThru);
        user.Wait(50);
        EXPECT_EQ(Percent(user), 0);
        user.Click(EnableBox);
        user.Click(IDOK);
    });
    EXPECT_EQ(Key("EnablePitchRec"), "1");
    EXPECT_EQ(Key("Channel"), "0");
    const std::vector<machine::Box> boxes = machine::TakeBoxes();
    ASSERT_FALSE(boxes.empty());
    EXPECT_EQ(boxes.back().Text, "Error initializing Pitch Recognition");
}

// The meter, pixel by pixel, for the frame's 17 by 145 pixels: bars of 3 in steps of 4.
std::vector<std::uint32_t> Meter(int level) {
    constexpr int width = 17, height = 145, step = 4, bar = 3;
    const auto y = [](int n) { return height - n * height / 128; };
    std::vector<std::uint32_t> pixels(width * height, 0xFFFFFFFF);
    const auto fill = [&](int left, int top, int right, int bottom, std::uint32_t colour) {
        for (int row = std::max(top, 0); row < bottom; ++row)
            for (int column = left; column < right; ++column)
                pixels[static_cast<std::size_t>(row * width + column)] = colour;
    };
    fill(1, 1, width - 1, y(level) - 1, 0xF0F0F0);
    for (int bottom = height; bottom > y(level); bottom -= step) {
        const std::uint32_t colour = bottom <= y(110)  ? 0x0000FF
                                     : bottom <= y(35) ? 0x008000
                                                       : 0xFF0000;
        fill(0, bottom - bar, width, bottom, 0);
        fill(1, bottom - bar + 1, width - 1, bottom - 1, colour);
    }
    return pixels;
}

TEST_P(TonequillTest, TheMeterPaintsTheLevelToThePixel) {
    // Nothing is captured, so each tick paints what the last poll left.
    for (const int level : {0, 1, 34, 35, 36, 110, 111, 127, 128, 30000, -5}) {
        Mic([level](DialogUser& user) {
            PRecLevel = level;
            EXPECT_TRUE(user.Pixels(tonequill::Meter).empty()); // nothing before the first tick
            user.Wait(50);
            EXPECT_TRUE(user.Pixels(tonequill::Meter) == Meter(std::clamp(level, 0, 127))) << level;
        });
    }
}

TEST_P(TonequillTest, TheMeterHearsTheMicrophoneAndNotesAreDropped) {
    const machine::Microphone headset = AddMicrophone("Headset");
    Sing(headset, 100);
    ASSERT_EQ(MIDISysInit(0), -1);
    Up = true;
    ZorAllocMIDI(0, 100);
    ASSERT_TRUE(ZorStartTimer()); // its polls leave the notes to the dialog
    Mic([](DialogUser& user) {
        EXPECT_EQ(EnablePitchRec, 0); // it runs for the dialog even when switched off
        user.Wait(1000);
        EXPECT_NEAR(PRecLevel, 100, 3);
        const std::vector<std::uint32_t> pixels = user.Pixels(tonequill::Meter);
        EXPECT_GT(std::ranges::count(pixels, 0x008000u), 100); // loud enough for green
        EXPECT_EQ(std::ranges::count(pixels, 0x0000FFu), 0);
        std::int32_t time, status, data1, data2;
        EXPECT_FALSE(Recogniser->GetNote(&time, &status, &data1, &data2));
    });
    MIDIEvent event;
    EXPECT_FALSE(ZorRcv(&event, 0));
}

TEST_P(TonequillTest, ADeviceIsTakenUpAtOnceAndForLater) {
    const machine::Microphone headset = AddMicrophone("Headset");
    const machine::Microphone line = AddMicrophone("Line");
    machine::MoveControl(line, machine::MicrophoneMute, 0);
    Sing(line, 60);
    Mic([&](DialogUser& user) {
        EXPECT_EQ(machine::StatsOf(headset).Open, 1);
        user.Slide(LevelSlider, 100);
        user.Select(DeviceList, "Line");
        EXPECT_EQ(machine::StatsOf(headset).Open, 0);
        EXPECT_EQ(machine::StatsOf(line).Open, 1);
        EXPECT_TRUE(user.Checked(MicThru)); // the other device's mixer
        user.Wait(1000);
        EXPECT_EQ(Percent(user), 50);
        EXPECT_NEAR(PRecLevel, 60, 3);
        user.Click(EnableBox);
        user.Click(IDOK);
    });
    Mic([](DialogUser& user) { EXPECT_EQ(user.Text(DeviceList), "Line"); });
    ASSERT_TRUE(ZorStartMIDI(0));
    EXPECT_EQ(machine::StatsOf(line).Open, 1);
    ZorStopMIDI();

    // One that cannot be opened is given up for the one in use. While the box tells of it the
    // dialog goes on without a recogniser, and the host may take the row away.
    for (const bool closes : {false, true}) {
        Mic([&](DialogUser& user) {
            machine::FailCall(machine::Call::CreateCaptureBuffer, 1, DSERR_ALLOCATED);
            machine::FailCall(machine::Call::waveInOpen, 1, MMSYSERR_ALLOCATED);
            machine::WhileBoxIsUp([&](const machine::Box&) {
                user.Wait(100);
                if (closes) PRecClose();
            });
            user.Select(DeviceList, "Headset");
            machine::WhileBoxIsUp(nullptr);
            machine::ClearFaults();
            EXPECT_EQ(machine::TakeBoxes().size(), 1u);
            EXPECT_EQ(user.Text(DeviceList), closes ? "" : "Line");
            user.Wait(100);
            EXPECT_EQ(machine::StatsOf(line).Capturing, closes ? 0 : 1);
        });
    }
    // And one that has gone for the default, so that there is something to choose from.
    machine::Unplug(line);
    Mic([&](DialogUser& user) {
        EXPECT_EQ(user.Selection(DeviceList), 0);
        user.Wait(100);
        EXPECT_EQ(machine::StatsOf(headset).Capturing, 1);
        user.Select(DeviceList, "Headset");
    });
}

TEST_P(TonequillTest, ButtonsForOthers) {
    AddMicrophone("Headset");
    HWND handle = nullptr;
    Mic([&](DialogUser& user) {
        handle = user.Handle();
        user.Click(InputVolume);
        user.Click(OutputVolume);
        user.Click(tonequill::Help);
        EXPECT_FALSE(user.Ended());
    });
    EXPECT_EQ(TakeVolumePrograms(), (std::vector{true, false}));
    EXPECT_EQ(HostHeard, (std::vector<Heard>{{1024, 0, reinterpret_cast<std::intptr_t>(handle)}}));
}

TEST_P(TonequillTest, ADialogThatCannotBeMadeSaysSo) {
    AddMicrophone("Headset");
    ASSERT_EQ(MIDISysInit(0), -1);
    Up = true;
    ScriptDialogs([](DialogUser&) { FAIL() << "was shown"; });
    machine::FailCall(machine::Call::DialogBoxParamA, 1, -1);
    ZorConfigMIDIDriver(Parent, 1);
    const std::vector<machine::Box> boxes = machine::TakeBoxes();
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_EQ(boxes[0].Owner, Parent);
    EXPECT_EQ(boxes[0].Text, "Could not create dialog box.");
    EXPECT_EQ(boxes[0].Caption, "PRecDevConfig");
    EXPECT_EQ(boxes[0].Flags, 48u);
    EXPECT_EQ(machine::OpenWaveIns(), 0);
}

} // namespace
