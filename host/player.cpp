#include "host/player.h"

#include <algorithm>
#include <map>
#include <set>

namespace zorhost {

namespace {

MIDIEvent Record(const FileEvent& event, std::int64_t tick) {
    return {0,
            static_cast<std::int32_t>(tick),
            static_cast<std::int16_t>(event.Status & 15),
            static_cast<std::uint8_t>(DataBytes(event.Status)),
            static_cast<std::uint8_t>(event.Status & 0xF0),
            event.Data1,
            event.Data2};
}

enum class Chase { Never, Last, Always };

// Bank selects act at the next program change, and parameter numbers at the next data entry: they
// are sent whole and in order. Of all else that lasts, the last setting counts.
Chase ChaseRule(const FileEvent& event) {
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

} // namespace

std::vector<MIDIEvent> EventsFrom(const MidiFile& file, std::int64_t startTick) {
    const auto start = std::find_if(file.Events.begin(), file.Events.end(),
                                    [&](const FileEvent& e) { return e.Tick >= startTick; });
    std::vector<MIDIEvent> records;
    std::set<int> seen;
    for (auto event = start; event != file.Events.begin();) {
        --event;
        const Chase rule = ChaseRule(*event);
        const int number = (event->Status & 0xF0) == 0xB0 ? event->Data1 : 0;
        if (rule == Chase::Always ||
            (rule == Chase::Last && seen.insert(event->Status << 8 | number).second)) {
            records.push_back(Record(*event, startTick));
        }
    }
    std::reverse(records.begin(), records.end());
    for (auto event = start; event != file.Events.end(); ++event) {
        records.push_back(Record(*event, event->Tick));
    }
    return records;
}

bool LeavesSounding(const std::vector<MIDIEvent>& records) {
    constexpr int SustainPedal = 128; // beside the 128 notes
    std::map<int, int> held;
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
    return std::any_of(held.begin(), held.end(),
                       [](const auto& entry) { return entry.second > 0; });
}

QueueFill OutputFill() {
    std::uint16_t slots = 0;
    std::uint16_t count = 0;
    ZorReportMQ(ZOR_QUEUE_OUTPUT, &slots, &count);
    return {count, slots > 0 ? slots - 1 : 0};
}

} // namespace zorhost
