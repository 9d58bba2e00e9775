// The settings of ZORMIDI.INI as KEY=VALUE text, read and stored by the library's own rules.
#pragma once

#include <string>
#include <vector>

namespace zorhost {

enum class SetupDialog { Midi, Microphone };

// Has the library's rules, as this program has them, work on an ini file. A missing one reads as an
// empty one. Throws HostError if the path is too long for them.
void UseIni(const std::string& path);

// Prints what the dialog would show, and what can be chosen.
void PrintSettings(SetupDialog dialog);

// Changes settings of the form KEY=VALUE as a user would, and stores what the dialog's OK would.
// Throws HostError if there is no such setting, or it does not take the value; nothing is stored
// then. Also if a device stands twice, when the ports before are stored, and if the file cannot be
// written.
void ChangeSettings(SetupDialog dialog, const std::vector<std::string>& changes);

} // namespace zorhost
