// The settings of a dialog as KEY=VALUE text, read from and made by the dialog itself.
#pragma once

#include "platform/machine.h"

#include <string>
#include <vector>

namespace zorhost {

enum class SetupDialog { Midi, Microphone };

// One setting, under the key and with the values that it has in ZORMIDI.INI; those that are not
// stored there have a key of the same kind.
struct Setting {
    std::string Key;
    std::string Value;
};
// Splits "KEY=VALUE". Throws HostError if it is not of that form.
Setting ParseSetting(const std::string& text);

// All settings that the dialog shows.
std::vector<Setting> ReadSettings(SetupDialog dialog, machine::DialogUser& user);
// What can be chosen for the settings that are choices, under the keys' common names.
struct Choices {
    std::string Keys;
    std::vector<std::string> Entries;
};
std::vector<Choices> ReadChoices(SetupDialog dialog, machine::DialogUser& user);

// Makes the setting as a user would. Throws HostError if the dialog has no such setting, or it does
// not take the value.
void MakeSetting(SetupDialog dialog, machine::DialogUser& user, const Setting& setting);

} // namespace zorhost
