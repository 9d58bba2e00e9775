// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Any bytes as a MIDI file: a song that was read can be written, and reads the same again.
#include "fuzz/fuzz.h"
#include "midifile/reader.h"
#include "midifile/writer.h"

#include <algorithm>

using namespace midifile;

namespace {

bool Same(const Event& a, const Event& b) {
    return a.Tick == b.Tick && a.Track == b.Track && a.Status == b.Status && a.Data1 == b.Data1 &&
           a.Data2 == b.Data2;
}

void CheckOrder(const Song& song) {
    for (std::size_t i = 0; i < song.Events.size(); ++i) {
        const Event& event = song.Events[i];
        Check(event.Status >= 0x80 && event.Status < 0xF0, "a channel message");
        Check(event.Data1 < 128 && event.Data2 < 128, "its data bytes are below 128");
        Check(event.Tick <= song.EndTick, "no event lies after the end");
        Check(i == 0 || song.Events[i - 1].Tick <= event.Tick, "events are in order");
    }
    for (const auto& track : song.Tracks)
        Check(std::ranges::is_sorted(track, {}, &TrackEvent::Tick), "track in order");
    const std::int64_t middle = song.EndTick / 2;
    const std::int64_t time = song.Map.MicrosecondsAt(middle);
    Check(time >= 0 && time <= song.Map.MicrosecondsAt(song.EndTick), "time increases");
    Check(song.Map.BarBeatAt(middle).Bar >= 1, "bars count from 1");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        Read({data, data + size}, ParseMode::Strict);
    } catch (const Error&) {
    }
    try {
        const Song song = Read({data, data + size});
        CheckOrder(song);
        std::vector<TrackWriter> tracks(song.Tracks.size());
        for (std::size_t i = 0; i < tracks.size(); ++i)
            for (const TrackEvent& event : song.Tracks[i]) tracks[i].Add(event.Tick, event);
        const Song again = Read(Write(tracks, song.Map.TicksPerQuarter()));
        Check(std::ranges::equal(song.Events, again.Events, Same), "the same events");
        Check(song.Map.TicksPerQuarter() == again.Map.TicksPerQuarter(), "the same ticks");
    } catch (const Error&) {
    }
    return 0;
}
