// Devices that come, go and change their numbers.
#include "mme/setup_dialog.h"
#include "mme_test.h"
#include "tests/support/dialog_user.h"

namespace {

// The device that each of the first three rows has open, on both sides alike; "" for none.
Lines Opened() {
    Lines outputs(3), inputs(3);
    for (std::size_t row = 0; row < 3; ++row) {
        machine::TakeSentMidi();
        Send(static_cast<int>(16 * row), 0xE0, 0, 64);
        MIDIOUTCAPSA caps = {};
        for (const machine::SentMidi& sent : machine::TakeSentMidi())
            midiOutGetDevCapsA(static_cast<UINT_PTR>(sent.Device), &caps, sizeof caps);
        outputs[row] = caps.szPname;
    }
    for (UINT device = 0; device < midiInGetNumDevs(); ++device) {
        MIDIINCAPSA caps = {};
        midiInGetDevCapsA(device, &caps, sizeof caps);
        machine::CallBackMidi(static_cast<int>(device), MIM_DATA, 0x4000E0, 0);
        for (MIDIEvent event; ZorRcv(&event, 0);)
            inputs[static_cast<std::size_t>(event.Channel / 16)] = caps.szPname;
    }
    EXPECT_EQ(inputs, outputs);
    return outputs;
}

void Unplug(const Lines& names) {
    for (const std::string& name : names) {
        machine::UnplugMidiInput(name);
        machine::UnplugMidiOutput(name);
    }
}

// The system cuts it behind a blank, which the ini file then drops.
const char CutAtBlank[] = "A name of more than thirty-one characters";
const char AsCut[] = "A name of more than thirty-one ";
const char AsStored[] = "A name of more than thirty-one";

TEST_F(MmeTest, ARowOpensItsOwnDeviceOrNone) {
    const struct {
        Lines Rows, Unplugged, Plugged; // the devices A, B, C and D are there at first
        Lines Now, WhenBack;
    } cases[] = {
        {{"B", "C", "D"}, {"A"}, {}, {"B", "C", "D"}, {"B", "C", "D"}}, // each one number lower
        {{"A", "B", "C"}, {"B"}, {}, {"A", "", "C"}, {"A", "B", "C"}},  // C has B's number
        {{"A", "B", "D"}, {"D", "B"}, {"E", "F"}, {"A", "", ""}, {"A", "B", "D"}},
        {{"A", "C", "D"}, {"A"}, {}, {"B", "C", "D"}, {"A", "C", "D"}}, // row 0 is never without
        {{"A", "B", AsStored}, {"C"}, {}, {"A", "B", AsCut}, {"A", "B", AsCut}},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(IniFor(test.Rows));
        Restart();
        Plug({"A", "B", "C", "D", CutAtBlank});
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
        EXPECT_TRUE(machine::TakeBoxes().empty());
    }
}

TEST_F(MmeTest, ACutNameIsKnownAgainAfterTheDialogHasStoredIt) {
    Plug({"A", CutAtBlank, "A name of more than thirty-one, or so"});
    Load();
    for (const bool choose : {true, false}) {
        ScriptDialogs([&](DialogUser& user) {
            for (const int list : {midisetup::InDevice, midisetup::OutDevice}) {
                if (choose) user.Select(list, AsCut);
                EXPECT_EQ(user.Text(list), AsCut);
            }
            user.Click(IDOK);
        });
        ZorConfigMIDIDriver(nullptr, MMERow);
        ScriptDialogs(nullptr);
        ASSERT_EQ(MIDISysInit(1), -1);
        EXPECT_EQ(InPorts[0].DeviceID, 1);
        EXPECT_EQ(OutPorts[0].DeviceID, 1);
    }
}

// It is neither chosen nor found by its name, and nobody is told.
TEST_F(MmeTest, ADeviceThatCannotTellItsNameIsPassedOver) {
    Plug({"MIDI", "B"});
    for (const std::string& ini : {std::string(), IniFor({"MIDI"})}) {
        machine::FailCall(machine::Call::midiInGetDevCapsA, 1, MMSYSERR_NODRIVER,
                          ini.empty() ? 1 : 3);
        machine::FailCall(machine::Call::midiOutGetDevCapsA, 1, MMSYSERR_NODRIVER);
        Load(ini);
        EXPECT_EQ(InPorts[0].DeviceID, 1);
        EXPECT_EQ(OutPorts[0].DeviceID, MapperDevice);
        machine::ClearFaults();
    }
}

} // namespace
