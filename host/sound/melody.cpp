// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/sound/melody.h"

#include "host/terminal/names.h"
#include "midi/status.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <optional>

namespace zorhost {

namespace {

constexpr std::int64_t MaxDistance = 150; // milliseconds between two notes that match

// One side of a row, 22 columns; blank for null.
std::string Half(const Note* note) {
    if (!note) return std::string(22, ' ');
    char text[48];
    std::snprintf(text, sizeof text, "%7.3f %-4s %7.3f s", static_cast<double>(note->Start) / 1000,
                  NoteName(note->Key).c_str(), static_cast<double>(note->End - note->Start) / 1000);
    return text;
}

// The index of the nearest detected note that matches, among those not matched yet.
std::optional<std::size_t> Match(const Note& written, const std::vector<Note>& detected,
                                 const std::vector<bool>& matched) {
    std::optional<std::size_t> best;
    for (std::size_t i = 0; i < detected.size(); ++i) {
        const std::int64_t distance = std::abs(detected[i].Start - written.Start);
        if (matched[i] || detected[i].Key != written.Key || distance > MaxDistance) continue;
        if (!best || distance < std::abs(detected[*best].Start - written.Start)) best = i;
    }
    return best;
}

struct Row {
    std::int64_t Time;        // milliseconds
    const Note* WrittenNote;  // or null
    const Note* DetectedNote; // or null
};

std::string RowText(const Row& row) {
    std::string text = "  " + Half(row.WrittenNote) + "   " + Half(row.DetectedNote);
    char late[32] = "   missed";
    if (!row.WrittenNote) {
        std::snprintf(late, sizeof late, "   not written");
    } else if (row.DetectedNote) {
        std::snprintf(late, sizeof late, "   %+lld ms",
                      static_cast<long long>(row.DetectedNote->Start - row.WrittenNote->Start));
    }
    return text + late + "\n";
}

} // namespace

std::vector<Note> PairNotes(const std::vector<MIDIEvent>& records, std::int64_t end) {
    std::vector<Note> notes;
    std::array<std::optional<std::size_t>, 128> sounding;
    for (const MIDIEvent& record : records) {
        if (record.Status != midi::NoteOn && record.Status != midi::NoteOff) continue;
        std::optional<std::size_t>& open = sounding[record.Data1 & 127];
        if (open) notes[*open].End = std::max<std::int64_t>(notes[*open].Start, record.Time);
        open.reset();
        if (!midi::StartsNote(record.Status, record.Data2)) continue;
        open = notes.size();
        notes.push_back(
            {record.Time, std::max<std::int64_t>(end, record.Time), record.Data1, record.Data2});
    }
    return notes;
}

MelodyComparison CompareMelodies(const std::vector<Note>& written,
                                 const std::vector<Note>& detected) {
    MelodyComparison result;
    std::vector<bool> matched(detected.size());
    std::vector<Row> rows;
    for (const Note& note : written) {
        const std::optional<std::size_t> match = Match(note, detected, matched);
        if (match) matched[*match] = true;
        rows.push_back({note.Start, &note, match ? &detected[*match] : nullptr});
        ++(match ? result.MatchedNotes : result.MissedNotes);
    }
    for (std::size_t i = 0; i < detected.size(); ++i) {
        if (matched[i]) continue;
        rows.push_back({detected[i].Start, nullptr, &detected[i]});
        ++result.ExtraNotes;
    }
    std::stable_sort(rows.begin(), rows.end(),
                     [](const Row& a, const Row& b) { return a.Time < b.Time; });
    result.WrittenNotes = static_cast<int>(written.size());
    result.Text = "   written                  heard\n";
    for (const Row& row : rows) result.Text += RowText(row);
    return result;
}

} // namespace zorhost
