// The system's MIDI devices by name. A device's number changes when another one is unplugged; its
// name stays. All of it runs on the host's thread.
#pragma once

#include "mme/ports.h"

#include <vector>

struct MidiDevice {
    std::int32_t ID = NoDevice; // device number, MapperDevice or NoDevice
    char Name[NameSize] = "";
    DWORD Support = 0; // dwSupport of an output
};
using DeviceList = std::vector<MidiDevice>;

// The devices that are there, each at its number; one that does not tell its name has NoDevice.
DeviceList ReadInputs();
DeviceList ReadOutputs();

// Those that the numbers in the tables refer to: LoadMMEConfig reads them.
struct DeviceLists {
    DeviceList Inputs, Outputs;
};
DeviceLists& KnownDevices();

// Blanks at both ends do not count: the ini file loses them, and a name that the system has cut to
// its size may end in one.
bool SameName(const char* one, const char* other);

// The first of that name, null for none.
const MidiDevice* FindByName(const DeviceList& devices, const char* name);

// What a user can choose for a row: the devices, for an output also the system's default, and none.
DeviceList InputChoices();
DeviceList OutputChoices();

// Until the user chooses: an input that calls itself MIDI, else one like an MPU-401, else the
// first.
MidiDevice ChooseInput(const DeviceList& inputs);
// The one that the system sends to by default.
MidiDevice DefaultOutput();

// The device that a row stands for under a stored name: the first one so named, for an output also
// the system's default under its name. If it is gone, row 0 has a device all the same, by choice or
// by default, and the other rows have none.
MidiDevice InputFor(int row, const char* name, const DeviceList& inputs);
MidiDevice OutputFor(int row, const char* name, const DeviceList& outputs);

// dwSupport of the output of that name, which had this number a while ago; 0 if it is gone.
DWORD SupportOf(std::int32_t number, const char* name);
