// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The settings of ZORMIDI.INI as KEY=VALUE text, read and stored by the library's own code.
#pragma once

#include <string>
#include <vector>

namespace zorhost {

enum class SetupDialog { Midi, Microphone };

// Sets the ini file for this program's copy of the library's settings code. A missing file reads as
// an empty one. Throws HostError if the path is too long.
void UseIni(const std::string& path);

// Prints the settings as the dialog shows them, and the available choices as # lines.
void PrintSettings(SetupDialog dialog);

// Applies changes of the form KEY=VALUE and stores what the dialog's OK button stores. Throws
// HostError for an unknown setting or an invalid value, and stores nothing then. Also throws if a
// device is on two ports, after storing the ports before, and if the file cannot be written.
void ChangeSettings(SetupDialog dialog, const std::vector<std::string>& changes);

} // namespace zorhost
