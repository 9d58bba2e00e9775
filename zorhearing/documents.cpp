// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "zorhearing/documents.h"

#include "midi/status.h"
#include "midifile/tempo_map.h"
#include "midifile/writer.h"
#include "score/score.h"

#include <algorithm>
#include <cmath>

namespace zorhearing {

namespace {

constexpr int TicksPerQuarter = 960;
constexpr double MaxSeconds = 2e6; // three weeks: their milliseconds fit into 32 bits
constexpr std::uint8_t ReleaseVelocity = 64;

std::int64_t Milliseconds(double seconds) {
    return static_cast<std::int64_t>(std::lround(std::max(seconds, 0.0) * 1000));
}

void Check(std::span<const ZorHearNote> notes) {
    if (notes.empty()) throw BadValue{"There is no note."};
    for (const ZorHearNote& note : notes) {
        if (!(note.Onset <= MaxSeconds && note.End <= MaxSeconds && note.Onset >= -MaxSeconds &&
              note.End >= -MaxSeconds))
            throw BadValue{"A note's time is not between -2,000,000 and 2,000,000 s."};
        if (note.Key < 0 || note.Key > 127) throw BadValue{"A note's key is not 0 to 127."};
    }
}

void CheckTempo(double quartersPerMinute) {
    if (!(quartersPerMinute >= 10 && quartersPerMinute <= 500))
        throw BadValue{"The tempo is not 10 to 500 quarter notes per minute."};
}

bool IsGiven(const char* text) { return text && *text; }

score::ScoreOptions ToScoreOptions(const ZorHearScoreOptions& given) {
    score::ScoreOptions options;
    options.MarkUnsure = given.Plain == 0;
    if (given.QuartersPerMinute != 0) CheckTempo(given.QuartersPerMinute);
    options.Hints.QuartersPerMinute = given.QuartersPerMinute;
    if (given.Pickup > 12) throw BadValue{"The pickup is longer than 12 quarter notes."};
    if (given.Pickup >= 0) options.Hints.PickupQuarters = given.Pickup;
    if (IsGiven(given.Meter)) {
        options.Hints.Meter = score::ParseTimeSignature(given.Meter);
        if (!options.Hints.Meter)
            throw BadValue{
                "The meter is not one of 2/4, 3/4, 4/4, 5/4, 2/2, 3/8, 6/8, 9/8 and 12/8."};
    }
    if (IsGiven(given.Key)) {
        options.Key = score::ParseKey(given.Key);
        if (!options.Key)
            throw BadValue{"The key is none; write for instance \"A minor\" or \"B flat major\"."};
    }
    if (IsGiven(given.Grid)) {
        const auto grid = score::ParseGrid(given.Grid);
        if (!grid) throw BadValue{"The grid is not 16, 8 or triplets."};
        options.Hints.Shortest = *grid;
    }
    return options;
}

} // namespace

std::string MusicXml(std::span<const ZorHearNote> notes, const ZorHearScoreOptions& given) {
    Check(notes);
    const score::ScoreOptions options = ToScoreOptions(given);
    std::vector<score::HeardNote> melody;
    for (const ZorHearNote& note : notes) {
        const std::int64_t onset = Milliseconds(note.Onset);
        const std::int64_t end = std::max(Milliseconds(note.End), onset + 1);
        melody.push_back({static_cast<double>(onset) / 1000, static_cast<double>(end) / 1000,
                          note.Key, note.Confidence});
    }
    std::stable_sort(melody.begin(), melody.end(),
                     [](const auto& a, const auto& b) { return a.Onset < b.Onset; });
    return score::MusicXml(score::MakeScore(melody, options),
                           IsGiven(given.Title) ? given.Title : "Melody");
}

std::vector<std::uint8_t> MidiFile(std::span<const ZorHearNote> notes, double quartersPerMinute) {
    Check(notes);
    CheckTempo(quartersPerMinute);
    struct Event {
        std::int64_t Time; // milliseconds
        std::uint8_t Bytes[3];
    };
    std::vector<Event> events;
    for (const ZorHearNote& note : notes) {
        const auto key = static_cast<std::uint8_t>(note.Key);
        const auto velocity = static_cast<std::uint8_t>(std::clamp(note.Velocity, 1, 127));
        events.push_back({Milliseconds(note.Onset), {midi::NoteOn, key, velocity}});
        events.push_back(
            {Milliseconds(std::max(note.Onset, note.End)), {midi::NoteOff, key, ReleaseVelocity}});
    }
    std::stable_sort(events.begin(), events.end(),
                     [](const Event& a, const Event& b) { return a.Time < b.Time; });
    midifile::TempoMap map(TicksPerQuarter);
    map.Add(midifile::Tempo{0, static_cast<int>(60e6 / quartersPerMinute)});
    std::vector<midifile::TrackWriter> tracks(2);
    midifile::AddMap(tracks[0], map);
    for (const Event& event : events) tracks[1].Add(map.TickAt(event.Time * 1000), event.Bytes);
    return midifile::Write(tracks, TicksPerQuarter);
}

} // namespace zorhearing
