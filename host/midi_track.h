// The events of one track of a MIDI file, one after the other.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace zorhost {

using ByteSpan = std::span<const unsigned char>;

struct TrackEvent {
    std::int64_t Tick = 0;
    std::uint8_t Status = 0; // 0xFF for a meta event, 0xF0 and 0xF7 for system exclusive
    std::uint8_t Type = 0;   // of a meta event
    ByteSpan Data;
};

class TrackReader {
public:
    explicit TrackReader(ByteSpan body) : Body(body) {}

    enum class Result { Event, End, Damaged };
    // The next event, or the end of the track, after which nothing may follow.
    Result Next(TrackEvent& event);
    // Where in the track the reader stands.
    std::size_t Place() const { return At; }

private:
    bool TakeLength(std::uint32_t& value);
    bool TakeBytes(std::uint32_t count, TrackEvent& event);
    bool TakeData(std::uint32_t count, TrackEvent& event);
    bool TakeMessage(TrackEvent& event);

    ByteSpan Body;
    std::size_t At = 0;
    std::int64_t Tick = 0;
    std::uint8_t RunningStatus = 0; // 0 for none
};

} // namespace zorhost
