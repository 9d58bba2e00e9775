// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Compares detected notes with the true ones.
#pragma once

#include "hearing/evaluation/clips.h"

#include <span>
#include <vector>

namespace hearing {

// The notes of one clip.
struct Comparison {
    std::span<const PlainNote> Truth;
    std::vector<PlainNote> Detected;
};

struct Accuracy {
    std::size_t TrueNotes = 0;
    std::size_t DetectedNotes = 0;
    double MedianDelay = 0; // seconds, of the detected onsets
    // F1, the harmonic mean of precision and recall, 0 to 1. A note is right if its pitch is within
    // half a semitone and its onset within 50 or 100 ms; for the last two the median delay is
    // subtracted from all onsets.
    double Within50 = 0;
    double Within100 = 0;
    double Within50LessDelay = 0;
    double Within100LessDelay = 0;
};

// Counts all clips together.
Accuracy Evaluate(std::span<const Comparison> clips);

} // namespace hearing
