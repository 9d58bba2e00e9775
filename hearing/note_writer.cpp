// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "hearing/note_writer.h"

#include "hearing/pitch.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace hearing {

namespace {

// An onset is where the level starts to rise, but not below this share of the peak of the attack:
// lower levels are breath and room noise.
constexpr double FootShare = 0.25;
constexpr std::size_t AttackFrames = 5; // in which an attack reaches its peak
constexpr std::size_t LongestRise = 16; // frames to search back for its beginning

// Where one note follows another without a gap, the new pitch is detected late, since the analysis
// window of 93 ms has to fill with it first. The mean delay, in seconds.
constexpr double ChangeDelay = 0.018;

// No note is struck again sooner, in seconds: a dip that ends so soon after an onset is the pause
// before it.
constexpr double SoonestRepeat = 3 * FrameSeconds;

constexpr double NearPitch = 1;        // semitones from its bin that a note's own frames may be
constexpr double ConfidentPitch = 0.5; // semitones from its pitch that count as confirming it

// Frames of a note that are measured, 6 minutes; later ones change nothing.
constexpr std::size_t MaxFrames = 16384;
constexpr std::size_t FewNotes = 64; // for which memory is allocated at once

double Median(std::vector<double>& values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// The greatest level of an attack.
struct Peaks {
    int Amplified = 0;   // as the recogniser measured it
    double Original = 0; // without the frames' gains
};

Peaks PeaksOf(std::span<const Frame> frames) {
    Peaks peaks;
    for (const Frame& frame : frames.first(std::min(frames.size(), AttackFrames))) {
        peaks.Amplified = std::max(peaks.Amplified, frame.Level);
        peaks.Original = std::max(peaks.Original, frame.Level / frame.Gain);
    }
    return peaks;
}

} // namespace

NoteWriter::NoteWriter(int binsPerSemitone) : BinsPerSemitone(binsPerSemitone) {
    Result.reserve(FewNotes);
    FramePitches.reserve(MaxFrames);
    SilentFrames.reserve(LongestRise);
}

void NoteWriter::DropNotes() {
    if (Result.size() > 1) Result.erase(Result.begin(), Result.end() - 1);
}

// With a short lag the decided states can jump to another path, so that a note can begin without
// its First or Second.
bool NoteWriter::BeginsNote(State state) const {
    if (LastState.Phase == Phase::Silence) return true;
    if (state.Phase == Phase::First && LastState.Phase != Phase::First) return true;
    return std::abs(state.Bin - LastState.Bin) >= BinsPerSemitone;
}

void NoteWriter::Write(State state, double pitch, std::span<const Frame> frames, double dipEnd) {
    const Frame& frame = frames.front();
    if (state.Phase == Phase::Silence) {
        Close();
        KeepSilent(frame);
    } else {
        const bool sameNote = LastState.Phase != Phase::Silence && state.Bin == LastState.Bin;
        const double dip = sameNote ? dipEnd : 0;
        const bool isPause = dip > 0 && dip < Result.back().Onset + SoonestRepeat;
        if (BeginsNote(state) && !isPause) Open(frames, dip);
        BinPitch = pitch;
        Note& note = Result.back();
        if (note.Pitch == 0) note.Pitch = pitch;
        note.End = frame.Begin + FrameSeconds;
        const bool measured = FrameCount < MaxFrames;
        FrameCount += measured;
        if (measured && frame.Frequency > 0) FramePitches.push_back(PitchOf(frame.Frequency));
    }
    LastState = state;
}

void NoteWriter::Open(std::span<const Frame> frames, double dipEnd) {
    const bool legato = LastState.Phase != Phase::Silence;
    Close();
    const Peaks peaks = PeaksOf(frames);
    const auto least = static_cast<int>(std::lround(peaks.Amplified * FootShare));
    const Frame& first = frames.front();
    Note note;
    note.Onset = legato ? first.LoudBegin - ChangeDelay : FootOfRise(least, first);
    if (dipEnd > 0) note.Onset = dipEnd;
    if (!Result.empty()) note.Onset = std::max(note.Onset, Result.back().Onset + FrameSeconds);
    if (!Result.empty()) Result.back().End = std::min(Result.back().End, note.Onset);
    note.Level = static_cast<int>(std::lround(peaks.Original));
    note.Open = true;
    Result.push_back(note);
    SilentFrames.clear();
}

// The time at which the rise towards a note's first frame starts. least: the level below which the
// search ends.
double NoteWriter::FootOfRise(int least, const Frame& first) const {
    const Frame* foot = &first;
    for (auto before = SilentFrames.rbegin(); before != SilentFrames.rend(); ++before) {
        if (before->Level >= foot->Level || before->Level < least) break;
        foot = &*before;
    }
    return foot->LoudBegin;
}

void NoteWriter::KeepSilent(const Frame& frame) {
    if (SilentFrames.size() == LongestRise) SilentFrames.erase(SilentFrames.begin());
    SilentFrames.push_back(frame);
}

void NoteWriter::Close() {
    if (Result.empty() || !Result.back().Open) return;
    Note& note = Result.back();
    note.Open = false;
    const auto isFar = [this](double pitch) { return std::fabs(pitch - BinPitch) >= NearPitch; };
    std::erase_if(FramePitches, isFar);
    note.Pitch = FramePitches.empty() ? BinPitch : Median(FramePitches);
    const auto confirms = [&](double pitch) {
        return std::fabs(pitch - note.Pitch) < ConfidentPitch;
    };
    note.Confidence =
        static_cast<double>(std::count_if(FramePitches.begin(), FramePitches.end(), confirms)) /
        static_cast<double>(std::max<std::size_t>(FrameCount, 1));
    if (note.End < note.Onset) note.End = note.Onset;
    FramePitches.clear();
    FrameCount = 0;
}

} // namespace hearing
