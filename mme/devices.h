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

// Blanks at the end do not count: the ini file loses them, and a name that the system has cut to
// its size may end in one.
bool SameName(const char* one, const char* other);

// What a user can choose for a row: the devices, for an output also the system's default, and none.
std::vector<MidiDevice> InputChoices();
std::vector<MidiDevice> OutputChoices();

// Until the user chooses: an input that calls itself MIDI, else one like an MPU-401, else the
// first.
MidiDevice ChooseInput();
// The one that the system sends to by default.
MidiDevice DefaultOutput();

// The device that a row stands for under a stored name: the first one so named, for an output also
// the system's default under its name. If it is gone, row 0 has a device all the same, by choice or
// by default, and the other rows have none.
MidiDevice InputFor(int row, const char* name);
MidiDevice OutputFor(int row, const char* name);

// The number to open a row's device by. The device at DeviceID may be another one by now; then the
// row's own is looked for by the name it was taken under, and if it is gone, what the row falls
// back on is opened for this time. The row keeps what it stands for.
std::int32_t InputToOpen(int row);
std::int32_t OutputToOpen(int row);
