// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The system's MIDI devices and their names. A device's number changes when another device is
// unplugged; its name stays. Thread: host, for all functions. They allocate.
#pragma once

#include "mme/ports.h"

#include <vector>

struct MidiDevice {
    std::int32_t ID = NoDevice; // device number, MapperDevice or NoDevice
    char Name[NameSize] = "";
    DWORD Support = 0; // dwSupport of an output
};
using DeviceList = std::vector<MidiDevice>;

// The devices present, each at the index that is its number. A device whose name cannot be read has
// the ID NoDevice.
DeviceList ReadInputs();
DeviceList ReadOutputs();

// The devices that were present when LoadMMEConfig last filled the tables. The device numbers in
// the tables are indices into these lists.
struct DeviceLists {
    DeviceList Inputs, Outputs;
};
DeviceLists& KnownDevices();

// Compares two names without their leading and trailing blanks: the ini file drops those, and a
// name that the system has truncated can end in one.
bool SameName(const char* one, const char* other);

// The first device with that name, null if there is none.
const MidiDevice* FindByName(const DeviceList& devices, const char* name);

// The choices that the setup dialog offers for a row: the devices present, for an output also the
// system's default output, and "no device".
DeviceList InputChoices();
DeviceList OutputChoices();

// The automatic choice while none is stored: an input whose name contains the string MidiInName,
// else one whose name contains Mpu401InName, else the first.
MidiDevice ChooseInput(const DeviceList& inputs);
// The system's default output, MapperDevice.
MidiDevice DefaultOutput();

// The device of a row with a stored name: the first device with that name, or the system's default
// output for its name. If it is not present, row 0 gets ChooseInput or DefaultOutput, and the other
// rows get no device.
MidiDevice InputFor(int row, const char* name, const DeviceList& inputs);
MidiDevice OutputFor(int row, const char* name, const DeviceList& outputs);

// dwSupport of the output with that name, 0 if it is not present. number: where the output was when
// the devices were last read, which saves a search if it is still there.
DWORD SupportOf(std::int32_t number, const char* name);
