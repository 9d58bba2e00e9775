// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "midifile/tempo_map.h"

#include <algorithm>

namespace midifile {

TempoMap::TempoMap(int ticksPerQuarter) : QuarterTicks(ticksPerQuarter) {}

void TempoMap::Add(const Tempo& tempo) {
    TempoSegment& last = TempoSegments.back();
    if (tempo.Tick == last.Start.Tick) {
        last.Start = tempo;
        return;
    }
    const std::int64_t elapsed =
        last.Elapsed + (tempo.Tick - last.Start.Tick) * last.Start.MicrosecondsPerQuarter;
    TempoSegments.push_back({tempo, elapsed});
}

// A bar that the new meter cuts short still counts as a bar.
void TempoMap::Add(const Meter& meter) {
    MeterSegment& last = MeterSegments.back();
    if (meter.Tick == last.Start.Tick) {
        last.Start = meter;
        return;
    }
    const std::int64_t length = TicksPerBar(last.Start);
    const std::int64_t bars = (meter.Tick - last.Start.Tick + length - 1) / length;
    MeterSegments.push_back({meter, last.FirstBar + bars});
}

// Beats and bars have at least one tick, so that coarse divisions do not divide by zero.
std::int64_t TempoMap::TicksPerBeat(const Meter& meter) const {
    return std::max<std::int64_t>(1, std::int64_t{QuarterTicks} * 4 / meter.BeatUnit);
}

std::int64_t TempoMap::TicksPerBar(const Meter& meter) const {
    return std::max<std::int64_t>(1, std::int64_t{QuarterTicks} * 4 * meter.Beats / meter.BeatUnit);
}

// The searches below find the last segment that begins at or before a position. They skip the first
// segment, which is also used for negative positions.
std::int64_t TempoMap::MicrosecondsAt(std::int64_t tick) const {
    const auto after = std::upper_bound(
        TempoSegments.begin() + 1, TempoSegments.end(), tick,
        [](std::int64_t value, const TempoSegment& s) { return value < s.Start.Tick; });
    const TempoSegment& segment = *(after - 1);
    return (segment.Elapsed + (tick - segment.Start.Tick) * segment.Start.MicrosecondsPerQuarter) /
           QuarterTicks;
}

std::int64_t TempoMap::TickAt(std::int64_t microseconds) const {
    const std::int64_t scaled = microseconds * QuarterTicks;
    const auto after = std::upper_bound(
        TempoSegments.begin() + 1, TempoSegments.end(), scaled,
        [](std::int64_t value, const TempoSegment& s) { return value < s.Elapsed; });
    const TempoSegment& segment = *(after - 1);
    const std::int64_t length = segment.Start.MicrosecondsPerQuarter;
    // Half a tick is added to round to the nearest tick.
    return segment.Start.Tick + (scaled - segment.Elapsed + length / 2) / length;
}

BarBeat TempoMap::BarBeatAt(std::int64_t tick) const {
    const auto after = std::upper_bound(
        MeterSegments.begin() + 1, MeterSegments.end(), tick,
        [](std::int64_t value, const MeterSegment& s) { return value < s.Start.Tick; });
    const MeterSegment& segment = *(after - 1);
    const std::int64_t inside = std::max<std::int64_t>(0, tick - segment.Start.Tick);
    const std::int64_t length = TicksPerBar(segment.Start);
    return {segment.FirstBar + inside / length + 1,
            static_cast<int>(inside % length / TicksPerBeat(segment.Start)) + 1};
}

std::int64_t TempoMap::TickOfBar(std::int64_t bar) const {
    const auto after = std::upper_bound(
        MeterSegments.begin() + 1, MeterSegments.end(), bar - 1,
        [](std::int64_t value, const MeterSegment& s) { return value < s.FirstBar; });
    const MeterSegment& segment = *(after - 1);
    return segment.Start.Tick + (bar - 1 - segment.FirstBar) * TicksPerBar(segment.Start);
}

std::vector<Tempo> TempoMap::Tempos() const {
    std::vector<Tempo> all;
    for (const TempoSegment& segment : TempoSegments) all.push_back(segment.Start);
    return all;
}

std::vector<Meter> TempoMap::Meters() const {
    std::vector<Meter> all;
    for (const MeterSegment& segment : MeterSegments) all.push_back(segment.Start);
    return all;
}

} // namespace midifile
