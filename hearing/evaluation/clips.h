// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Reads recordings that are stored as frames and true notes: the files NAME.frames and NAME.notes
// for each line of index.csv.
#pragma once

#include "hearing/frame.h"

#include <string>
#include <vector>

namespace hearing {

struct PlainNote {
    double Onset; // seconds
    double End;   // seconds
    double Pitch; // MIDI note number with fractions
};

struct Clip {
    std::string Name;
    std::string Category; // "notes", "melody", "singing" or "performance"
    std::vector<Frame> Frames;
    std::vector<double> Stamps; // for each frame, the time of a library note found in it, seconds
    std::vector<PlainNote> Truth;
};

// Throws std::runtime_error with the path of a file that cannot be read.
std::vector<Clip> ReadClips(const std::string& folder);

} // namespace hearing
