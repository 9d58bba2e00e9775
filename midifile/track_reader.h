// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Reads the events of one track of a MIDI file.
#pragma once

#include "midifile/song.h"
#include "midifile/warnings.h"

#include <cstddef>
#include <span>
#include <string>

namespace midifile {

// Events after this tick are ignored, so that times stay within 64 bits at any tempo.
constexpr std::int64_t MaxTick = std::int64_t{1} << 37;

class TrackReader {
public:
    // file: the whole file; invalid data bytes are corrected in it. begin, end: byte offsets of the
    // track's events. name: of the track, for warnings.
    TrackReader(std::span<unsigned char> file, std::size_t begin, std::size_t end, std::string name,
                midifile::Warnings& warnings)
        : File(file.first(end)), Cursor(begin), Name(std::move(name)), Warnings(warnings) {}

    // Reads the next event. False at the end of the track; the end-of-track event is not returned.
    bool Next(TrackEvent& event);
    // After the last event: whether the track has an end-of-track event, as it should.
    bool HasEndEvent() const { return EndFound; }
    std::int64_t EndTick() const { return Tick; }
    std::size_t Position() const { return Cursor; } // byte offset in the file

private:
    // Ignored: valid in length, but not in content.
    enum class Result { Good, Ignored, Damaged };

    bool More() const { return Cursor < File.size(); }
    bool ReadNumber(std::uint32_t& value);
    bool ReadBytes(std::uint32_t count, TrackEvent& event);
    Result ReadMessage(TrackEvent& event);
    Result ReadChannelMessage(TrackEvent& event);
    Result ReadLongMessage(TrackEvent& event);
    bool IsChannelMessage(std::size_t at) const;
    void Resynchronise(std::size_t damaged);
    void Warn(const char* text, std::size_t byte) { Warnings.Add(text, Name, byte); }

    std::span<unsigned char> File; // up to the end of the track
    std::size_t Cursor;            // byte offset of the next event
    std::string Name;
    midifile::Warnings& Warnings;
    std::int64_t Tick = 0;
    std::uint8_t RunningStatus = 0; // 0 for none
    bool StatusCancelled = false;   // by a meta event or system exclusive
    bool DeltaLost = false;         // the next event has no delta time
    bool EndFound = false;
};

} // namespace midifile
