// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/playback/transport.h"

#include "host/devices/session.h"

#include <algorithm>
#include <utility>

namespace zorhost {

namespace {
constexpr std::int64_t JumpLead = 50; // milliseconds from a jump to the music
constexpr std::int64_t MaxTime = std::numeric_limits<std::int32_t>::max();
} // namespace

Transport::Transport(const midifile::Song& song, const PlayRange& range)
    : Song(song), Range(range) {}

// Milliseconds, rounded to the nearest one.
std::int64_t Transport::TimeBetween(std::int64_t begin, std::int64_t end) const {
    const std::int64_t written = Song.Map.MicrosecondsAt(end) - Song.Map.MicrosecondsAt(begin);
    return (written * 100 / Range.TempoPercent + 500) / 1000;
}

// Replaces the player by one for the records of a segment.
void Transport::Schedule(const Segment& segment) {
    Passage passage = MakePassage(Song, segment.StartTick, Range.End);
    std::size_t count = 0;
    for (; count < passage.Records.size(); ++count) {
        const std::int64_t time =
            segment.StartTime + TimeBetween(segment.StartTick, passage.Ticks[count]);
        if (time > MaxTime) break;
        passage.Records[count].Time = static_cast<std::int32_t>(time);
    }
    OverflowCount = passage.Records.size() - count;
    passage.Records.resize(count);
    passage.Ticks.resize(count);
    SentEarlier += PassPlayer.QueuedCount();
    PassPlayer = Player(std::move(passage));
}

void Transport::Start(std::int64_t lead) {
    CurrentSegment = {lead, Range.Begin};
    Schedule(CurrentSegment);
}

std::int64_t Transport::LoopEnd() const {
    return CurrentSegment.StartTime + TimeBetween(CurrentSegment.StartTick, Range.End);
}

// In a loop, the next pass is queued once all records of the current one are queued.
void Transport::Step() {
    if (IsPaused) return;
    PassPlayer.Feed();
    if (!Range.Loop) return;
    if (NextSegment && ZorTimeMIDI(0) >= NextSegment->StartTime)
        CurrentSegment = *std::exchange(NextSegment, {});
    if (NextSegment || !PassPlayer.AllQueued() || LoopEnd() > MaxTime) return;
    NextSegment = Segment{LoopEnd(), Range.Begin};
    Schedule(*NextSegment);
}

// The loop is tested too, since after a jump to its end nothing is queued until the next step.
bool Transport::IsDone() const {
    const bool continues = IsPaused || (Range.Loop && LoopEnd() <= MaxTime);
    return !continues && !NextSegment && PassPlayer.AllQueued() && ZorXmitEmpty(0);
}

std::int64_t Transport::Position() const {
    if (IsPaused) return PausePosition;
    const std::int64_t now = ZorTimeMIDI(0);
    const bool isNext = NextSegment && now >= NextSegment->StartTime;
    const Segment& segment = isNext ? *NextSegment : CurrentSegment;
    const std::int64_t played = std::max<std::int64_t>(0, now - segment.StartTime);
    const std::int64_t written = played * 10 * Range.TempoPercent; // microseconds of the map
    const std::int64_t tick = Song.Map.TickAt(Song.Map.MicrosecondsAt(segment.StartTick) + written);
    return std::min({tick, Range.End, Song.EndTick});
}

std::size_t Transport::SentCount() const {
    return SentEarlier + PassPlayer.QueuedCount() - static_cast<std::size_t>(OutputFill().Count);
}

// Records that are still queued are discarded, so they do not count as sent.
void Transport::Silence() {
    SentEarlier -= static_cast<std::size_t>(OutputFill().Count);
    Library::Silence(PassPlayer.Records());
}

void Transport::Pause() {
    PausePosition = Position();
    IsPaused = true;
    NextSegment.reset();
    Silence();
}

void Transport::JumpTo(std::int64_t tick) {
    PausePosition = std::clamp(tick, std::int64_t{0}, std::min(Range.End, Song.EndTick));
    if (IsPaused) return;
    Silence();
    NextSegment.reset();
    CurrentSegment = {ZorTimeMIDI(0) + JumpLead, PausePosition};
    Schedule(CurrentSegment);
}

void Transport::Resume() {
    IsPaused = false;
    CurrentSegment = {ZorTimeMIDI(0) + JumpLead, PausePosition};
    Schedule(CurrentSegment);
}

void Transport::JumpBars(std::int64_t bars) {
    const std::int64_t bar = Song.Map.BarBeatAt(Position()).Bar + bars;
    JumpTo(Song.Map.TickOfBar(std::max<std::int64_t>(1, bar)));
}

} // namespace zorhost
