// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "midifile/track_reader.h"

#include "midi/status.h"

#include <algorithm>

namespace midifile {

// Reads a variable-length number. False if it is cut off or longer than 4 bytes.
bool TrackReader::ReadNumber(std::uint32_t& value) {
    value = 0;
    for (int i = 0; i < 4 && More(); ++i) {
        const unsigned char byte = File[Cursor++];
        value = value << 7 | (byte & 0x7Fu);
        if (byte < 0x80) return true;
    }
    return false;
}

bool TrackReader::ReadBytes(std::uint32_t count, TrackEvent& event) {
    if (count > File.size() - Cursor) return false;
    event.Data = File.subspan(Cursor, count);
    Cursor += count;
    return true;
}

// A message with an invalid first data byte is ignored; an invalid second one, which is a value, is
// limited to 127.
TrackReader::Result TrackReader::ReadChannelMessage(TrackEvent& event) {
    const std::size_t first = Cursor;
    if (!ReadBytes(static_cast<std::uint32_t>(midi::DataBytes(event.Status)), event))
        return Result::Damaged;
    if (File[first] > 127) {
        Warn("messages with a first data byte above 127 are ignored", first);
        return Result::Ignored;
    }
    if (File[Cursor - 1] > 127) {
        Warn("data bytes above 127 are read as 127", Cursor - 1);
        File[Cursor - 1] = 127;
    }
    return Result::Good;
}

// Reads a meta event or system exclusive, which have a length. Other system messages do not occur
// in files.
TrackReader::Result TrackReader::ReadLongMessage(TrackEvent& event) {
    StatusCancelled = true;
    if (event.Status == MetaStatus) {
        if (!More()) return Result::Damaged;
        event.Type = File[Cursor++];
    } else if (event.Status != midi::SystemExclusive && event.Status != midi::EndOfExclusive) {
        return Result::Damaged;
    }
    std::uint32_t length = 0;
    return ReadNumber(length) && ReadBytes(length, event) ? Result::Good : Result::Damaged;
}

TrackReader::Result TrackReader::ReadMessage(TrackEvent& event) {
    if (!More()) return Result::Damaged;
    if (File[Cursor] >= midi::FirstSystemStatus) {
        event.Status = File[Cursor++];
        return ReadLongMessage(event);
    }
    if (File[Cursor] >= 0x80) {
        RunningStatus = File[Cursor++];
    } else if (RunningStatus == 0) {
        return Result::Damaged;
    } else if (StatusCancelled) {
        Warn("running status continues across another event", Cursor);
    }
    StatusCancelled = false;
    event.Status = RunningStatus;
    return ReadChannelMessage(event);
}

// Whether a complete channel message with valid data bytes begins there.
bool TrackReader::IsChannelMessage(std::size_t at) const {
    if (!midi::IsChannelStatus(File[at])) return false;
    const auto count = static_cast<std::size_t>(midi::DataBytes(File[at]));
    if (count >= File.size() - at) return false;
    return File[at + 1] < 0x80 && File[at + count] < 0x80;
}

// Continues at the next channel message or end-of-track event. The byte before it is its delta time
// if it is below 128.
void TrackReader::Resynchronise(std::size_t damaged) {
    constexpr unsigned char end[] = {MetaStatus, MetaEndOfTrack, 0};
    const auto isEnd = [&](std::size_t at) {
        return File.size() - at >= sizeof end && std::equal(end, end + sizeof end, &File[at]);
    };
    Cursor = damaged + 2;
    while (Cursor < File.size() && !IsChannelMessage(Cursor) && !isEnd(Cursor)) ++Cursor;
    if (Cursor >= File.size()) { // the missing end-of-track event is reported instead
        Cursor = File.size();
        return;
    }
    DeltaLost = File[Cursor - 1] >= 0x80;
    if (!DeltaLost) --Cursor;
    Warn("bytes that form no event are ignored", damaged);
}

bool TrackReader::Next(TrackEvent& event) {
    while (More()) {
        const std::size_t begin = Cursor;
        std::uint32_t delta = 0;
        event = {};
        const bool timed = DeltaLost || ReadNumber(delta);
        DeltaLost = false;
        const Result result = timed ? ReadMessage(event) : Result::Damaged;
        if (result == Result::Damaged) {
            Resynchronise(begin);
            continue;
        }
        if (Tick + delta > MaxTick) {
            Warn("events at too late a time are ignored", begin);
            Cursor = File.size();
            break;
        }
        Tick += delta;
        event.Tick = Tick;
        EndFound = event.Status == MetaStatus && event.Type == MetaEndOfTrack;
        if (EndFound) return false;
        if (result == Result::Good) return true;
    }
    return false;
}

} // namespace midifile
