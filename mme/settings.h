// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The ports' settings as the setup dialog and the host's settings command edit them, and how they
// are stored.
#pragma once

#include "mme/ports.h"

// One row: its device, and its base channel counted from 1.
struct PortSetting {
    std::int32_t Device = NoDevice; // device number, MapperDevice or NoDevice
    char Name[NameSize] = "";
    int Base = 1; // limited to 1 to HighestBase when stored
};
constexpr int HighestBase = 64;

struct MMESettings {
    PortSetting Inputs[PortRows], Outputs[PortRows];
    bool MidiOutReset = false; // reset output devices before they close
    int SyncMaster = 0;        // an input row, from 0
};

// The contents of the tables, which LoadMMEConfig has filled.
MMESettings CurrentSettings();

enum class Stored {
    All,
    DeviceTwice, // two rows of a side have the same device; the rows before the second are stored
    Unwritten,   // the tables are set, but the ini file cannot be written
};
// Copies settings to the tables and the ini file, row by row. Thread: host, ports closed.
Stored StoreMMESettings(const MMESettings& settings);
