// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/recording/engraver.h"

#include "host/terminal/host_error.h"

namespace zorhost {

void CheckEngraver() {
    throw HostError("pages are not engraved on Windows: write MusicXML (OUT.musicxml) and open it "
                    "in MuseScore or another notation program");
}

std::vector<midifile::Bytes> Engrave(const std::string&, const std::string&) {
    CheckEngraver();
    return {};
}

} // namespace zorhost
