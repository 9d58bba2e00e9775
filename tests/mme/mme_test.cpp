#include "mme_test.h"

#include <cstdio>

namespace {

Lines Names(const char* side, std::size_t count) {
    Lines names;
    for (std::size_t row = 1; row <= count; ++row)
        names.push_back(side + (" " + std::to_string(row)));
    return names;
}

} // namespace

void MmeTest::SetUp() {
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

std::string MmeTest::IniFor(const Lines& inputs, const Lines& outputs,
                            const std::vector<int>& bases) {
    std::string ini = "[MMEDRVR]\n";
    const auto add = [&](const char* side, const Lines& names) {
        for (std::size_t row = 0; row < names.size(); ++row) {
            const std::string number = std::to_string(row + 1);
            ini += side + ("Name" + number + "=" + names[row] + "\n");
            if (row < bases.size())
                ini += side + ("Base" + number + "=" + std::to_string(bases[row] + 1) + "\n");
        }
    };
    add("In", inputs);
    add("Out", outputs);
    return ini;
}

void MmeTest::OpenOutputs(const std::vector<int>& bases, std::uint32_t support) {
    const Lines names = Names("Out", bases.size());
    for (const std::string& name : names) machine::AddMidiOutput(name, support);
    Load(IniFor({}, names, bases));
    ASSERT_TRUE(ZorStartMIDI(0));
    machine::TakeSentMidi();
}

void MmeTest::OpenInputs(const std::vector<int>& bases) {
    const Lines names = Names("In", bases.size());
    for (const std::string& name : names) machine::AddMidiInput(name);
    machine::AddMidiOutput("Out 1");
    Load(IniFor(names, {"Out 1"}, bases));
    ASSERT_TRUE(ZorStartMIDI(0));
}

MIDIEvent Event(int channel, int status, int data1, int data2) {
    return {0,
            0,
            static_cast<std::int16_t>(channel),
            2,
            static_cast<std::uint8_t>(status),
            static_cast<std::uint8_t>(data1),
            static_cast<std::uint8_t>(data2)};
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

Lines Sent() {
    Lines lines;
    for (const machine::SentMidi& sent : machine::TakeSentMidi()) {
        if (sent.Reset) continue;
        const auto message = static_cast<int>(sent.Message);
        lines.push_back(Line(sent.Device, message & 0xFF, message >> 8 & 0xFF, message >> 16));
    }
    return lines;
}
