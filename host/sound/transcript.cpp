// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/sound/transcript.h"

#include "hearing/pitch.h"
#include "host/terminal/json.h"
#include "host/terminal/names.h"
#include "host/terminal/terminal.h"
#include "midi/status.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace zorhost {

namespace {

constexpr double MinGap = 0.06;     // seconds; shorter gaps are not reported
constexpr int TableWidth = 57;      // columns
constexpr std::size_t MaxGaps = 12; // lines printed

struct Gap {
    double Begin; // seconds
    double End;   // seconds
};

std::int64_t Milliseconds(double seconds) {
    return static_cast<std::int64_t>(std::lround(seconds * 1000));
}

// Whether a time in milliseconds is within a note. next: an index into the notes, for calls in
// ascending order of time.
bool InNote(const std::vector<Note>& notes, std::size_t& next, std::int64_t time) {
    while (next < notes.size() && notes[next].End <= time) ++next;
    return next < notes.size() && notes[next].Start <= time;
}

// Joins adjacent frames that are loud enough but belong to no note.
std::vector<Gap> FindGaps(const Transcript& transcript, const AnalysedSound& sound) {
    std::vector<Gap> gaps;
    std::size_t next = 0;
    for (const hearing::Frame& frame : sound.Frames) {
        const double end = frame.Begin + hearing::FrameSeconds;
        const std::int64_t middle = Milliseconds((frame.Begin + end) / 2);
        if (frame.Level <= sound.OffLevel || InNote(transcript.Notes, next, middle)) continue;
        const bool goesOn =
            !gaps.empty() && frame.Begin - gaps.back().End < hearing::FrameSeconds / 2;
        if (goesOn) {
            gaps.back().End = end;
        } else {
            gaps.push_back({frame.Begin, end});
        }
    }
    std::erase_if(gaps, [](const Gap& gap) { return gap.End - gap.Begin < MinGap; });
    return gaps;
}

double CentsOff(const Note& note, const Transcript& transcript) {
    return (note.Pitch - transcript.Tuning - note.Key) * 100;
}

MIDIEvent Record(std::int64_t time, std::uint8_t status, int data1, int data2) {
    MIDIEvent record = {};
    record.Time = static_cast<std::int32_t>(time);
    record.Status = status;
    record.Data1 = static_cast<std::uint8_t>(data1);
    record.Data2 = static_cast<std::uint8_t>(data2);
    return record;
}

void AddNote(const Note& note, std::vector<MIDIEvent>& records) {
    records.push_back(Record(note.Start, midi::NoteOn, note.Key, note.Velocity));
    records.push_back(Record(note.End, midi::NoteOff, note.Key, 64));
}

// A pitch bend for a range of two semitones: 4096 steps per semitone around 8192.
MIDIEvent Bend(std::int64_t time, double semitones) {
    const int bend = std::clamp(8192 + static_cast<int>(std::lround(semitones * 4096)), 0, 16383);
    return Record(time, midi::PitchBend, bend & 127, bend >> 7);
}

// Frames a semitone or more away from the note are wrong measurements, not bends.
void AddBends(const Note& note, const AnalysedSound& sound, std::vector<MIDIEvent>& records) {
    records.push_back(Bend(note.Start, note.Pitch - note.Key));
    auto frame = std::ranges::lower_bound(sound.Frames, static_cast<double>(note.Start) / 1000, {},
                                          &hearing::Frame::Begin);
    for (; frame != sound.Frames.end(); ++frame) {
        const std::int64_t time = Milliseconds(frame->Begin);
        if (time >= note.End) break;
        if (frame->Frequency <= 0) continue;
        const double pitch = hearing::PitchOf(frame->Frequency);
        if (std::fabs(pitch - note.Pitch) < 1) records.push_back(Bend(time, pitch - note.Key));
    }
}

// A table of 32 columns.
void PrintNarrow(const Transcript& transcript) {
    std::printf("     start  note  cents    conf.\n");
    for (const Note& note : transcript.Notes) {
        std::printf("%8.3f s  %-5s", static_cast<double>(note.Start) / 1000,
                    NoteName(note.Key).c_str());
        if (note.Pitch != 0)
            std::printf(" %+5ld    %4.0f%%", std::lround(CentsOff(note, transcript)),
                        note.Confidence * 100);
        std::printf("\n");
    }
}

} // namespace

Note ToKey(const hearing::Note& note, double tuning) {
    return {Milliseconds(std::max(note.Onset, 0.0)),
            Milliseconds(note.End),
            hearing::KeyOf(note.Pitch, tuning),
            std::clamp(note.Level, 1, 127),
            note.Pitch,
            note.Confidence};
}

Transcript ToTranscript(const AnalysedSound& sound) {
    Transcript transcript{{}, sound.Tuning};
    for (const hearing::Note& note : sound.Notes)
        transcript.Notes.push_back(ToKey(note, sound.Tuning));
    return transcript;
}

void PrintNotes(const Transcript& transcript) {
    if (IsNarrow(TableWidth)) {
        PrintNarrow(transcript);
        return;
    }
    std::printf("    no      start     length  note  cents  velocity  conf.\n");
    int number = 0;
    for (const Note& note : transcript.Notes) {
        std::printf("%6d %8.3f s %8.3f s  %-5s", ++number, static_cast<double>(note.Start) / 1000,
                    static_cast<double>(note.End - note.Start) / 1000, NoteName(note.Key).c_str());
        if (note.Pitch == 0) {
            std::printf(" %15d\n", note.Velocity);
            continue;
        }
        std::printf(" %+5ld %9d %5.0f%%\n", std::lround(CentsOff(note, transcript)), note.Velocity,
                    note.Confidence * 100);
    }
}

void PrintGaps(const Transcript& transcript, const AnalysedSound& sound) {
    const std::vector<Gap> gaps = FindGaps(transcript, sound);
    double total = 0;
    for (const Gap& gap : gaps) total += gap.End - gap.Begin;
    if (gaps.empty()) {
        std::printf("All sound above the threshold became notes\n");
        return;
    }
    std::printf("Unrecognised: %.2f s above the threshold gave no note\n", total);
    for (std::size_t i = 0; i < gaps.size() && i < MaxGaps; ++i) {
        std::printf("  %8.3f s to %8.3f s\n", gaps[i].Begin, gaps[i].End);
    }
    if (gaps.size() > MaxGaps) std::printf("  and %zu more\n", gaps.size() - MaxGaps);
}

void PrintJson(const Transcript& transcript, const AnalysedSound& sound) {
    for (const Note& note : transcript.Notes) {
        Json object;
        object.Add("kind", "note").Add("start", static_cast<double>(note.Start) / 1000);
        object.Add("end", static_cast<double>(note.End) / 1000).Add("key", note.Key);
        object.Add("name", NoteName(note.Key)).Add("velocity", note.Velocity);
        if (note.Pitch != 0) {
            object.Add("cents", CentsOff(note, transcript)).Add("confidence", note.Confidence);
        }
        object.Print();
    }
    for (const Gap& gap : FindGaps(transcript, sound)) {
        Json().Add("kind", "gap").Add("start", gap.Begin).Add("end", gap.End).Print();
    }
}

std::vector<MIDIEvent> ToRecords(const std::vector<Note>& notes) {
    std::vector<MIDIEvent> records;
    for (const Note& note : notes) AddNote(note, records);
    return records;
}

std::vector<MIDIEvent> ToRecords(const std::vector<Note>& notes, const AnalysedSound& sound) {
    std::vector<MIDIEvent> records;
    for (const Note& note : notes) {
        AddBends(note, sound, records);
        AddNote(note, records);
    }
    return records;
}

} // namespace zorhost
