// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Has an installed notation program engrave a score.
#pragma once

#include "midifile/song.h"

#include <string>
#include <vector>

namespace zorhost {

// Throws HostError with what to install if there is no program for it.
void CheckEngraver();

// The pages of a MusicXML document: one PDF, or one SVG per page. kind: ".pdf" or ".svg". The
// program runs in a temporary folder with settings of its own, at most two minutes. Throws
// HostError.
std::vector<midifile::Bytes> Engrave(const std::string& musicXml, const std::string& kind);

} // namespace zorhost
