// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Devices that come, go and change their numbers.
#include "mme/settings.h"
#include "mme/setup_dialog.h"
#include "mme_test.h"
#include "tests/support/dialog_user.h"

namespace {

using Numbers = std::vector<int>;

// The numbers of the devices that the first three rows have open, equal for both sides; -1 for
// none.
Numbers OpenedNumbers() {
    Numbers outputs(3, -1), inputs(3, -1);
    for (std::size_t row = 0; row < 3; ++row) {
        machine::DrainSentMidi();
        Send(static_cast<int>(16 * row), 0xE0, 0, 64);
        for (const machine::SentMidi& sent : machine::DrainSentMidi()) outputs[row] = sent.Device;
    }
    for (int device = 0; device < static_cast<int>(midiInGetNumDevs()); ++device) {
        machine::CallBackMidi(device, MIM_DATA, 0x4000E0, 0);
        for (MIDIEvent event; ZorRcv(&event, 0);)
            inputs[static_cast<std::size_t>(event.Channel / 16)] = device;
    }
    EXPECT_EQ(inputs, outputs);
    return outputs;
}

// Their names; "" for none.
Lines Opened() {
    Lines names;
    for (const int device : OpenedNumbers()) {
        MIDIOUTCAPSA caps = {};
        if (device >= 0) midiOutGetDevCapsA(static_cast<UINT_PTR>(device), &caps, sizeof caps);
        names.emplace_back(caps.szPname);
    }
    return names;
}

void Unplug(const Lines& names) {
    for (const std::string& name : names) {
        machine::UnplugMidiInput(name);
        machine::UnplugMidiOutput(name);
    }
}

// The system truncates this name after a blank, which the ini file then drops.
const char LongName[] = "A name of more than thirty-one characters";
const char Truncated[] = "A name of more than thirty-one ";
const char AsStored[] = "A name of more than thirty-one";

TEST_F(MmeTest, ARowOpensItsOwnDeviceOrNone) {
    const struct {
        Lines Rows, Unplugged, Plugged; // at first A, B, C and D are plugged in
        Lines Now, WhenBack;
    } cases[] = {
        {{"B", "C", "D"}, {"A"}, {}, {"B", "C", "D"}, {"B", "C", "D"}}, // each one number lower
        {{"A", "B", "C"}, {"B"}, {}, {"A", "", "C"}, {"A", "B", "C"}},  // C gets B's number
        {{"A", "B", "D"}, {"D", "B"}, {"E", "F"}, {"A", "", ""}, {"A", "B", "D"}},
        {{"A", "C", "D"}, {"A"}, {}, {"B", "C", "D"}, {"A", "C", "D"}}, // row 0 falls back on B
        {{"A", "B", AsStored}, {"C"}, {}, {"A", "B", Truncated}, {"A", "B", Truncated}},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(IniFor(test.Rows));
        Restart();
        Plug({"A", "B", "C", "D", LongName});
        Load(IniFor(test.Rows));
        Unplug(test.Unplugged);
        Plug(test.Plugged);
        ASSERT_TRUE(ZorStartMIDI(0));
        EXPECT_EQ(Opened(), test.Now);
        EXPECT_EQ(OutPorts[1].Name, test.Rows[1]);
        ZorStopMIDI();
        Plug(test.Unplugged);
        ASSERT_TRUE(ZorStartMIDI(0));
        EXPECT_EQ(Opened(), test.WhenBack);
        ZorStopMIDI();
        EXPECT_TRUE(machine::DrainBoxes().empty());
    }
}

// Row 0 falls back on another device unless another row names that.
TEST_F(MmeTest, TheFallbackOfRow0ComesLast) {
    const struct {
        Lines Rows, Now; // B, C and D are plugged in
    } cases[] = {
        {{"A", "B", "C"}, {"", "B", "C"}},
        {{"A", "C", "D"}, {"B", "C", "D"}},
        {{"(none)", "B", "E"}, {"", "B", ""}},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(IniFor(test.Rows));
        Restart();
        Plug({"B", "C", "D"});
        Load(IniFor(test.Rows));
        EXPECT_TRUE(ZorStartMIDI(0));
        EXPECT_EQ(Opened(), test.Now);
        ZorStopMIDI();
        EXPECT_TRUE(machine::DrainBoxes().empty());
    }
    Load(IniFor({"A", "Default MIDI Output Device"}));
    EXPECT_TRUE(ZorStartMIDI(0));
    EXPECT_EQ(machine::OpenMidiOutputs(), 1);
    ZorStopMIDI();
    // A device that another program uses gives an error.
    machine::FailCall(machine::Call::midiOutOpen, 1, MMSYSERR_ALLOCATED);
    Load(IniFor({"A"}));
    EXPECT_FALSE(ZorStartMIDI(0));
    EXPECT_EQ(machine::DrainBoxes().size(), 1u);
}

// Devices of equal names are matched by their neighbours, and never confused or opened twice.
TEST_F(MmeTest, DevicesOfOneNameStayOnTheirRows) {
    const auto begin = [this](const Lines& devices) {
        Restart();
        Plug({"N"}); // unplugged now; comes before the others when plugged in again
        Unplug({"N"});
        Plug(devices);
    };
    const struct {
        Lines Devices;
        Numbers Rows; // the numbers of the devices that the user chose
        Lines Unplugged, Plugged;
        Numbers Now;
    } cases[] = {
        {{"P", "P", "A"}, {2, 0, 1}, {}, {"N"}, {3, 1, 2}},
        {{"P", "P", "A"}, {2, 1, 0}, {}, {"N"}, {3, 2, 1}},
        {{"P", "P", "P"}, {2, 1, -1}, {}, {"N"}, {3, 2, -1}},
        {{"P", "A", "P"}, {1, 0, 2}, {"P"}, {}, {0, -1, 1}},
        {{"P", "A", "P"}, {0, 2, -1}, {"P"}, {}, {0, 1, -1}}, // row 0 falls back on A
        {{"P", "P", "A"}, {2, 0, 1}, {"P"}, {}, {1, 0, -1}},  // which of the two P is unknown
        {{"P", "P", "A"}, {1, 0, 2}, {"P"}, {}, {-1, 0, 1}},
        {{"P", "P", "A"}, {2, 0, 1}, {"P", "P"}, {}, {0, -1, -1}},
        {{"A", "P", "B", "P"}, {3, 1, -1}, {"A", "P"}, {}, {1, -1, -1}},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(&test - cases);
        begin(test.Devices);
        Load();
        MMESettings settings = CurrentSettings();
        for (std::size_t row = 0; row < test.Rows.size(); ++row) {
            const int number = test.Rows[row];
            PortSetting port = {number < 0 ? NoDevice : number, "", static_cast<int>(16 * row + 1)};
            if (number >= 0) test.Devices[static_cast<std::size_t>(number)].copy(port.Name, 1);
            settings.Inputs[row] = settings.Outputs[row] = port;
        }
        ASSERT_EQ(StoreMMESettings(settings), Stored::All);
        Unplug(test.Unplugged);
        Plug(test.Plugged);
        EXPECT_TRUE(ZorStartMIDI(0));
        EXPECT_EQ(OpenedNumbers(), test.Now);
        ZorStopMIDI();
        EXPECT_TRUE(machine::DrainBoxes().empty());
    }
    // Two rows with the same stored name are on the same device, whatever its number.
    for (const std::string side : {"In", "Out"}) {
        begin({"P", "P"});
        Load("[MMEDRVR]\n" + side + "Name2=P\n" + side + "Name3=P\n");
        for (const bool moved : {false, true}) {
            if (moved) Plug({"N"});
            EXPECT_FALSE(ZorStartMIDI(0));
            EXPECT_EQ(machine::DrainBoxes().size(), 1u);
        }
    }
}

// The ini file loses blanks at both ends.
TEST_F(MmeTest, ANameWithBlanksIsFoundAgainAfterTheDialogHasStoredIt) {
    Plug({"A", LongName, "A name of more than thirty-one, or so", " Keys"});
    Load();
    for (const auto& [name, number] : {std::pair{Truncated, 1}, {" Keys", 3}})
        for (const bool choose : {true, false}) {
            ScriptDialogs([&, name = name](DialogUser& user) {
                for (const int list : {midisetup::InDevice, midisetup::OutDevice}) {
                    if (choose) user.Select(list, name);
                    EXPECT_EQ(user.Text(list), name);
                }
                user.Click(IDOK);
            });
            ZorConfigMIDIDriver(nullptr, MMERow);
            ScriptDialogs(nullptr);
            ASSERT_EQ(MIDISysInit(1), -1);
            EXPECT_EQ(InPorts[0].DeviceID, number);
            EXPECT_EQ(OutPorts[0].DeviceID, number);
        }
}

// Neither the automatic choice nor the search by name uses it, and no message is shown.
TEST_F(MmeTest, ADeviceWithoutAReadableNameIsSkipped) {
    Plug({"MIDI", "B"});
    for (const std::string& ini : {std::string(), IniFor({"MIDI"})}) {
        machine::FailCall(machine::Call::midiInGetDevCapsA, 1, MMSYSERR_NODRIVER);
        machine::FailCall(machine::Call::midiOutGetDevCapsA, 1, MMSYSERR_NODRIVER);
        Load(ini);
        EXPECT_EQ(InPorts[0].DeviceID, 1);
        EXPECT_EQ(OutPorts[0].DeviceID, MapperDevice);
        machine::ClearFaults();
    }
}

} // namespace
