// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/playback/player.h"

#include "midi/note_counts.h"

#include <algorithm>
#include <set>
#include <span>

namespace zorhost {

namespace {

using midifile::Event;

constexpr int SustainPedal = 64; // controller number

MIDIEvent ToRecord(const Event& event) {
    return {0,
            0,
            midi::ChannelOf(event.Status),
            static_cast<std::uint8_t>(midi::DataBytes(event.Status)),
            midi::MessageType(event.Status),
            event.Data1,
            event.Data2};
}

void Add(Passage& passage, const MIDIEvent& record, std::int64_t tick) {
    passage.Records.push_back(record);
    passage.Ticks.push_back(tick);
}

// Which of the events before a passage are sent at its beginning ("chased").
enum class Chase { Never, Last, Always };

// Bank selects take effect at the next program change, and parameter numbers at the next data
// entry, so all of them are sent in order. Of every other lasting setting only the last one is
// sent.
Chase ChaseRule(const Event& event) {
    switch (midi::MessageType(event.Status)) {
    case midi::ProgramChange:
    case midi::ChannelPressure:
    case midi::PitchBend:
        return Chase::Last;
    case midi::ControlChange:
        break;
    default:
        return Chase::Never;
    }
    const int controller = event.Data1;
    if (controller == 120 || controller == 123) return Chase::Never; // sound off, notes off
    if (controller == 0 || controller == 32 || controller == 6 || controller == 38 ||
        (controller >= 96 && controller <= 101)) {
        return Chase::Always;
    }
    return Chase::Last;
}

using Events = std::span<const Event>;

void AddChased(Passage& passage, Events before, std::int64_t tick) {
    std::set<int> known; // status and controller number of settings
    std::vector<MIDIEvent> chased;
    for (auto event = before.rbegin(); event != before.rend(); ++event) {
        const Chase rule = ChaseRule(*event);
        const bool controller = midi::MessageType(event->Status) == midi::ControlChange;
        const int number = controller ? event->Data1 : 0;
        if (rule == Chase::Always ||
            (rule == Chase::Last && known.insert(event->Status << 8 | number).second)) {
            chased.push_back(ToRecord(*event));
        }
    }
    for (auto record = chased.rbegin(); record != chased.rend(); ++record)
        Add(passage, *record, tick);
}

midi::OpenNotes OpenNotesAfter(const std::vector<MIDIEvent>& records) {
    midi::OpenNotes notes;
    for (const MIDIEvent& record : records)
        notes.Apply(record.Channel, record.Status, record.Data1, record.Data2);
    return notes;
}

bool PedalHeldAfter(const std::vector<MIDIEvent>& records) {
    std::set<int> channels;
    for (const MIDIEvent& record : records) {
        if (record.Status != midi::ControlChange || record.Data1 != SustainPedal) continue;
        if (record.Data2 >= 64)
            channels.insert(record.Channel);
        else
            channels.erase(record.Channel);
    }
    return !channels.empty();
}

void AddNoteOffs(Passage& passage, std::int64_t tick) {
    OpenNotesAfter(passage.Records).ForEach([&](int channel, std::uint8_t note) {
        Add(passage, {0, 0, static_cast<std::int16_t>(channel), 2, midi::NoteOff, note, 64}, tick);
    });
}

} // namespace

Passage MakePassage(const midifile::Song& song, std::int64_t begin, std::int64_t end) {
    const Events all = song.Events;
    const auto at = [&](std::int64_t tick) {
        const auto event = std::ranges::lower_bound(all, tick, {}, &Event::Tick);
        return static_cast<std::size_t>(event - all.begin());
    };
    Passage passage;
    AddChased(passage, all.first(at(begin)), begin);
    for (const Event& event : all.subspan(at(begin), at(end) - at(begin)))
        Add(passage, ToRecord(event), event.Tick);
    if (end != EndOfSong) AddNoteOffs(passage, end);
    return passage;
}

bool LeavesSounding(const std::vector<MIDIEvent>& records) {
    return OpenNotesAfter(records).Any() || PedalHeldAfter(records);
}

QueueFill OutputFill() {
    std::uint16_t slots = 0;
    std::uint16_t count = 0;
    ZorReportMQ(ZOR_QUEUE_OUTPUT, &slots, &count);
    return {count, slots > 0 ? slots - 1 : 0};
}

} // namespace zorhost
