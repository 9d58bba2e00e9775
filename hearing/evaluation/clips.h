// Recordings of which only the frames and the true notes are kept: NAME.frames and NAME.notes for
// each line of index.csv.
#pragma once

#include "hearing/frame.h"

#include <string>
#include <vector>

namespace hearing {

struct PlainNote {
    double Onset; // seconds
    double End;
    double Pitch;
};

struct Clip {
    std::string Name;
    std::string Category;
    std::vector<Frame> Frames;
    std::vector<double> Stamps; // what the library would give each frame's notes, in seconds
    std::vector<PlainNote> Truth;
};

// Throws std::runtime_error with the path of a file that cannot be read.
std::vector<Clip> ReadClips(const std::string& folder);

} // namespace hearing
