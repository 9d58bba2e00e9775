// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Loading the tables from the ini file and the devices present.
#include "mme_test.h"

namespace {

// "row: name @device +base" for each row with a name, rows from 1.
template <class Port>
std::string Describe(const Port* ports) {
    std::string text;
    for (int row = 0; row < PortRows; ++row) {
        if (!ports[row].Name[0]) continue;
        const std::int32_t device = ports[row].DeviceID;
        text += std::to_string(row + 1) + ": " + ports[row].Name + " @" +
                (device == NoDevice ? "none" : std::to_string(device)) + " +" +
                std::to_string(ports[row].BaseChannel) + "; ";
    }
    return text;
}

#define DEFAULT "Default MIDI Output Device"
#define MAPPER "1: " DEFAULT " @-1 +0; "

struct LoadCase {
    const char* What;
    Lines Devices; // inputs and outputs alike
    const char *Ini, *Inputs, *Outputs;
};

const LoadCase LoadCases[] = {
    {"a name with the word MIDI, in any case",
     {"401", "USBMIDI", "Usb Midi", "MIDI"},
     "",
     "1: Usb Midi @2 +0; ",
     MAPPER},
    {"else the first of 401", {"Aa", "B 401", "C 401"}, "", "1: B 401 @1 +0; ", MAPPER},
    {"a stored device that is gone, where case and the end count",
     {"Aa"},
     "InName2=aa\nInName3=Zz\nInBase3=5\nOutName2=A\nOutName8=Zz\nOutBase8=6\n",
     "1: Aa @0 +0; 2: aa @none +16; 3: Zz @none +4; ",
     MAPPER "2: A @none +16; 8: Zz @none +5; "},
    {"the default device on any row",
     {},
     "OutName3=" DEFAULT "\n",
     "",
     MAPPER "3: " DEFAULT " @-1 +32; "},
    {"two of a name on two rows, which win over the choice",
     {"Aa", "Aa", "B MIDI"},
     "InName1=Aa\nInName5=Aa\nOutName1=Aa\nOutName5=Aa\n",
     "1: Aa @0 +0; 5: Aa @0 +64; ",
     "1: Aa @0 +0; 5: Aa @0 +64; "},
    {"bases edited by hand",
     {},
     "InName1=A\nInBase1=0\nInName2=A\nInBase2=-7\nInName3=A\nInBase3=abc\nInName4=A\n"
     "InBase4=500\nOutName1=A\nOutBase1=99999\nOutName2=A\nOutBase2=64\n",
     "1: A @none +0; 2: A @none +0; 3: A @none +0; 4: A @none +499; ",
     "1: A @-1 +32751; 2: A @none +63; "},
    {"a long name is cut, as the device's own is",
     {"0123456789012345678901234567890123456789"},
     "InName2=0123456789012345678901234567890123456789\n",
     "1: 0123456789012345678901234567890 @0 +0; 2: 0123456789012345678901234567890 @0 +16; ",
     MAPPER},
};

TEST_F(MmeTest, TablesFollowFileAndDevices) {
    for (const LoadCase& test : LoadCases) {
        SCOPED_TRACE(test.What);
        Restart();
        Plug(test.Devices);
        Load(*test.Ini ? std::string("[mmedrvr]\n") + test.Ini : "");
        EXPECT_EQ(Describe(InPorts), test.Inputs);
        EXPECT_EQ(Describe(OutPorts), test.Outputs);
    }
}

TEST_F(MmeTest, DriverWideValuesAreLimited) {
    const struct {
        const char* Ini;
        int Reset, Master, Match;
    } cases[] = {
        {"OutName2=x\nMidiOutReset=1\nSyncMaster=3\nOutMatch2=0\n", 1, 3, 0},
        {"OutName2=x\nMidiOutReset=-5\nSyncMaster=12\nOutMatch2=2\n", 1, 7, 1},
        {"OutName2=x\nMidiOutReset=no\nSyncMaster=40000\nOutMatch2=no\n", 0, 0, 0},
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

TEST_F(MmeTest, KeysOfRowsWithoutANameAreNotRead) {
    machine::AddMidiOutput("Aa", MIDICAPS_CACHE);
    Load("[MMEDRVR]\nInName2=x\nInBase2=41\nOutName2=Aa\nOutBase2=42\nOutMatch2=0\nMidiOutReset=1\n"
         "SyncMaster=2\n");
    EXPECT_EQ(OutPorts[1].Support, MIDICAPS_CACHE);
    Load("[MMEDRVR]\nInBase2=9\nOutBase2=9\nOutMatch2=1\n"); // not read, since the name is missing
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
    EXPECT_EQ(SyncMaster, 0);
    MMEClose();
    LoadMMEConfig();
    EXPECT_STREQ(OutPorts[0].Name, "Bb");
    EXPECT_EQ(SyncMaster, 4);
}

} // namespace
