// Journeys through the MIDI Setup dialog, with a script for the user.
#include "desk.h"

#include <map>

using namespace midisetup;

namespace {

constexpr char Default[] = "Default MIDI Output Device";

// Opens in the large layout, which is where most controls can be reached, and leaves it small.
class MidiSetupTest : public Desk {
protected:
    void InLarge(DialogScript user) {
        Show(0, [&](DialogUser& at) {
            at.Click(Advanced);
            user(at);
            if (!at.Ended()) at.Click(Advanced);
        });
        // A user who closed the dialog left the layout large.
        Show(0, [&](DialogUser& at) {
            if (at.Shown(ResetOutputs)) at.Click(Advanced);
        });
        ScriptDialogs(nullptr);
    }
};

TEST_F(MidiSetupTest, TheListsHoldEachDeviceOnceWithItsNumber) {
    Inputs({"Zeta", "alpha", "Piano 2", "Piano", "Piano", "Pia"});
    Outputs({"Zeta", "Echo", "Echo"});
    InLarge([](DialogUser& user) {
        const std::vector<std::string> inputs{"(none)", "alpha",   "Pia", "Piano",
                                              "Piano",  "Piano 2", "Zeta"};
        const std::vector<std::string> outputs{"(none)", Default, "Echo", "Echo", "Zeta"};
        std::vector<std::intptr_t> inNumbers, outNumbers;
        for (int row = 0; row < PortRows; ++row) {
            EXPECT_EQ(user.Items(InList(row)), inputs);
            EXPECT_EQ(user.Items(OutList(row)), outputs);
        }
        for (std::size_t i = 0; i < 7; ++i)
            inNumbers.push_back(static_cast<std::int16_t>(user.ItemData(InList(3), i)));
        for (std::size_t i = 0; i < 5; ++i)
            outNumbers.push_back(static_cast<std::int16_t>(user.ItemData(OutList(3), i)));
        EXPECT_EQ(inNumbers, (std::vector<std::intptr_t>{NoDevice, 1, 5, 3, 4, 2, 0}));
        EXPECT_EQ(outNumbers, (std::vector<std::intptr_t>{NoDevice, -1, 1, 2, 0}));

        // Two devices of one name are two devices.
        user.Select(InList(0), 3);
        user.Select(InList(1), 4);
        user.Click(IDOK);
        EXPECT_TRUE(user.Ended());
    });
    EXPECT_TRUE(machine::TakeBoxes().empty());
    EXPECT_EQ(Key("InName1"), "Piano");
    EXPECT_EQ(Key("InName2"), "Piano");
}

TEST_F(MidiSetupTest, OkWritesAllKeysInOrder) {
    Inputs({"Keys", "Pads"});
    machine::AddMidiOutput("Synth", 4);
    machine::AddMidiOutput("Box", 8);
    InLarge([](DialogUser& user) {
        EXPECT_EQ(user.Text(InList(0)), "Keys");
        EXPECT_EQ(user.Text(OutList(0)), Default);
        EXPECT_TRUE(user.Checked(SyncChoice));
        user.Select(InList(1), "Pads");
        user.Type(InBase + 1, "33");
        user.Select(OutList(2), "Synth");
        user.Click(SyncChoice + 4);
        user.Click(ResetOutputs);
        user.Click(IDOK);
    });
    std::string wanted = "[MMEDRVR]\n";
    const char* inNames[] = {"Keys", "Pads"};
    const std::map<int, std::string> outNames{{0, Default}, {2, "Synth"}};
    const int bases[] = {1, 17, 33, 49, 1, 1, 1, 1};
    for (int row = 0; row < PortRows; ++row) {
        const std::string n = std::to_string(row + 1);
        wanted += "InName" + n + "=" + (row < 2 ? inNames[row] : "(none)") + "\n";
        wanted += "InBase" + n + "=" + std::to_string(row == 1 ? 33 : bases[row]) + "\n";
    }
    for (int row = 0; row < PortRows; ++row) {
        const std::string n = std::to_string(row + 1);
        wanted +=
            "OutName" + n + "=" + (outNames.contains(row) ? outNames.at(row) : "(none)") + "\n";
        wanted += "OutBase" + n + "=" + std::to_string(bases[row]) + "\n";
        wanted += "OutMatch" + n + "=1\n";
    }
    wanted += "MidiOutReset=1\nSyncMaster=4\n";
    EXPECT_EQ(ReadIni(), wanted);
    EXPECT_EQ(OutPorts[2].Support, 4u);
    EXPECT_EQ(SyncMaster, 4); // a row without a device may hold the choice
}

// What the tables hold at OK, before the next opening reads the file again.
TEST_F(MidiSetupTest, OkLeavesTablesAndFileInStep) {
    Inputs({"Keys"});
    machine::AddMidiOutput("Synth", 4);
    WriteIni("[MMEDRVR]\nInName1=Keys\nOutName1=Synth\nOutMatch1=0\nOutName2=(none)\n"
             "OutMatch2=0\nSyncMaster=7\n");
    Show(0, [](DialogUser& user) {
        user.Select(InList(0), "(none)");
        user.Click(IDOK);
    });
    EXPECT_EQ(InPorts[0].DeviceID, NoDevice);
    EXPECT_STREQ(InPorts[0].Name, "(none)");
    EXPECT_EQ(OutPorts[0].DeviceID, 0);
    EXPECT_EQ(OutPorts[0].Support, 4u);
    EXPECT_EQ(SyncMaster, 7);
    EXPECT_EQ(Key("OutMatch1"), "0"); // kept: the dialog has no control for it
    EXPECT_EQ(Key("OutMatch2"), "1"); // a cleared row begins anew
    EXPECT_EQ(OutPorts[1].OutMatch, 1);
    EXPECT_EQ(Key("InName1"), "(none)");
}

TEST_F(MidiSetupTest, BaseChannelsAreLimitedWithoutAWord) {
    const std::pair<const char*, const char*> typed[] = {
        {"0", "1"},   {"-5", "1"}, {"abc", "1"},         {"", "1"},    {"1", "1"}, {"64", "64"},
        {"65", "64"}, {"7x", "7"}, {"99999999999", "1"}, {" 12", "12"}};
    for (const auto& [text, stored] : typed) {
        InLarge([text = text](DialogUser& user) {
            user.Type(InBase + 2, text);
            user.Type(OutBase + 5, text);
            EXPECT_EQ(user.Text(InBase + 2), text);
            user.Click(IDOK);
            EXPECT_TRUE(user.Ended());
        });
        EXPECT_EQ(Key("InBase3"), stored) << text;
        EXPECT_EQ(Key("OutBase6"), stored) << text;
    }
    EXPECT_TRUE(machine::TakeBoxes().empty());
}

TEST_F(MidiSetupTest, ADeviceStandsOnOneRowOfASideOnly) {
    struct Case {
        const char* Name;
        std::map<int, const char*> Chosen; // by list
        const char* LastWritten;           // null: accepted
        const char* NotWritten;
    };
    const Case cases[] = {
        {"input row 2 as row 0", {{10, "Keys"}, {12, "Keys"}}, "InBase2", "InName3"},
        {"input row 7 as row 6", {{16, "Pads"}, {17, "Pads"}}, "InBase7", "InName8"},
        {"default device twice", {{50, Default}, {52, Default}}, "OutMatch2", "OutName3"},
        {"output row 1 as row 0", {{50, "Synth"}, {51, "Synth"}}, "OutMatch1", "OutName2"},
        {"same on both sides", {{10, "Both"}, {50, "Both"}}, nullptr, nullptr},
        {"no device on many rows", {{10, "(none)"}, {50, "(none)"}}, nullptr, nullptr},
    };
    Inputs({"Keys", "Pads", "Both"});
    Outputs({"Synth", "Both"});
    for (const Case& test : cases) {
        SCOPED_TRACE(test.Name);
        std::filesystem::remove(IniFile());
        HWND handle = nullptr;
        InLarge([&](DialogUser& user) {
            handle = user.Handle();
            user.Click(ResetOutputs);
            for (const auto& [list, entry] : test.Chosen) EXPECT_TRUE(user.Select(list, entry));
            user.Click(IDOK);
            EXPECT_EQ(user.Ended(), !test.LastWritten);
            for (const auto& [list, entry] : test.Chosen) EXPECT_EQ(user.Text(list), entry);
        });
        const std::vector<machine::Box> boxes = machine::TakeBoxes();
        ASSERT_EQ(boxes.size(), test.LastWritten ? 1u : 0u);
        if (!test.LastWritten) continue;
        EXPECT_EQ(boxes[0].Owner, handle);
        EXPECT_EQ(boxes[0].Text, "Can't open a device more than once!");
        EXPECT_EQ(boxes[0].Caption, Default);
        EXPECT_EQ(boxes[0].Flags, 0x2030u);
        EXPECT_NE(Key(test.LastWritten), "-");
        EXPECT_EQ(Key(test.NotWritten), "-");
        EXPECT_EQ(Key("MidiOutReset"), "-");
        EXPECT_EQ(Key("SyncMaster"), "-");
    }
}

TEST_F(MidiSetupTest, ARefusedChoiceCanBeCorrected) {
    Inputs({"Keys", "Pads"});
    InLarge([](DialogUser& user) {
        user.Select(InList(0), "Keys");
        user.Select(InList(3), "Keys");
        user.Click(IDOK);
        user.Select(InList(3), "Pads");
        user.Click(IDOK);
        EXPECT_TRUE(user.Ended());
    });
    EXPECT_EQ(machine::TakeBoxes().size(), 1u);
    EXPECT_EQ(Key("InName4"), "Pads");
    EXPECT_EQ(Key("SyncMaster"), "0");
}

TEST_F(MidiSetupTest, StoredNamesFindTheirEntry) {
    Inputs({"Grand Piano", "Keys"});
    Outputs({"Synth"});
    WriteIni("[MMEDRVR]\nInName1=gone\nInName2=grand\nInName3=Keys\nOutName1=gone\n"
             "OutName2=Default MIDI Output Device\n");
    InLarge([](DialogUser& user) {
        EXPECT_EQ(user.Text(InList(0)), "(none)"); // not there today
        EXPECT_EQ(user.Text(InList(1)), "Grand Piano");
        EXPECT_EQ(user.Text(InList(2)), "Keys");
        EXPECT_EQ(user.Text(InList(3)), "(none)");
        EXPECT_EQ(user.Text(OutList(0)), "(none)");
        EXPECT_EQ(user.Text(OutList(1)), Default);
        user.Click(IDCANCEL);
    });
    EXPECT_EQ(Key("InName1"), "gone"); // it may come back
    InLarge([](DialogUser& user) { user.Click(IDOK); });
    EXPECT_EQ(Key("InName1"), "(none)");
    EXPECT_EQ(Key("InName2"), "Grand Piano");
    EXPECT_EQ(Key("OutName1"), "(none)");
}

// It may have been changed by hand, or be another one by now; also while the library is down.
TEST_F(MidiSetupTest, TheFileIsReadAtEachOpening) {
    InLarge([](DialogUser&) {});
    WriteIni("[MMEDRVR]\nInName1=Keys\nInBase1=9\n");
    InLarge([](DialogUser& user) { EXPECT_EQ(user.Text(InBase), "9"); });
    MIDISysTerm();
    Up = false;
    const std::filesystem::path other = std::filesystem::current_path() / "other";
    std::filesystem::remove_all(other);
    std::filesystem::create_directories(other);
    machine::SetModulePath((other / "libzormidi.so").string());
    ScriptDialogs([](DialogUser& user) { user.Enter(); });
    ZorConfigMIDIDriver(Parent, 0);
    EXPECT_TRUE(std::filesystem::exists(other / "ZORMIDI.INI"));
}

TEST_F(MidiSetupTest, CancelStoresNothing) {
    Inputs({"Keys", "Pads"});
    const std::string before = "[MMEDRVR]\nInName1=Keys\nInBase1=5\n";
    WriteIni(before);
    for (const bool button : {true, false})
        InLarge([button](DialogUser& user) {
            user.Select(InList(0), "Pads");
            user.Type(InBase, "9");
            user.Click(SyncChoice + 2);
            if (button) user.Click(IDCANCEL);
            user.Escape();
            EXPECT_TRUE(user.Ended());
        });
    EXPECT_EQ(ReadIni(), before);
    EXPECT_STREQ(InPorts[0].Name, "Keys");
    EXPECT_EQ(InPorts[0].BaseChannel, 4);
}

// In the small layout the rows that are out of sight are stored as they were shown.
TEST_F(MidiSetupTest, TheSmallLayoutStoresAllRows) {
    Inputs({"Keys", "Pads"});
    WriteIni("[MMEDRVR]\nInName6=Pads\nInBase6=40\n");
    Show(0, [](DialogUser& user) {
        EXPECT_FALSE(user.Select(InList(5), "(none)"));
        EXPECT_FALSE(user.Type(InBase, "3"));
        user.Enter();
        EXPECT_TRUE(user.Ended());
    });
    EXPECT_EQ(Key("InName6"), "Pads");
    EXPECT_EQ(Key("InBase6"), "40");
    EXPECT_EQ(Key("InName1"), "Keys");
    EXPECT_EQ(Key("OutMatch8"), "1");
}

TEST_F(MidiSetupTest, HelpAsksTheHost) {
    HWND handle = nullptr;
    InLarge([&](DialogUser& user) {
        handle = user.Handle();
        EXPECT_EQ(GetWindowLongPtrA(handle, DWLP_USER), 6000);
        user.Click(midisetup::Help);
        EXPECT_FALSE(user.Ended());
    });
    EXPECT_EQ(HostHeard, (std::vector<Heard>{{1024, 0, reinterpret_cast<std::intptr_t>(handle)}}));
}

TEST_F(MidiSetupTest, WhatWasSavedIsOpenedAfterwards) {
    Inputs({"Keys"});
    Outputs({"Synth", "Box"});
    const int patches = machine::AddMidiOutput("Patches", MIDICAPS_CACHE);
    ASSERT_EQ(MIDISysInit(0), -1);
    Up = true;
    ASSERT_TRUE(ZorStartMIDI(0));
    EXPECT_EQ(machine::OpenMidiOutputs(), 1);
    InLarge([](DialogUser& user) {
        EXPECT_EQ(machine::OpenMidiOutputs(), 0);
        user.Select(OutList(0), "Synth");
        user.Select(OutList(1), "Box");
        user.Click(IDOK);
    });
    EXPECT_EQ(machine::OpenMidiOutputs(), 2);
    Show(0, [](DialogUser& user) {
        user.Select(OutList(0), "Patches");
        user.Click(IDOK);
    });
    const MIDIEvent program = {0, 0, -1, 1, 0xC0, 5, 0};
    EXPECT_TRUE(ZorXmit(ZOR_IMMEDIATE, &program)); // what the device can do is known, too
    EXPECT_EQ(machine::CachedPatches(patches).at(5), 0xFFFF);
    ZorStopMIDI();
}

TEST_F(MidiSetupTest, WithoutAScreenNothingHappens) {
    ASSERT_EQ(MIDISysInit(0), -1);
    Up = true;
    ScriptDialogs([](DialogUser&) { FAIL() << "was shown"; });
    machine::FailCall(machine::Call::DialogBoxParamA, 1, -1);
    ZorConfigMIDIDriver(Parent, 0);
    EXPECT_FALSE(std::filesystem::exists(IniFile()));
}

TEST(VersionText, Reads) {
    const std::pair<std::uint32_t, const char*> cases[] = {
        {0x04030401, "40c.r1"},         {0x04000401, "40.r1"},   {0x03800000, "38.v0"},
        {0x037FFFFF, "3.7.15?255d"},    {0x05010203, "50a.b3"},  {0x06F08000, "60.v0d"},
        {0x07FF03FF, "70o.rc255"},      {0x08000105, "8.0.0a5"}, {0x00000000, "0.0.0v0"},
        {0xFFFFFFFF, "255.15.15?255d"},
    };
    for (const auto& [word, wanted] : cases) {
        char text[VersionTextSize];
        VersionText(word, text);
        EXPECT_STREQ(text, wanted) << std::hex << word;
    }
}

} // namespace
