// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Turns a sound file into frames and notes. Runs in the calling thread, without a device.
#pragma once

#include "hearing/frame.h"
#include "hearing/note.h"
#include "zorhearing/listener.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zorhost {

using zorhearing::Mode;

struct AnalysedSound {
    std::vector<hearing::Frame> Frames;
    std::vector<hearing::Note> Notes;
    double Tuning = 0;           // how much sharper than 440 Hz A4 is, in semitones
    double Seconds = 0;          // of sound that was analysed
    double AnnouncedSeconds = 0; // length according to the file's header
    double Peak = 0;             // after the filter; 1 is full scale
    int OnLevel = 0;             // level from which the recogniser starts to search for a pitch
    int OffLevel = 0;            // level down to which it continues to search
    bool IsTruncated = false;    // the file ended too early
    std::string Remark;          // message for the user about the file; mostly empty
};

// Reads the file, or standard input, twice where its channels or scale need it. Uses up to 64 MB of
// memory for samples and 6 MB per hour for frames; a sound longer than 12 minutes is stored in a
// temporary file, 320 MB per hour. Returns early if interrupted. Throws HostError.
AnalysedSound AnalyseFile(const std::string& path, Mode mode);

} // namespace zorhost
