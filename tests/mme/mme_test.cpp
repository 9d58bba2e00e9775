#include "mme_test.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

std::string IniFile() { return (std::filesystem::current_path() / "ZORMIDI.INI").string(); }

// As they are when the library has just been loaded.
void ResetTables() {
    for (int row = 0; row < PortRows; ++row) {
        const auto base = static_cast<std::int16_t>(row < 4 ? 16 * row : 0);
        InPorts[row].Clear();
        OutPorts[row].Clear();
        InPorts[row].BaseChannel = OutPorts[row].BaseChannel = base;
        OutPorts[row].OutMatch = 1;
    }
    MidiOutReset = 0;
    SyncMaster = 0;
    SyncEnabled = 0;
}

} // namespace

void MmeTest::SetUp() {
    machine::PowerOn();
    machine::UseSteppedClock(1000);
    machine::SetModulePath((std::filesystem::current_path() / "libzormidi.so").string());
    ResetTables();
}

void MmeTest::TearDown() {
    machine::ClearFaults();
    ZorEchoMIDI(0, nullptr);
    ZorRestoreMIDI();
    MMEClose();
    MIDISysTerm();
    EXPECT_EQ(machine::OpenMidiInputs(), 0);
    EXPECT_EQ(machine::OpenMidiOutputs(), 0);
    std::filesystem::remove(IniFile());
}

void MmeTest::WriteIni(const std::string& text) {
    std::filesystem::remove(IniFile());
    if (!text.empty()) std::ofstream(IniFile(), std::ios::binary) << text;
}

std::string MmeTest::ReadIni() {
    std::ifstream file(IniFile(), std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void MmeTest::Load(const std::string& ini) {
    WriteIni(ini);
    ASSERT_EQ(MIDISysInit(1), -1);
    ASSERT_TRUE(ZorAllocMIDI(ZOR_QUEUE_INPUT, 256));
}

void MmeTest::Open(const std::vector<int>& inputs, const std::vector<int>& outputs) {
    std::string ini = "[MMEDRVR]\n";
    const auto add = [&](const std::string& side, const std::vector<int>& bases) {
        for (std::size_t row = 0; row < bases.size(); ++row) {
            const std::string number = std::to_string(row + 1);
            ini += side + "Name" + number + "=" + side + " " + number + "\n";
            ini += side + "Base" + number + "=" + std::to_string(bases[row] + 1) + "\n";
        }
    };
    add("In", inputs);
    add("Out", outputs);
    Load(ini);
    ASSERT_TRUE(ZorStartMIDI(0));
    machine::TakeSentMidi();
}

void MmeTest::OpenOutputs(const std::vector<int>& bases, std::uint32_t support) {
    for (std::size_t row = 0; row < bases.size(); ++row)
        machine::AddMidiOutput("Out " + std::to_string(row + 1), support);
    Open({}, bases);
}

void MmeTest::OpenInputs(const std::vector<int>& bases) {
    for (std::size_t row = 0; row < bases.size(); ++row)
        machine::AddMidiInput("In " + std::to_string(row + 1));
    machine::AddMidiOutput("Out 1");
    Open(bases, {0});
}

MIDIEvent Event(int channel, int status, int data1, int data2) {
    MIDIEvent event = {};
    event.Channel = static_cast<std::int16_t>(channel);
    event.Length = 2;
    event.Status = static_cast<std::uint8_t>(status);
    event.Data1 = static_cast<std::uint8_t>(data1);
    event.Data2 = static_cast<std::uint8_t>(data2);
    return event;
}

std::uint8_t Send(int channel, int status, int data1, int data2) {
    const MIDIEvent event = Event(channel, status, data1, data2);
    return MMEXmit(&event);
}

std::string Line(int device, int status, int data1, int data2) {
    char text[32];
    std::snprintf(text, sizeof text, "%d: %02X %02X %02X", device, static_cast<unsigned>(status),
                  static_cast<unsigned>(data1), static_cast<unsigned>(data2));
    return text;
}

std::vector<std::string> Sent() {
    std::vector<std::string> lines;
    for (const machine::SentMidi& sent : machine::TakeSentMidi()) {
        if (sent.Reset) continue;
        lines.push_back(Line(sent.Device, static_cast<int>(sent.Message & 0xFF),
                             static_cast<int>(sent.Message >> 8 & 0xFF),
                             static_cast<int>(sent.Message >> 16 & 0xFF)));
    }
    return lines;
}
