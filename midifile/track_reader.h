// The events of one track of a MIDI file, one after the other.
#pragma once

#include "midifile/warnings.h"
#include "midifile/song.h"

#include <cstddef>
#include <span>
#include <string>

namespace midifile {

// Ticks beyond this one are not read: times stay within 64 bits at any tempo.
constexpr std::int64_t LastTick = std::int64_t{1} << 37;

class TrackReader {
public:
    // file: the whole of it, in which faulty data bytes are put right; from, to: the track in it;
    // name: for the findings.
    TrackReader(std::span<unsigned char> file, std::size_t from, std::size_t to, std::string name,
                Findings& found)
        : File(file.first(to)), At(from), Name(std::move(name)), Found(found) {}

    // False at the end of the track.
    bool Next(TrackEvent& event);
    bool SawEnd() const { return Ended; } // its mark, which every track should have
    std::int64_t EndTick() const { return Tick; }
    std::size_t Place() const { return At; } // in the file

private:
    enum class Result { Good, Worthless, Damaged };

    bool More() const { return At < File.size(); }
    bool TakeNumber(std::uint32_t& value);
    bool TakeBytes(std::uint32_t count, TrackEvent& event);
    Result TakeMessage(TrackEvent& event);
    Result TakeChannelMessage(TrackEvent& event);
    Result TakeLongMessage(TrackEvent& event);
    bool IsChannelMessage(std::size_t at) const;
    void FindNext(std::size_t damaged);
    void Tell(const char* what, std::size_t place) { Found.Add(what, Name, place); }

    std::span<unsigned char> File;
    std::size_t At;
    std::string Name;
    Findings& Found;
    std::int64_t Tick = 0;
    std::uint8_t RunningStatus = 0; // 0 for none
    bool Interrupted = false;       // a meta event or the like has ended the running status
    bool DeltaLost = false;         // the next event has none
    bool Ended = false;
};

} // namespace midifile
