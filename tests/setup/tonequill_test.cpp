// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The Tonequill dialog, on a running recogniser with either capture class, with a script as user.
#include "dialog_fixture.h"

#include "engine/driver_table.h"
#include "pitchrec/driver/prec_driver.h"
#include "setup/tonequill.h"
#include "tests/support/direct_sound.h"

#include <algorithm>
#include <array>

using namespace tonequill;
using machine::AddMicrophone;
using machine::MicrophoneMute;
using machine::MicrophoneVolume;

namespace {

// The mixer's range; half of it is level 128 of the recogniser and 50 percent of the slider.
constexpr std::uint32_t FullVolume = 65535, HalfVolume = 32767;

class TonequillTest : public DialogTest, public testing::WithParamInterface<DirectSound> {
protected:
    void SetUp() override {
        DialogTest::SetUp();
        SetDirectSound(GetParam());
        Outputs({"Synth"});
    }

    // A steady tone with this peak, in 8-bit sample units.
    static void Sing(machine::Microphone microphone, float peak) {
        machine::FeedGenerator(microphone, [peak](const machine::FeedRequest& request) {
            for (std::size_t i = 0; i < request.Samples.size(); ++i)
                request.Samples[i] =
                    peak / ((request.First + i / request.Channels) / 50 % 2 ? 128 : -128);
        });
    }
    static std::uint32_t Value(machine::Microphone of, const machine::ControlPlace& place) {
        return machine::ControlValues(of, place).at(0);
    }
    void Mic(DialogScript user) { Show(1, std::move(user)); }
    static int Percent(const DialogUser& user) { return 100 - user.Position(LevelSlider); }
};
INSTANTIATE_TEST_SUITE_P(Both, TonequillTest,
                         testing::Values(DirectSound::Present, DirectSound::Absent));

TEST_P(TonequillTest, FirstOpeningAndOk) {
    AddMicrophone({"Headset"});
    AddMicrophone({"Line"});
    std::vector<std::string> devices{"Headset", "Line"};
    if (GetParam() == DirectSound::Present)
        devices.insert(devices.begin(), "Primary Sound Capture Driver");
    HWND handle = nullptr;
    Mic([&](DialogUser& user) {
        EXPECT_EQ(user.Title(), "Tonequill");
        EXPECT_EQ(GetWindowLongPtrA(user.Handle(), DWLP_USER), 6001);
        EXPECT_EQ(user.Focus(), IDOK);
        EXPECT_EQ(user.Items(DeviceList), devices);
        EXPECT_EQ(user.Text(ChannelField), "1");
        EXPECT_FALSE(user.Shown(RangeMinField) || user.Shown(RangeMaxField));
        EXPECT_FALSE(user.Checked(EnableBox));
        EXPECT_FALSE(user.Checked(MicThru));
        EXPECT_EQ(Percent(user), 50);
        handle = user.Handle();
        for (const auto button : {InputVolume, OutputVolume, tonequill::Help, EnableBox})
            user.Click(button);
        user.Type(ChannelField, "4");
        EXPECT_FALSE(user.Ended());
        user.Enter(); // in the field: presses the default button, which stores the shown value
        EXPECT_TRUE(user.Ended());
    });
    EXPECT_EQ(DrainVolumePrograms(), (std::vector{true, false}));
    EXPECT_EQ(HostMessages,
              (std::vector<HostMessage>{{1024, 0, reinterpret_cast<std::intptr_t>(handle)}}));
    EXPECT_EQ(ReadIni(),
              "[PRECDRVR]\nEnablePitchRec=1\nChannel=3\nNoteRangeMin=0\nNoteRangeMax=127\n");
    EXPECT_EQ(Recogniser, nullptr);
}

TEST_P(TonequillTest, ReadsTheFileAtEachOpening) {
    AddMicrophone({"Headset"});
    WriteIni("[PRECDRVR]\nEnablePitchRec=7\nChannel=15\nNoteRangeMin=300\nNoteRangeMax=-1\n");
    Mic([](DialogUser& user) {
        EXPECT_TRUE(user.Checked(EnableBox));
        EXPECT_EQ(user.Text(ChannelField), "16");
        user.Click(IDOK);
    });
    // Values that cannot be edited are stored unchanged, as signed 16-bit numbers.
    EXPECT_EQ(ReadIni(),
              "[PRECDRVR]\nEnablePitchRec=1\nChannel=15\nNoteRangeMin=300\nNoteRangeMax=-1\n");
    WriteIni("[PRECDRVR]\nChannel=-1\n");
    Mic([](DialogUser& user) { EXPECT_EQ(user.Text(ChannelField), "0"); });
}

TEST_P(TonequillTest, ReadsTheChannelWhenTheFieldLosesFocus) {
    AddMicrophone({"Headset"});
    const std::pair<const char*, const char*> typed[] = {
        {"64", "63"}, {"", "-1"}, {"abc", "-1"}, {"12x", "11"}, {"70000", "4463"}};
    for (const auto& [text, stored] : typed) {
        Mic([text = text](DialogUser& user) {
            user.Type(ChannelField, text);
            user.Click(IDOK); // the click moves the focus
        });
        EXPECT_EQ(Key("Channel"), stored) << text;
    }
    // Cancel does not read the field, although the field loses the focus at the end of the dialog.
    Mic([](DialogUser& user) {
        user.Type(ChannelField, "3");
        user.Escape();
    });
    EXPECT_EQ(PRecChannel, 4463);
}

TEST_P(TonequillTest, CancelRestoresTheFileOnly) {
    const machine::Microphone headset = AddMicrophone({"Headset"});
    const std::string before = "[PRECDRVR]\nEnablePitchRec=1\nChannel=2\n";
    WriteIni(before);
    Mic([&](DialogUser& user) {
        user.Click(EnableBox);
        user.Type(ChannelField, "6");
        user.Click(MicThru);
        user.Slide(LevelSlider, 30);
        user.Escape();
        EXPECT_EQ(Value(headset, MicrophoneVolume), 45566u); // 178 / 128 of half the range
    });
    EXPECT_EQ(ReadIni(), before);
    EXPECT_TRUE(machine::DrainBoxes().empty());
    EXPECT_FALSE(EnablePitchRec);
    EXPECT_EQ(PRecChannel, 5);
    EXPECT_EQ(Value(headset, MicrophoneMute), 0u);
    EXPECT_TRUE(ZorStartMIDI(0));
    EXPECT_EQ(Recogniser, nullptr); // switched off in memory, so it is not opened
    ZorStopMIDI();
}

TEST_P(TonequillTest, SynchronisesSliderAndMixer) {
    const machine::Microphone headset = AddMicrophone({"Headset"});
    machine::MoveControl(headset, MicrophoneVolume, 5);
    Mic([&](DialogUser& user) {
        EXPECT_EQ(Value(headset, MicrophoneVolume), HalfVolume); // set when the capture opens
        const std::pair<int, std::uint32_t> steps[] = {
            {0, 65278}, {50, 32511}, {100, 0}, {1, 64510}, {99, 511}};
        for (const auto& [position, volume] : steps) {
            user.Slide(LevelSlider, position);
            EXPECT_EQ(Value(headset, MicrophoneVolume), volume) << position;
            user.Wait(50);
            EXPECT_NEAR(user.Position(LevelSlider), position, 1);
        }
        // Another program changes the mixer.
        machine::MoveControl(headset, MicrophoneVolume, FullVolume);
        user.Wait(49);
        EXPECT_LT(Percent(user), 10);
        user.Wait(1);
        EXPECT_EQ(Percent(user), 100);
        // The slider follows from 2 percent on; other controls that scroll have no effect.
        const std::pair<std::uint32_t, int> moves[] = {{63743, 98}, {63231, 98}, {32512, 50}};
        for (const auto& [volume, percent] : moves) {
            machine::MoveControl(headset, MicrophoneVolume, volume);
            user.Wait(50);
            EXPECT_EQ(Percent(user), percent) << volume;
        }
        machine::MoveControl(headset, MicrophoneVolume, FullVolume);
        user.Scroll(Meter);
        EXPECT_EQ(Value(headset, MicrophoneVolume), FullVolume);
        user.Click(MicThru);
        EXPECT_EQ(Value(headset, MicrophoneMute), 0u);
        user.Click(MicThru);
        EXPECT_EQ(Value(headset, MicrophoneMute), 1u);
        // If the mixer refuses, the slider returns.
        machine::FailCall(machine::Call::mixerSetControlDetails, 1, MMSYSERR_NOTSUPPORTED, 0);
        user.Slide(LevelSlider, 10);
        EXPECT_EQ(Percent(user), 90);
        user.Wait(50);
        EXPECT_EQ(Percent(user), 100);
    });
}

TEST_P(TonequillTest, WorksWithoutARecogniser) {
    Mic([](DialogUser& user) { // without a microphone
        EXPECT_TRUE(user.Items(DeviceList).empty());
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
    EXPECT_EQ(DrainBoxTexts().back(), "Error initializing Pitch Recognition");
}

TEST_P(TonequillTest, PaintsTheLevelInBars) {
    // In a frame of 17 by 145 pixels: a bar every four rows, each with one inner row of 15 pixels.
    const struct {
        int Level;
        std::array<double, 3> Bars; // blue, green, red
    } cases[] = {{30000, {10, 21, 5}}, {111, {10, 21, 1}}, {110, {10, 21, 0}}, {37, {10, 1, 0}},
                 {36, {10, 0, 0}},     {1, {1, 0, 0}},     {-5, {0, 0, 0}},    {127, {10, 21, 5}}};
    Mic([&](DialogUser& user) {
        EXPECT_TRUE(user.Pixels(Meter).empty()); // nothing before the first tick
        for (const auto& c : cases) {
            // Nothing is captured, so each tick paints the level of the last poll.
            PRecLevel = c.Level;
            user.Wait(50);
            const std::vector<std::uint32_t> pixels = user.Pixels(Meter);
            const auto bars = [&](std::uint32_t colour) {
                return static_cast<double>(std::ranges::count(pixels, colour)) / 15;
            };
            EXPECT_EQ((std::array{bars(0xFF0000), bars(0x008000), bars(0x0000FF)}), c.Bars)
                << c.Level;
            EXPECT_EQ(pixels[8], 0xFFFFFFFF) << c.Level; // the first row is never painted
        }
    });
}

TEST_P(TonequillTest, ShowsTheMicrophonesLevelAndDiscardsItsNotes) {
    const machine::Microphone headset = AddMicrophone({"Headset"});
    Sing(headset, 100);
    Initialise();
    ZorAllocMIDI(0, 100);
    ASSERT_TRUE(ZorStartTimer()); // the timer's polls read no notes
    Mic([](DialogUser& user) {
        EXPECT_EQ(EnablePitchRec, 0); // runs for the dialog even if switched off
        user.Wait(1000);
        EXPECT_NEAR(PRecLevel, 100, 3);
        std::int32_t time, status, data1, data2;
        EXPECT_FALSE(Recogniser->GetNote(&time, &status, &data1, &data2));
    });
    EXPECT_TRUE(DrainReceived().empty());
}

TEST_P(TonequillTest, SelectsADeviceAtOnce) {
    const machine::Microphone headset = AddMicrophone({"Headset"});
    const machine::Microphone line = AddMicrophone({"Line"});
    machine::MoveControl(line, MicrophoneMute, 0);
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

    // A device that cannot be opened: the one in use is opened again. During the message box there
    // is no recogniser, and the host may close the row.
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
            EXPECT_EQ(machine::DrainBoxes().size(), 1u);
            EXPECT_EQ(user.Text(DeviceList), closes ? "" : "Line");
            user.Wait(100);
            EXPECT_EQ(machine::StatsOf(line).Capturing, closes ? 0 : 1);
        });
    }
    machine::Unplug(line); // a missing device: the default is opened
    Mic([&](DialogUser& user) {
        user.Wait(100);
        EXPECT_EQ(machine::StatsOf(headset).Capturing, 1);
        user.Select(DeviceList, "Headset");
    });
}

// Device numbers change while the list still shows the old devices.
TEST_P(TonequillTest, OpensTheShownDevice) {
    const machine::Microphone headset = AddMicrophone({"Headset"}), desk = AddMicrophone({"Desk"}),
                              line = AddMicrophone({"Line"}), piano = AddMicrophone({"Piano"});
    const auto shown = [](DialogUser& user) {
        std::vector<std::string> names = user.Items(DeviceList);
        if (GetParam() == DirectSound::Present) names.erase(names.begin());
        return names;
    };
    using Names = std::vector<std::string>;
    Mic([&](DialogUser& user) {
        machine::MoveControl(piano, MicrophoneVolume, FullVolume);
        machine::Unplug(headset);
        user.Select(DeviceList, "Line");
        EXPECT_EQ(machine::StatsOf(line).Open, 1);
        EXPECT_EQ(Value(piano, MicrophoneVolume), FullVolume);
        user.Wait(50);
        EXPECT_EQ(shown(user), (Names{"Desk", "Line", "Piano"}));
        AddMicrophone({"Headset"});
        machine::Unplug(desk);
        user.Drop(DeviceList, true); // not refreshed while open
        user.Wait(50);
        EXPECT_EQ(shown(user), (Names{"Desk", "Line", "Piano"}));
        user.Drop(DeviceList, false);
        user.Wait(50);
        EXPECT_EQ(shown(user), (Names{"Line", "Piano", "Headset"}));
        EXPECT_EQ(user.Text(DeviceList), "Line");
        machine::Unplug(line);
        user.Wait(50);
        EXPECT_EQ(user.Text(DeviceList), ""); // still captured, but no longer listed
        machine::FailCall(machine::Call::CreateCaptureBuffer, 1, DSERR_ALLOCATED);
        user.Select(DeviceList, "Piano"); // by waveIn, which lists no entry for the default
        EXPECT_EQ(user.Items(DeviceList), (Names{"Piano", "Headset"}));
        user.Select(DeviceList, "Headset");
        EXPECT_EQ(user.Text(DeviceList), "Headset");
    });
}

// The selected microphone is missing: a message box appears while the row opens for the dialog. The
// recogniser is switched off, the timer runs, and the host starts from that box.
TEST_P(TonequillTest, DiscardsNotesBeforeTheDialogIsShown) {
    Sing(AddMicrophone({"Headset"}), 100);
    const machine::Microphone line = AddMicrophone({"Line"});
    Mic([](DialogUser& user) { user.Select(DeviceList, "Line"); });
    machine::Unplug(line);
    ZorAllocMIDI(0, 100);
    ASSERT_TRUE(ZorStartTimer());
    machine::WhileBoxIsUp([](const machine::Box&) {
        EXPECT_TRUE(ZorStartMIDI(0));
        machine::Advance(1000);
        EXPECT_NEAR(PRecLevel, 100, 3); // capturing already
    });
    Mic([](DialogUser& user) {
        user.Wait(1000);
        user.Select(DeviceList, "Headset");
    });
    EXPECT_EQ(DrainBoxTexts().size(), 1u);
    EXPECT_TRUE(DrainReceived().empty());
    EXPECT_EQ(Recogniser, nullptr); // the setting decides again
}

// A sounding note ends when the dialog opens and starts again after it. A note ended by a stop does
// not affect a later dialog.
TEST_P(TonequillTest, EndsTheSoundingNoteWhenItOpens) {
    const machine::Microphone headset = AddMicrophone({"Headset"});
    Sing(headset, 100);
    WriteIni("[PRECDRVR]\nEnablePitchRec=1\nChannel=3\n");
    Initialise();
    ZorAllocMIDI(0, 100);
    ASSERT_TRUE(ZorStartMIDI(1));
    machine::Advance(1000);
    Mic([](DialogUser& user) { user.Wait(1000); });
    machine::Advance(1000);
    using Notes = std::vector<std::array<int, 3>>;
    Notes notes;
    for (const MIDIEvent& note : DrainReceived())
        notes.push_back({note.Status, note.Channel, note.Data1});
    const int key = notes.at(0)[2];
    EXPECT_EQ(notes, (Notes{{0x90, 3, key}, {0x80, 3, key}, {0x90, 3, key}}));
    ZorStopMIDI();
    ASSERT_TRUE(ZorStartTimer());
    Mic([](DialogUser& user) { user.Wait(50); });
    EXPECT_TRUE(DrainReceived().empty());
}

TEST_P(TonequillTest, WritesAllKeysThatCanBeWritten) {
    machine::FailCall(machine::Call::WritePrivateProfileStringA, 1, 0);
    Mic([](DialogUser& user) {
        user.Type(ChannelField, "4");
        user.Click(IDOK);
    });
    EXPECT_EQ(ReadIni(), "[PRECDRVR]\nChannel=3\nNoteRangeMin=0\nNoteRangeMax=127\n");
    EXPECT_NE(DrainBoxTexts().back(), "Error initializing Pitch Recognition");
}

TEST_P(TonequillTest, ReportsADialogThatCannotBeCreated) {
    AddMicrophone({"Headset"});
    Initialise();
    ScriptDialogs([](DialogUser&) { FAIL() << "was shown"; });
    machine::FailCall(machine::Call::DialogBoxParamA, 1, -1);
    ZorConfigMIDIDriver(Parent, 1);
    EXPECT_EQ(DrainBoxTexts(), std::vector<std::string>{"Could not create dialog box."});
}

} // namespace
