// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/playback/library_transcript.h"

#include "host/terminal/host_error.h"

namespace zorhost {

// The library receives microphones of the computer only, in real time.
std::vector<MIDIEvent> TranscribeWithLibrary(const std::string&, const std::string&) {
    throw HostError("--as-library is not available on Windows: use `zorhost listen --as-library`",
                    ExitWrongUse);
}

} // namespace zorhost
