#include "host/midi_track.h"

#include "host/midi_file.h"

#include <algorithm>

namespace zorhost {

namespace {
constexpr std::int64_t LastTick = 0x7FFFFFFF;
constexpr std::uint8_t EndOfTrack = 0x2F;
} // namespace

bool TrackReader::TakeLength(std::uint32_t& value) {
    value = 0;
    for (int i = 0; i < 4 && At < Body.size(); ++i) {
        const unsigned char byte = Body[At++];
        value = value << 7 | (byte & 0x7Fu);
        if (byte < 0x80) return true;
    }
    return false;
}

bool TrackReader::TakeBytes(std::uint32_t count, TrackEvent& event) {
    if (count > Body.size() - At) return false;
    event.Data = Body.subspan(At, count);
    At += count;
    return true;
}

bool TrackReader::TakeData(std::uint32_t count, TrackEvent& event) {
    return TakeBytes(count, event) && std::all_of(event.Data.begin(), event.Data.end(),
                                                  [](unsigned char byte) { return byte < 128; });
}

bool TrackReader::TakeMessage(TrackEvent& event) {
    if (At == Body.size()) return false;
    if (Body[At] >= 0x80) RunningStatus = Body[At++];
    event.Status = RunningStatus;
    if (event.Status < 0x80) return false;
    if (event.Status < 0xF0)
        return TakeData(static_cast<std::uint32_t>(DataBytes(event.Status)), event);
    RunningStatus = 0;
    if (event.Status == 0xFF) {
        if (At == Body.size()) return false;
        event.Type = Body[At++];
    } else if (event.Status != 0xF0 && event.Status != 0xF7) {
        return false;
    }
    std::uint32_t length = 0;
    return TakeLength(length) && TakeBytes(length, event);
}

TrackReader::Result TrackReader::Next(TrackEvent& event) {
    std::uint32_t delta = 0;
    event = {};
    if (!TakeLength(delta) || !TakeMessage(event)) return Result::Damaged;
    Tick += delta;
    if (Tick > LastTick) return Result::Damaged;
    event.Tick = Tick;
    if (event.Status != 0xFF || event.Type != EndOfTrack) return Result::Event;
    return At == Body.size() ? Result::End : Result::Damaged;
}

} // namespace zorhost
