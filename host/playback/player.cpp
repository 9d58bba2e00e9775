#include "host/playback/player.h"

#include <algorithm>
#include <map>
#include <set>
#include <span>

namespace zorhost {

namespace {

using midifile::Event;

MIDIEvent ToRecord(const Event& event) {
    return {0,
            0,
            static_cast<std::int16_t>(event.Status & 15),
            static_cast<std::uint8_t>(midifile::DataBytes(event.Status)),
            static_cast<std::uint8_t>(event.Status & 0xF0),
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
    switch (event.Status & 0xF0) {
    case 0xC0:
    case 0xD0:
    case 0xE0:
        return Chase::Last;
    case 0xB0:
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
        const int number = (event->Status & 0xF0) == 0xB0 ? event->Data1 : 0;
        if (rule == Chase::Always ||
            (rule == Chase::Last && known.insert(event->Status << 8 | number).second)) {
            chased.push_back(ToRecord(*event));
        }
    }
    for (auto record = chased.rbegin(); record != chased.rend(); ++record)
        Add(passage, *record, tick);
}

// How often each note and each sustain pedal is held, by channel * 256 + note.
using HeldNotes = std::map<int, int>;
constexpr int SustainPedal = 128; // as a note number, after the 128 notes

HeldNotes FindHeldNotes(const std::vector<MIDIEvent>& records) {
    HeldNotes held;
    for (const MIDIEvent& record : records) {
        const int key = record.Channel * 256;
        if (record.Status == 0x90 && record.Data2 > 0) {
            ++held[key + record.Data1];
        } else if (record.Status == 0x80 || record.Status == 0x90) {
            int& count = held[key + record.Data1];
            count = std::max(0, count - 1);
        } else if (record.Status == 0xB0 && record.Data1 == 64) {
            held[key + SustainPedal] = record.Data2 >= 64;
        }
    }
    return held;
}

void AddNoteOffs(Passage& passage, std::int64_t tick) {
    for (const auto& [key, count] : FindHeldNotes(passage.Records)) {
        const MIDIEvent off = {0, 0,    static_cast<std::int16_t>(key / 256),
                               2, 0x80, static_cast<std::uint8_t>(key % 256),
                               64};
        for (int i = 0; i < count && key % 256 < SustainPedal; ++i) Add(passage, off, tick);
    }
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
    return std::ranges::any_of(FindHeldNotes(records),
                               [](const auto& entry) { return entry.second > 0; });
}

QueueFill OutputFill() {
    std::uint16_t slots = 0;
    std::uint16_t count = 0;
    ZorReportMQ(ZOR_QUEUE_OUTPUT, &slots, &count);
    return {count, slots > 0 ? slots - 1 : 0};
}

} // namespace zorhost
