// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The MIDI Setup dialog, with a script as user.
#include "dialog_fixture.h"

using namespace midisetup;

namespace {

constexpr char Default[] = "Default MIDI Output Device";

void ExpectLayout(const DialogUser& user, bool large) {
    // Up to the corner marker: 362 by 82 or 233 dialog units; 4 by 8 units are 6 by 13 pixels.
    EXPECT_EQ(user.Width(), 543);
    EXPECT_EQ(user.Height(), large ? 379 : 133);
    const auto usable = [&](int id) { return user.Shown(id) && user.Enabled(id); };
    for (const int id : {InBaseLabel, SyncLabel, OutBaseLabel, InBase, SyncChoice, OutBase})
        EXPECT_EQ(usable(id), large) << id;
    for (int row = 0; row < PortRows; ++row) {
        for (const int list : {InList(row), OutList(row)})
            EXPECT_EQ(usable(list), large || row == 0) << row;
        for (const int id : {InBase + row, SyncChoice + row, OutBase + row})
            EXPECT_TRUE(row == 0 || user.Enabled(id) == large) << row;
    }
    EXPECT_EQ(usable(MidiOutResetBox), large);
    EXPECT_FALSE(user.Shown(SmallCorner) || user.Shown(LargeCorner));
}

// Most controls are usable in the large layout only; each test starts and ends in the small one.
class MidiSetupTest : public DialogTest {
protected:
    void TearDown() override {
        Show(0, [](DialogUser& user) {
            if (user.Shown(MidiOutResetBox)) user.Click(Advanced);
        });
        DialogTest::TearDown();
    }
    void InLarge(DialogScript script) {
        Show(0, [&](DialogUser& user) {
            if (!user.Shown(MidiOutResetBox)) user.Click(Advanced);
            script(user);
        });
    }
};

TEST_F(MidiSetupTest, KeepsTheLayoutForTheNextDialog) {
    HWND handle = nullptr;
    Show(0, [&](DialogUser& user) {
        EXPECT_EQ(user.Title(), "MIDI Setup");
        EXPECT_EQ(user.Text(Advanced), "&Advanced  >>");
        ExpectLayout(user, false);
        for (const bool large : {true, false, true}) {
            EXPECT_TRUE(user.Click(Advanced));
            EXPECT_EQ(user.Text(Advanced), large ? "&Hide Advanced <<" : "&Advanced >>");
            ExpectLayout(user, large);
        }
        handle = user.Handle();
        EXPECT_EQ(GetWindowLongPtrA(handle, DWLP_USER), 6000);
        user.Click(midisetup::Help);
        EXPECT_FALSE(user.Ended());
    });
    EXPECT_EQ(HostMessages,
              (std::vector<HostMessage>{{1024, 0, reinterpret_cast<std::intptr_t>(handle)}}));
    for (const bool large : {true, false})
        Show(0, [&](DialogUser& user) {
            EXPECT_EQ(user.Text(Advanced), large ? "&Hide Advanced <<" : "&Advanced  >>");
            ExpectLayout(user, large);
            if (large) user.Click(Advanced);
        });
}

TEST_F(MidiSetupTest, ListsEachDeviceOnceWithItsNumber) {
    Inputs({"Zeta", "alpha", "Piano 2", "Piano", "Piano", "Pia"});
    Outputs({"Zeta", "Echo", "Echo"});
    InLarge([](DialogUser& user) {
        using Entries = std::vector<std::pair<std::string, int>>;
        const auto entries = [&](int list) {
            Entries found;
            for (const std::string& name : user.Items(list))
                found.emplace_back(name,
                                   static_cast<std::int16_t>(user.ItemData(list, found.size())));
            return found;
        };
        const Entries inputs{{"(none)", NoDevice}, {"alpha", 1},   {"Pia", 5}, {"Piano", 3},
                             {"Piano", 4},         {"Piano 2", 2}, {"Zeta", 0}};
        const Entries outputs{
            {"(none)", NoDevice}, {Default, -1}, {"Echo", 1}, {"Echo", 2}, {"Zeta", 0}};
        for (int row = 0; row < PortRows; ++row) {
            EXPECT_EQ(entries(InList(row)), inputs);
            EXPECT_EQ(entries(OutList(row)), outputs);
        }
        // Two devices with the same name are listed twice.
        user.Select(InList(0), 3);
        user.Select(InList(1), 4);
        user.Click(IDOK);
        EXPECT_TRUE(user.Ended());
    });
    EXPECT_EQ(Key("InName2"), "Piano");
}

TEST_F(MidiSetupTest, OkWritesAllKeysInOrder) {
    Inputs({"Keys", "Pads"});
    Outputs({"Synth", "Box"});
    InLarge([](DialogUser& user) {
        EXPECT_EQ(user.Text(InList(0)), "Keys");
        EXPECT_EQ(user.Text(OutList(0)), Default);
        EXPECT_TRUE(user.Checked(SyncChoice));
        user.Select(InList(1), "Pads");
        user.Type(InBase + 1, "33");
        user.Select(OutList(2), "Synth");
        user.Click(SyncChoice + 4);
        user.Click(MidiOutResetBox);
        user.Click(IDOK);
    });
    const std::string names[2][PortRows] = {{"Keys", "Pads"}, {Default, "", "Synth"}};
    const std::string bases[2][4] = {{"1", "33", "33", "49"}, {"1", "17", "33", "49"}};
    std::string expected = "[MMEDRVR]\n";
    for (const int out : {0, 1})
        for (int row = 0; row < PortRows; ++row) {
            const std::string side = out ? "Out" : "In", n = std::to_string(row + 1) + "=";
            const std::string& name = names[out][row];
            expected += side + "Name" + n + (name.empty() ? "(none)" : name) + "\n";
            expected += side + "Base" + n + (row < 4 ? bases[out][row] : "1") + "\n";
            if (out) expected += "OutMatch" + n + "1\n";
        }
    expected += "MidiOutReset=1\nSyncMaster=4\n";
    EXPECT_EQ(ReadIni(), expected);
    EXPECT_EQ(SyncMaster, 4); // allowed for a row without a device
}

// The port tables after OK, before the next opening reads the file. In the small layout hidden rows
// are stored too.
TEST_F(MidiSetupTest, OkKeepsTablesAndFileConsistent) {
    Inputs({"Keys", "Pads"});
    machine::AddMidiOutput("Synth", 4);
    WriteIni("[MMEDRVR]\nInName1=Keys\nInName6=Pads\nInBase6=40\nOutName1=Synth\nOutMatch1=0\n"
             "OutName2=(none)\nOutMatch2=0\nSyncMaster=7\n");
    Show(0, [](DialogUser& user) {
        user.Select(InList(0), "(none)");
        EXPECT_FALSE(user.Select(InList(5), "(none)"));
        EXPECT_FALSE(user.Type(InBase, "3"));
        user.Enter();
        EXPECT_TRUE(user.Ended());
    });
    EXPECT_EQ(InPorts[0].DeviceID, NoDevice);
    EXPECT_EQ(OutPorts[0].DeviceID, 0);
    EXPECT_EQ(OutPorts[0].Support, 4u);
    EXPECT_EQ(OutPorts[1].OutMatch, 1);
    EXPECT_EQ(SyncMaster, 7);
    EXPECT_EQ(Key("OutMatch1"), "0"); // unchanged: the dialog has no control for it
    EXPECT_EQ(Key("OutMatch2"), "1"); // default of a cleared row
    EXPECT_EQ(Key("InName6"), "Pads");
    EXPECT_EQ(Key("InBase6"), "40");
}

TEST_F(MidiSetupTest, LimitsBaseChannelsSilently) {
    const std::pair<const char*, const char*> typed[PortRows] = {
        {"-5", "1"},  {"abc", "1"}, {"0", "1"},           {"64", "64"},
        {"65", "64"}, {"7x", "7"},  {"99999999999", "1"}, {" 12", "12"}};
    InLarge([&](DialogUser& user) {
        for (int row = 0; row < PortRows; ++row) {
            user.Type(InBase + row, typed[row].first);
            user.Type(OutBase + row, typed[row].first);
            EXPECT_EQ(user.Text(InBase + row), typed[row].first);
        }
        user.Click(IDOK);
        EXPECT_TRUE(user.Ended());
    });
    for (int row = 0; row < PortRows; ++row)
        for (const char* key : {"InBase", "OutBase"})
            EXPECT_EQ(Key(key + std::to_string(row + 1)), typed[row].second) << typed[row].first;
    EXPECT_TRUE(machine::DrainBoxes().empty());
}

// A refused choice can be corrected; the rows before it are already stored.
TEST_F(MidiSetupTest, RefusesADeviceOnTwoRows) {
    const struct {
        int Lists[2];
        const char *Device, *LastWritten, *NotWritten;
    } cases[] = {{{InList(6), InList(7)}, "Pads", "InBase7", "InName8"},
                 {{OutList(0), OutList(2)}, Default, "OutMatch2", "OutName3"}};
    Inputs({"Keys", "Pads"});
    for (const auto& test : cases) {
        SCOPED_TRACE(test.Device);
        std::filesystem::remove(IniFile());
        InLarge([&](DialogUser& user) {
            user.Click(MidiOutResetBox);
            for (const int list : test.Lists) EXPECT_TRUE(user.Select(list, test.Device));
            user.Click(IDOK);
            EXPECT_FALSE(user.Ended());
            const std::vector<machine::Box> boxes = machine::DrainBoxes();
            ASSERT_EQ(boxes.size(), 1u);
            EXPECT_EQ(boxes[0].Owner, user.Handle());
            EXPECT_EQ(boxes[0].Text, "Can't open a device more than once!");
            EXPECT_NE(Key(test.LastWritten), "-");
            EXPECT_EQ(Key(test.NotWritten), "-");
            EXPECT_EQ(Key("SyncMaster"), "-");
            EXPECT_EQ(user.Text(test.Lists[1]), test.Device);
            user.Select(test.Lists[1], "(none)");
            user.Click(IDOK);
            EXPECT_TRUE(user.Ended());
        });
        EXPECT_EQ(Key("SyncMaster"), "0");
    }
}

TEST_F(MidiSetupTest, FindsStoredNamesAndStoresOnOkOnly) {
    Inputs({"Grand Piano", "KEYS", "Keys"}); // the list ignores case
    Outputs({"Synth"});
    const std::string before = "[MMEDRVR]\nInName1=gone\nInName2=grand\nInBase2=5\nInName3=Keys\n"
                               "OutName1=gone\nOutName2=Default MIDI Output Device\n";
    WriteIni(before);
    for (const bool button : {true, false})
        InLarge([button](DialogUser& user) {
            EXPECT_EQ(user.Text(InList(0)), "(none)"); // missing devices
            EXPECT_EQ(user.Text(InList(1)), "Grand Piano");
            EXPECT_EQ(user.Text(InList(2)), "Keys");
            EXPECT_EQ(user.Text(OutList(0)), "(none)");
            EXPECT_EQ(user.Text(OutList(1)), Default);
            user.Select(InList(1), "Keys");
            user.Type(InBase + 1, "9");
            user.Click(SyncChoice + 2);
            if (button) user.Click(IDCANCEL);
            user.Escape();
            EXPECT_TRUE(user.Ended());
        });
    EXPECT_EQ(ReadIni(), before);
    EXPECT_EQ(InPorts[1].BaseChannel, 4);
    InLarge([](DialogUser& user) { user.Click(IDOK); });
    EXPECT_EQ(Key("InName1"), "(none)");
    EXPECT_EQ(Key("InName2"), "Grand Piano");
    EXPECT_EQ(Key("OutName1"), "(none)");
}

// The file may be edited or replaced; also while the library is down.
TEST_F(MidiSetupTest, ReadsTheFileAtEachOpening) {
    Initialise();
    WriteIni("[MMEDRVR]\nInName1=Keys\nInBase1=9\n");
    Show(0, [](DialogUser& user) { EXPECT_EQ(user.Text(InBase), "9"); });
    MIDISysTerm();
    const std::filesystem::path other = std::filesystem::current_path() / "other";
    std::filesystem::remove_all(other);
    std::filesystem::create_directories(other);
    machine::SetModulePath((other / "libzormidi.so").string());
    ScriptDialogs([](DialogUser& user) { user.Enter(); });
    ZorConfigMIDIDriver(Parent, 0);
    EXPECT_TRUE(std::filesystem::exists(other / "ZORMIDI.INI"));
}

// Settings that cannot be stored last as long as the message box states.
TEST_F(MidiSetupTest, UnwrittenSettingsLastUntilTheDialogOpensAgain) {
    Inputs({"Keys", "Pads"});
    WriteIni("[MMEDRVR]\nInName1=Keys\n");
    machine::FailCall(machine::Call::WritePrivateProfileStringA, 1, 0, 0);
    Show(0, [](DialogUser& user) {
        user.Select(InList(0), "Pads");
        user.Click(IDOK);
        EXPECT_TRUE(user.Ended());
    });
    const std::vector<machine::Box> boxes = machine::DrainBoxes();
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_EQ(boxes[0].Caption, "MIDI Setup");
    EXPECT_NE(boxes[0].Text.find("only until this dialog opens again"), std::string::npos);
    EXPECT_EQ(InPorts[0].DeviceID, 1);
    Show(0, [](DialogUser& user) { EXPECT_EQ(user.Text(InList(0)), "Keys"); });
    EXPECT_EQ(InPorts[0].DeviceID, 0);
}

TEST_F(MidiSetupTest, OpensTheStoredDevices) {
    Inputs({"Keys"});
    machine::AddMidiOutput("Early");
    machine::UnplugMidiOutput("Early");
    Outputs({"Synth", "Box"});
    const int patches = machine::AddMidiOutput("Patches", MIDICAPS_CACHE);
    Initialise();
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
        machine::AddMidiOutput("Early"); // each number is then one higher
        user.Click(IDOK);
    });
    const MIDIEvent program = {0, 0, -1, 1, 0xC0, 5, 0};
    EXPECT_TRUE(ZorXmit(ZOR_IMMEDIATE, &program)); // the device's capabilities are known, too
    EXPECT_EQ(machine::CachedPatches(patches + 1).at(5), 0xFFFF);
    ZorStopMIDI();
}

TEST(VersionText, NamesReleases) {
    const std::pair<std::uint32_t, const char*> cases[] = {
        {0x04030401, "40c.r1"}, {0x037FFFFF, "3.7.15?255d"}, {0x08000105, "8.0.0a5"}};
    for (const auto& [word, wanted] : cases) {
        char text[VersionTextSize];
        VersionText(word, text);
        EXPECT_STREQ(text, wanted) << std::hex << word;
    }
}

} // namespace
