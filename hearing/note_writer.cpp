#include "hearing/note_writer.h"

#include "hearing/pitch.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace hearing {

namespace {

// An attack begins where the level leaves what was before it, but no lower than that share of the
// peak that it reaches: below lie breath and the room.
constexpr double FootShare = 0.25;
constexpr std::size_t AttackFrames = 5; // in which it reaches it
constexpr std::size_t LongestRise = 16; // frames looked back

// From one note straight to the next the window, 93 ms, has to fill before it tells the new pitch:
// some of the time until then.
constexpr double ChangeDelay = 0.018; // seconds

constexpr double NearPitch = 1;   // semitones that a note's own frames may lie off its place
constexpr double SurePitch = 0.5; // that speak for it

// The frames' median, which outliers do not move.
double Median(std::vector<double>& values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// What the recogniser saw, and what it was in the take.
struct Peaks {
    int Raised = 0;
    double Own = 0;
};

Peaks PeaksOf(std::span<const Frame> frames) {
    Peaks peaks;
    for (const Frame& frame : frames.first(std::min(frames.size(), AttackFrames))) {
        peaks.Raised = std::max(peaks.Raised, frame.Level);
        peaks.Own = std::max(peaks.Own, frame.Level / frame.Gain);
    }
    return peaks;
}

} // namespace

// With a short lag the path can change under way, so that a note's first frames are never decided.
bool NoteWriter::Begins(State state) const {
    if (Last.In == Phase::Rest) return true;
    if (state.In == Phase::First && Last.In != Phase::First) return true;
    return std::abs(state.Place - Last.Place) >= PerSemitone;
}

void NoteWriter::Take(State state, double pitch, std::span<const Frame> frames) {
    const Frame& frame = frames.front();
    if (state.In == Phase::Rest) {
        Close();
        Remember(frame);
    } else {
        if (Begins(state)) Open(frames);
        Pitch = pitch;
        Note& note = Written.back();
        if (note.Pitch == 0) note.Pitch = pitch;
        note.End = frame.Begin + FrameSeconds;
        ++Frames;
        if (frame.Frequency > 0) Pitches.push_back(PitchOf(frame.Frequency));
    }
    Last = state;
}

void NoteWriter::Open(std::span<const Frame> frames) {
    const bool straight = Last.In != Phase::Rest;
    Close();
    const Peaks peaks = PeaksOf(frames);
    const auto least = static_cast<int>(std::lround(peaks.Raised * FootShare));
    const Frame& first = frames.front();
    Note note;
    note.Onset = straight ? first.Loud - ChangeDelay : FootOfRise(least, first);
    if (!Written.empty()) note.Onset = std::max(note.Onset, Written.back().Onset + FrameSeconds);
    note.Level = static_cast<int>(std::lround(peaks.Own));
    note.Open = true;
    Written.push_back(note);
    Silent.clear();
}

double NoteWriter::FootOfRise(int least, const Frame& first) const {
    const Frame* foot = &first;
    for (auto before = Silent.rbegin(); before != Silent.rend(); ++before) {
        if (before->Level >= foot->Level || before->Level < least) break;
        foot = &*before;
    }
    return foot->Loud;
}

void NoteWriter::Remember(const Frame& frame) {
    if (Silent.size() == LongestRise) Silent.erase(Silent.begin());
    Silent.push_back(frame);
}

void NoteWriter::Close() {
    if (Written.empty() || !Written.back().Open) return;
    Note& note = Written.back();
    note.Open = false;
    std::erase_if(Pitches, [this](double pitch) { return std::fabs(pitch - Pitch) >= NearPitch; });
    note.Pitch = Pitches.empty() ? Pitch : Median(Pitches);
    const auto sure = std::ranges::count_if(
        Pitches, [&](double pitch) { return std::fabs(pitch - note.Pitch) < SurePitch; });
    note.Sureness = static_cast<double>(sure) / std::max(Frames, 1);
    if (note.End < note.Onset) note.End = note.Onset;
    Pitches.clear();
    Frames = 0;
}

} // namespace hearing
