// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "mme_test.h"

#include <cstdio>

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

std::string MmeTest::IniFor(const Lines& names, const std::vector<int>& bases) {
    std::string ini = "[MMEDRVR]\n";
    for (const std::string side : {"In", "Out"})
        for (std::size_t row = 0; row < names.size(); ++row) {
            const std::string number = std::to_string(row + 1);
            ini += side + "Name" + number + "=" + names[row] + "\n";
            if (row < bases.size())
                ini += side + "Base" + number + "=" + std::to_string(bases[row] + 1) + "\n";
        }
    return ini;
}

void MmeTest::Plug(const Lines& names, std::uint32_t support) {
    for (const std::string& name : names) {
        machine::AddMidiInput(name);
        machine::AddMidiOutput(name, support);
    }
}

void MmeTest::OpenPorts(const std::vector<int>& bases, std::uint32_t support) {
    Lines names;
    for (std::size_t row = 0; row < bases.size(); ++row) names.push_back(std::to_string(row));
    Plug(names, support);
    Load(IniFor(names, bases));
    ASSERT_TRUE(ZorStartMIDI(0));
    machine::DrainSentMidi();
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
    for (const machine::SentMidi& sent : machine::DrainSentMidi()) {
        if (sent.Reset) continue;
        const auto message = static_cast<int>(sent.Message);
        lines.push_back(Line(sent.Device, message & 0xFF, message >> 8 & 0xFF, message >> 16));
    }
    return lines;
}
