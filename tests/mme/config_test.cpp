// The ini file, the devices present, and the tables that they make.
#include "mme_test.h"

namespace {

const char Default[] = "Default MIDI Output Device";

struct Row {
    int Number; // from 0
    const char* Name;
    int DeviceID;
    int Base; // BaseChannel
};

struct LoadCase {
    const char* What;
    std::vector<const char*> Devices; // inputs and outputs alike
    const char* Ini;
    std::vector<Row> Inputs;
    std::vector<Row> Outputs;
};

const LoadCase LoadCases[] = {
    {"nothing there",
     {},
     "",
     {{0, "", NoDevice, 0}, {1, "", NoDevice, 16}, {7, "", NoDevice, 0}},
     {{0, Default, MapperDevice, 0}, {3, "", NoDevice, 48}, {4, "", NoDevice, 0}}},
    {"a name that says MIDI", {"Aa", "USB MIDI In", "MPU-401"}, "", {{0, "USB MIDI In", 1, 0}}, {}},
    {"in any case, as a word of its own", {"USBMIDI", "Usb Midi"}, "", {{0, "Usb Midi", 1, 0}}, {}},
    {"else the first that says 401", {"Aa", "B 401", "C 401"}, "", {{0, "B 401", 1, 0}}, {}},
    {"else the first", {"Aa", "Bb"}, "", {{0, "Aa", 0, 0}}, {}},
    {"a stored name wins over the choice",
     {"Aa", "B MIDI"},
     "InName1=Aa\nOutName1=Aa\n",
     {{0, "Aa", 0, 0}},
     {{0, "Aa", 0, 0}}},
    {"(none) on row 0 leaves the choice",
     {"Aa"},
     "InName1=(none)\nOutName1=(none)\n",
     {{0, "(none)", 0, 0}},
     {{0, "(none)", MapperDevice, 0}}},
    {"a stored device that is gone",
     {"Aa"},
     "InName3=Zz\nInBase3=5\nOutName3=Zz\nOutBase3=6\n",
     {{2, "Zz", NoDevice, 4}},
     {{2, "Zz", NoDevice, 5}}},
    {"case of a name counts, and its end",
     {"Aa"},
     "InName2=aa\nOutName2=A\n",
     {{1, "aa", NoDevice, 16}},
     {{1, "A", NoDevice, 16}}},
    {"the default device on any row",
     {"Aa"},
     "OutName3=Default MIDI Output Device\n",
     {},
     {{2, Default, MapperDevice, 32}}},
    {"one device on two rows",
     {"Aa"},
     "InName1=Aa\nInName2=Aa\nOutName1=Aa\nOutName5=Aa\n",
     {{0, "Aa", 0, 0}, {1, "Aa", 0, 16}},
     {{0, "Aa", 0, 0}, {4, "Aa", 0, 64}}},
    {"a name without a base, borne by two",
     {"Aa", "Aa"},
     "InName5=Aa\nOutName6=Aa\n",
     {{4, "Aa", 0, 64}},
     {{5, "Aa", 0, 80}}},
    {"bases edited by hand",
     {},
     "InName1=Aa\nInBase1=0\nInName2=Aa\nInBase2=-7\nInName3=Aa\nInBase3=abc\n"
     "InName4=Aa\nInBase4=500\nOutName1=Aa\nOutBase1=99999\nOutName2=Aa\nOutBase2=64\n",
     {{0, "Aa", NoDevice, 0},
      {1, "Aa", NoDevice, 0},
      {2, "Aa", NoDevice, 0},
      {3, "Aa", NoDevice, 499}},
     {{0, "Aa", MapperDevice, 32751}, {1, "Aa", NoDevice, 63}}},
    {"a long name is cut, as the device's own is",
     {"0123456789012345678901234567890123456789"},
     "InName2=0123456789012345678901234567890123456789\n",
     {{0, "0123456789012345678901234567890", 0, 0}, {1, "0123456789012345678901234567890", 0, 16}},
     {}},
};

template <class Port>
void ExpectRow(const Port& port, const Row& row, const char* side) {
    EXPECT_STREQ(port.Name, row.Name) << side << row.Number;
    EXPECT_EQ(port.DeviceID, row.DeviceID) << side << row.Number;
    EXPECT_EQ(port.BaseChannel, row.Base) << side << row.Number;
}

TEST_F(MmeTest, TablesFollowFileAndDevices) {
    for (const LoadCase& test : LoadCases) {
        SCOPED_TRACE(test.What);
        Restart();
        for (const char* name : test.Devices) {
            machine::AddMidiInput(name);
            machine::AddMidiOutput(name);
        }
        Load(*test.Ini ? std::string("[mmedrvr]\n") + test.Ini : "");
        for (const Row& row : test.Inputs) ExpectRow(InPorts[row.Number], row, "input row ");
        for (const Row& row : test.Outputs) ExpectRow(OutPorts[row.Number], row, "output row ");
    }
}

TEST_F(MmeTest, DriverWideValuesAreLimited) {
    const struct {
        const char* Ini;
        int Reset, Master, Match;
    } cases[] = {
        {"OutName2=x\n", 0, 0, 1},
        {"OutName2=x\nMidiOutReset=1\nSyncMaster=3\nOutMatch2=0\n", 1, 3, 0},
        {"OutName2=x\nMidiOutReset=-5\nSyncMaster=12\nOutMatch2=2\n", 1, 7, 1},
        {"OutName2=x\nMidiOutReset=no\nSyncMaster=-1\nOutMatch2=no\n", 0, 0, 0},
        {"MidiOutReset=0\nSyncMaster=40000\nOutMatch2=0\n", 0, 0, 1}, // no name: not read
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.Ini);
        Restart();
        Load(std::string("[MMEDRVR]\n") + test.Ini);
        EXPECT_EQ(MidiOutReset, test.Reset);
        EXPECT_EQ(SyncMaster, test.Master);
        EXPECT_EQ(OutPorts[1].OutMatch, test.Match);
    }
}

TEST_F(MmeTest, WhatTheFileDoesNotNameCarriesOver) {
    machine::AddMidiOutput("Aa", MIDICAPS_CACHE);
    Load("[MMEDRVR]\nInName2=x\nInBase2=41\nOutName2=Aa\nOutBase2=42\nOutMatch2=0\nMidiOutReset=1\n"
         "SyncMaster=2\n");
    EXPECT_EQ(OutPorts[1].Support, MIDICAPS_CACHE);
    Load("[MMEDRVR]\nInBase2=9\nOutBase2=9\n"); // not read without a name
    EXPECT_EQ(InPorts[1].BaseChannel, 40);
    EXPECT_STREQ(InPorts[1].Name, "");
    EXPECT_EQ(OutPorts[1].BaseChannel, 41);
    EXPECT_EQ(OutPorts[1].OutMatch, 0);
    EXPECT_EQ(OutPorts[1].Support, MIDICAPS_CACHE);
    EXPECT_EQ(OutPorts[1].DeviceID, NoDevice);
    EXPECT_EQ(MidiOutReset, 0);
    EXPECT_EQ(SyncMaster, 0);
}

TEST_F(MmeTest, OpenPortsKeepTheirRows) {
    machine::AddMidiOutput("Aa");
    Load("[MMEDRVR]\nOutName1=Aa\nOutBase1=3\n");
    ASSERT_TRUE(MMEOpen());
    Load("[MMEDRVR]\nOutName1=Bb\nOutBase1=9\nSyncMaster=4\n");
    EXPECT_STREQ(OutPorts[0].Name, "Aa");
    EXPECT_EQ(OutPorts[0].BaseChannel, 2);
    EXPECT_EQ(SyncMaster, 0);
    machine::TakeSentMidi();
    EXPECT_TRUE(Send(2, 0x90, 60, 1));
    EXPECT_EQ(Sent(), Lines{Line(0, 0x90, 60, 1)});
    MMEClose();
    LoadMMEConfig();
    EXPECT_STREQ(OutPorts[0].Name, "Bb");
    EXPECT_EQ(SyncMaster, 4);
}

} // namespace
