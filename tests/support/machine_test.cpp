// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "tests/support/machine_test.h"

#include <filesystem>
#include <fstream>

std::string MachineTest::IniFile() {
    return (std::filesystem::current_path() / "ZORMIDI.INI").string();
}

void MachineTest::PowerOn(std::uint32_t clock) {
    machine::PowerOn();
    machine::UseSteppedClock(clock);
    machine::SetModulePath((std::filesystem::current_path() / "libzormidi.so").string());
}

void MachineTest::TearDown() {
    machine::ClearFaults();
    machine::InsideMidiOut(nullptr);
    machine::WhileBoxIsUp(nullptr);
}

void MachineTest::PowerOff() {
    machine::ClearFaults();
    ZorEchoMIDI(0, nullptr);
    ZorStopMIDI();
    MIDISysTerm();
    ZorSyncMIDI(ZOR_SYNC_INTERNAL);
    ZorFilterMIDI(0, 0);
    EXPECT_EQ(machine::OpenMidiInputs(), 0);
    EXPECT_EQ(machine::OpenMidiOutputs(), 0);
    EXPECT_EQ(machine::OpenWaveIns(), 0);
    EXPECT_EQ(machine::PreparedWaveHeaders(), 0);
    EXPECT_EQ(machine::WaveCallsDuringReset(), 0);
    EXPECT_EQ(machine::OpenMixers(), 0);
    EXPECT_TRUE(machine::PendingTimers().empty());
    EXPECT_TRUE(machine::OpenTimerPeriods().empty());
    machine::PowerOn();
    std::filesystem::remove(IniFile());
}

void MachineTest::WriteIni(const std::string& text) {
    std::filesystem::remove(IniFile());
    if (!text.empty()) std::ofstream(IniFile(), std::ios::binary) << text;
}

void MachineTest::OpenLibrary() {
    ASSERT_EQ(MIDISysInit(1), -1);
    ASSERT_TRUE(ZorAllocMIDI(ZOR_QUEUE_INPUT, 1000));
}

std::vector<MIDIEvent> MachineTest::DrainReceived() {
    std::vector<MIDIEvent> records;
    for (MIDIEvent event; ZorRcv(&event, 0);) records.push_back(event);
    return records;
}

std::vector<std::string> MachineTest::DrainBoxTexts() {
    std::vector<std::string> texts;
    for (const machine::Box& box : machine::DrainBoxes()) texts.push_back(box.Text);
    return texts;
}
