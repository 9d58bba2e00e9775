// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Program names of General MIDI, and the usual names of controllers.
#pragma once

namespace zorhost {

// Returns the name of a program, 0 to 127: "Acoustic grand piano".
const char* ProgramName(int program);

// Returns the name of a controller, 0 to 127; empty if it has none.
const char* ControllerName(int controller);

} // namespace zorhost
