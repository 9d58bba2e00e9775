// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "hearing/evaluation/clips.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace hearing {

namespace {

std::ifstream OpenText(const std::string& path) {
    std::ifstream file(path);
    if (!file) throw std::runtime_error("cannot read " + path);
    return file;
}

// One line per frame: level, stamp in milliseconds, frequency in Hz. The stamp of a frame without a
// loud sample is the beginning of its analysis window, which is before the frame's own.
void ReadFrames(const std::string& path, Clip& clip) {
    std::ifstream file = OpenText(path);
    double stamp = 0;
    for (Frame frame; file >> frame.Level >> stamp >> frame.Frequency;) {
        clip.Stamps.push_back(stamp / 1000);
        frame.Begin = static_cast<double>(clip.Frames.size()) * FrameSeconds;
        frame.LoudBegin = std::max(frame.Begin, clip.Stamps.back());
        clip.Frames.push_back(frame);
    }
}

// One line per note: onset, end, pitch.
std::vector<PlainNote> ReadNotes(const std::string& path) {
    std::ifstream file = OpenText(path);
    std::vector<PlainNote> notes;
    char comma = 0;
    for (PlainNote note{}; file >> note.Onset >> comma >> note.End >> comma >> note.Pitch;) {
        notes.push_back(note);
    }
    return notes;
}

} // namespace

std::vector<Clip> ReadClips(const std::string& folder) {
    std::ifstream index = OpenText(folder + "/index.csv");
    std::vector<Clip> clips;
    std::string line;
    std::getline(index, line); // column names
    while (std::getline(index, line)) {
        std::istringstream fields(line);
        Clip clip;
        std::getline(fields, clip.Name, ',');
        std::getline(fields, clip.Category, ',');
        ReadFrames(folder + "/" + clip.Name + ".frames", clip);
        clip.Truth = ReadNotes(folder + "/" + clip.Name + ".notes");
        clips.push_back(std::move(clip));
    }
    return clips;
}

} // namespace hearing
