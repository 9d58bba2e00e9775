// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The version, and the pages of docs/ that the Help buttons of the dialogs print.
#pragma once

namespace zorhost {

extern const char Version[];       // of zorhost and the library, "1.2.3"
extern const char MidiSetupPage[]; // Markdown
extern const char MicrophoneSetupPage[];

} // namespace zorhost
