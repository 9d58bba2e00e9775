// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "hearing/evaluation/match.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace hearing {

namespace {

constexpr double PitchTolerance = 0.5; // semitones

bool SamePitch(const PlainNote& a, const PlainNote& b) {
    return std::fabs(a.Pitch - b.Pitch) <= PitchTolerance;
}

// The greatest number of pairs of a true and a detected note, each note in one pair at most, by
// augmenting paths (H. W. Kuhn, "The Hungarian method for the assignment problem", 1955).
class Pairing {
public:
    // tolerance, shift: seconds. shift is subtracted from the onsets of detected notes.
    Pairing(const Comparison& notes, double tolerance, double shift)
        : Notes(notes), Tolerance(tolerance), Shift(shift), Partners(notes.Detected.size()) {}

    std::size_t Count() {
        std::size_t count = 0;
        for (const PlainNote& note : Notes.Truth) {
            Tried.assign(Notes.Detected.size(), false);
            if (FindPartner(note)) ++count;
        }
        return count;
    }

private:
    bool Fits(const PlainNote& truth, const PlainNote& detected) const {
        return SamePitch(truth, detected) &&
               std::fabs(detected.Onset - Shift - truth.Onset) <= Tolerance;
    }
    bool FindPartner(const PlainNote& truth) {
        for (std::size_t i = 0; i < Notes.Detected.size(); ++i) {
            if (Tried[i] || !Fits(truth, Notes.Detected[i])) continue;
            Tried[i] = true;
            if (Partners[i] && !FindPartner(*Partners[i])) continue;
            Partners[i] = &truth;
            return true;
        }
        return false;
    }

    const Comparison& Notes;
    double Tolerance;
    double Shift;
    std::vector<const PlainNote*> Partners; // the true note of each detected one, or null
    std::vector<bool> Tried;                // detected notes of the current search
};

// The delay in seconds of the first note with the true pitch from 80 ms before the true onset to at
// most 300 ms after it; empty if there is none.
std::optional<double> DelayOf(const PlainNote& truth, std::span<const PlainNote> detected) {
    const double latest = std::min(0.3, std::max(truth.End - truth.Onset, 0.1));
    std::optional<double> delay;
    for (const PlainNote& note : detected) {
        const double late = note.Onset - truth.Onset;
        if (!SamePitch(truth, note) || late < -0.08 || late > latest) continue;
        if (!delay || late < *delay) delay = late;
    }
    return delay;
}

double MedianDelay(std::span<const Comparison> clips) {
    std::vector<double> delays;
    for (const Comparison& clip : clips) {
        for (const PlainNote& note : clip.Truth) {
            if (const auto delay = DelayOf(note, clip.Detected)) delays.push_back(*delay);
        }
    }
    if (delays.empty()) return 0;
    std::ranges::sort(delays);
    const std::size_t half = delays.size() / 2;
    return delays.size() % 2 ? delays[half] : (delays[half - 1] + delays[half]) / 2;
}

} // namespace

Accuracy Evaluate(std::span<const Comparison> clips) {
    Accuracy result;
    for (const Comparison& clip : clips) {
        result.TrueNotes += clip.Truth.size();
        result.DetectedNotes += clip.Detected.size();
    }
    result.MedianDelay = MedianDelay(clips);
    const auto f1 = [&](double tolerance, double shift) {
        std::size_t hits = 0;
        for (const Comparison& clip : clips) hits += Pairing(clip, tolerance, shift).Count();
        const auto all = static_cast<double>(result.TrueNotes + result.DetectedNotes);
        return all > 0 ? 2 * static_cast<double>(hits) / all : 0.0;
    };
    result.Within50 = f1(0.05, 0);
    result.Within100 = f1(0.1, 0);
    result.Within50LessDelay = f1(0.05, result.MedianDelay);
    result.Within100LessDelay = f1(0.1, result.MedianDelay);
    return result;
}

} // namespace hearing
