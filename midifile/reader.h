// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Reads MIDI files and repairs common faults.
#pragma once

#include "midifile/song.h"
#include "midifile/warnings.h"

namespace midifile {

enum class ParseMode {
    Lenient, // repairs or ignores faults and reports them in Song::Warnings
    Strict,  // throws an Error at the first fault
};

// Reads a file of type 0, 1 or 2 with any time division. Throws Error if the bytes are no MIDI file
// or contain no track. Time is linear in the size, except for sorting the events of all tracks.
Song Read(Bytes file, ParseMode mode = ParseMode::Lenient);

} // namespace midifile
