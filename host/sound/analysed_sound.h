// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Turns a sound file into the recogniser's frames: the samples are read, resampled to 22,050 Hz,
// filtered, amplified and analysed. Runs in the calling thread, without a device.
#pragma once

#include "hearing/frame.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zorhost {

// How samples are amplified before the analysis.
enum class Levelling {
    File, // so that the file reaches GoodPeak; its soft passages by up to 12 dB more
    Live, // as live, by the peak of the last seconds
    None, // not at all, and without the filter
};

struct AnalysedSound {
    std::vector<hearing::Frame> Frames;
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
AnalysedSound AnalyseFile(const std::string& path, Levelling levelling);

} // namespace zorhost
