#include "host/sound/melody.h"

#include "host/terminal/names.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <optional>

namespace zorhost {

namespace {

constexpr std::int64_t Near = 150; // milliseconds

std::string Half(const Note* note) {
    if (!note) return std::string(22, ' ');
    char text[48];
    std::snprintf(text, sizeof text, "%7.3f %-4s %7.3f s", static_cast<double>(note->Start) / 1000,
                  NoteName(note->Key).c_str(), static_cast<double>(note->End - note->Start) / 1000);
    return text;
}

// The index of the heard note that belongs to it, among those not taken.
std::optional<std::size_t> Match(const Note& written, const std::vector<Note>& heard,
                                 const std::vector<bool>& taken) {
    std::optional<std::size_t> best;
    for (std::size_t i = 0; i < heard.size(); ++i) {
        const std::int64_t distance = std::abs(heard[i].Start - written.Start);
        if (taken[i] || heard[i].Key != written.Key || distance > Near) continue;
        if (!best || distance < std::abs(heard[*best].Start - written.Start)) best = i;
    }
    return best;
}

struct Row {
    std::int64_t Time;
    const Note* Written;
    const Note* Heard;
};

std::string RowText(const Row& row) {
    std::string text = "  " + Half(row.Written) + "   " + Half(row.Heard);
    char late[32] = "   missed";
    if (!row.Written) {
        std::snprintf(late, sizeof late, "   not written");
    } else if (row.Heard) {
        std::snprintf(late, sizeof late, "   %+lld ms",
                      static_cast<long long>(row.Heard->Start - row.Written->Start));
    }
    return text + late + "\n";
}

} // namespace

std::vector<Note> PairNotes(const std::vector<MIDIEvent>& records, std::int64_t end) {
    std::vector<Note> notes;
    std::array<std::optional<std::size_t>, 128> sounding;
    for (const MIDIEvent& record : records) {
        if (record.Status != 0x90 && record.Status != 0x80) continue;
        std::optional<std::size_t>& open = sounding[record.Data1 & 127];
        if (open) notes[*open].End = std::max<std::int64_t>(notes[*open].Start, record.Time);
        open.reset();
        if (record.Status == 0x80 || record.Data2 == 0) continue;
        open = notes.size();
        notes.push_back(
            {record.Time, std::max<std::int64_t>(end, record.Time), record.Data1, record.Data2});
    }
    return notes;
}

SideBySide CompareMelodies(const std::vector<Note>& written, const std::vector<Note>& heard) {
    SideBySide result;
    std::vector<bool> taken(heard.size());
    std::vector<Row> rows;
    for (const Note& note : written) {
        const std::optional<std::size_t> match = Match(note, heard, taken);
        if (match) taken[*match] = true;
        rows.push_back({note.Start, &note, match ? &heard[*match] : nullptr});
        ++(match ? result.Heard : result.Missed);
    }
    for (std::size_t i = 0; i < heard.size(); ++i) {
        if (taken[i]) continue;
        rows.push_back({heard[i].Start, nullptr, &heard[i]});
        ++result.Strange;
    }
    std::stable_sort(rows.begin(), rows.end(),
                     [](const Row& a, const Row& b) { return a.Time < b.Time; });
    result.Written = static_cast<int>(written.size());
    result.Text = "   written                  heard\n";
    for (const Row& row : rows) result.Text += RowText(row);
    return result;
}

} // namespace zorhost
