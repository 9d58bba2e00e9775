#include "midifile/track_reader.h"

#include "midi/status.h"

#include <algorithm>

namespace midifile {

bool TrackReader::TakeNumber(std::uint32_t& value) {
    value = 0;
    for (int i = 0; i < 4 && More(); ++i) {
        const unsigned char byte = File[At++];
        value = value << 7 | (byte & 0x7Fu);
        if (byte < 0x80) return true;
    }
    return false;
}

bool TrackReader::TakeBytes(std::uint32_t count, TrackEvent& event) {
    if (count > File.size() - At) return false;
    event.Data = File.subspan(At, count);
    At += count;
    return true;
}

// Of a message whose first data byte is wrong nothing is known; a second one that is too large
// meant the largest.
TrackReader::Result TrackReader::TakeChannelMessage(TrackEvent& event) {
    const std::size_t place = At;
    if (!TakeBytes(static_cast<std::uint32_t>(midi::DataBytes(event.Status)), event))
        return Result::Damaged;
    if (File[place] > 127) {
        Tell("messages with a first data byte above 127 are left out", place);
        return Result::Worthless;
    }
    if (File[At - 1] > 127) {
        Tell("data bytes above 127 are taken as 127", At - 1);
        File[At - 1] = 127;
    }
    return Result::Good;
}

TrackReader::Result TrackReader::TakeLongMessage(TrackEvent& event) {
    Interrupted = true;
    if (event.Status == MetaStatus) {
        if (!More()) return Result::Damaged;
        event.Type = File[At++];
    } else if (event.Status != midi::SystemExclusive && event.Status != midi::EndOfExclusive) {
        return Result::Damaged;
    }
    std::uint32_t length = 0;
    return TakeNumber(length) && TakeBytes(length, event) ? Result::Good : Result::Damaged;
}

TrackReader::Result TrackReader::TakeMessage(TrackEvent& event) {
    if (!More()) return Result::Damaged;
    if (File[At] >= midi::FirstSystemStatus) {
        event.Status = File[At++];
        return TakeLongMessage(event);
    }
    if (File[At] >= 0x80) {
        RunningStatus = File[At++];
    } else if (RunningStatus == 0) {
        return Result::Damaged;
    } else if (Interrupted) {
        Tell("running status goes on across another event", At);
    }
    Interrupted = false;
    event.Status = RunningStatus;
    return TakeChannelMessage(event);
}

bool TrackReader::IsChannelMessage(std::size_t at) const {
    if (File[at] < 0x80 || File[at] >= midi::FirstSystemStatus) return false;
    const auto count = static_cast<std::size_t>(midi::DataBytes(File[at]));
    if (count >= File.size() - at) return false;
    return File[at + 1] < 0x80 && File[at + count] < 0x80;
}

// Goes on at the next channel message or end of the track, with the byte before as its delta time
// if it can be one.
void TrackReader::FindNext(std::size_t damaged) {
    constexpr unsigned char end[] = {0xFF, MetaEndOfTrack, 0};
    const auto isEnd = [&](std::size_t at) {
        return File.size() - at >= sizeof end && std::equal(end, end + sizeof end, &File[at]);
    };
    At = damaged + 2;
    while (At < File.size() && !IsChannelMessage(At) && !isEnd(At)) ++At;
    if (At >= File.size()) { // the track breaks off, which its missing end tells
        At = File.size();
        return;
    }
    DeltaLost = File[At - 1] >= 0x80;
    if (!DeltaLost) --At;
    Tell("bytes that make no sense are left out", damaged);
}

bool TrackReader::Next(TrackEvent& event) {
    while (More()) {
        const std::size_t place = At;
        std::uint32_t delta = 0;
        event = {};
        const bool timed = DeltaLost || TakeNumber(delta);
        DeltaLost = false;
        const Result result = timed ? TakeMessage(event) : Result::Damaged;
        if (result == Result::Damaged) {
            FindNext(place);
            continue;
        }
        if (Tick + delta > LastTick) {
            Tell("what lies beyond all measure of time is left out", place);
            At = File.size();
            break;
        }
        Tick += delta;
        event.Tick = Tick;
        Ended = event.Status == MetaStatus && event.Type == MetaEndOfTrack;
        if (Ended) return false;
        if (result == Result::Good) return true;
    }
    return false;
}

} // namespace midifile
