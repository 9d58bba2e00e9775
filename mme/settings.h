// The settings of the ports as the user makes them, and what storing them does.
#pragma once

#include "mme/ports.h"

// One row of a side: its device, and its base channel as the user counts, from 1.
struct PortSetting {
    std::int32_t Device = NoDevice; // its number, MapperDevice or NoDevice
    char Name[NameSize] = "";
    int Base = 1; // what is out of range is brought into it without a word
};
constexpr int HighestBase = 64;

struct MMESettings {
    PortSetting Inputs[PortRows], Outputs[PortRows];
    bool Reset = false; // of the outputs
    int SyncMaster = 0; // an input row
};

// What the tables hold, which LoadMMEConfig has filled.
MMESettings PresentSettings();

enum class Stored {
    All,
    DeviceTwice, // on two rows of a side; the rows before are stored
    Unwritten,   // the tables have them, the ini file cannot be written
};
// Takes settings over into the tables and the ini file, row by row. Thread: host, ports closed.
Stored StoreMMESettings(const MMESettings& settings);
