// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/commands/hear_notes.h"

#include "host/terminal/host_error.h"

namespace zorhost {

NotePlayback OpenNotePlayback(const GlobalOptions&, const std::string&, const std::string&) {
    throw HostError("--hear is not available on Windows: write a MIDI file and play it",
                    ExitWrongUse);
}

} // namespace zorhost
