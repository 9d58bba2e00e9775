#include "midifile/tempo_map.h"

#include <algorithm>

namespace midifile {

TempoMap::TempoMap(int ticksPerQuarter)
    : Quarter(ticksPerQuarter), Stretches{{{0, 500000}, 0}}, BarRuns{{{0, 4, 4}, 0}} {}

void TempoMap::Add(const Tempo& tempo) {
    Stretch& last = Stretches.back();
    if (tempo.Tick == last.From.Tick) {
        last.From = tempo;
        return;
    }
    const std::int64_t elapsed =
        last.Elapsed + (tempo.Tick - last.From.Tick) * last.From.MicrosecondsPerQuarter;
    Stretches.push_back({tempo, elapsed});
}

void TempoMap::Add(const Meter& meter) {
    Bars& last = BarRuns.back();
    if (meter.Tick == last.From.Tick) {
        last.From = meter;
        return;
    }
    const std::int64_t length = TicksPerBar(last.From);
    const std::int64_t bars = (meter.Tick - last.From.Tick + length - 1) / length;
    BarRuns.push_back({meter, last.FirstBar + bars});
}

std::int64_t TempoMap::TicksPerBeat(const Meter& meter) const {
    return std::max<std::int64_t>(1, std::int64_t{Quarter} * 4 / meter.BeatUnit);
}

std::int64_t TempoMap::TicksPerBar(const Meter& meter) const {
    return std::max<std::int64_t>(1, std::int64_t{Quarter} * 4 * meter.Beats / meter.BeatUnit);
}

std::int64_t TempoMap::MicrosecondsAt(std::int64_t tick) const {
    const auto after =
        std::upper_bound(Stretches.begin() + 1, Stretches.end(), tick,
                         [](std::int64_t value, const Stretch& s) { return value < s.From.Tick; });
    const Stretch& in = *(after - 1);
    return (in.Elapsed + (tick - in.From.Tick) * in.From.MicrosecondsPerQuarter) / Quarter;
}

std::int64_t TempoMap::TickAt(std::int64_t microseconds) const {
    const std::int64_t scaled = microseconds * Quarter;
    const auto after =
        std::upper_bound(Stretches.begin() + 1, Stretches.end(), scaled,
                         [](std::int64_t value, const Stretch& s) { return value < s.Elapsed; });
    const Stretch& in = *(after - 1);
    const std::int64_t length = in.From.MicrosecondsPerQuarter;
    return in.From.Tick + (scaled - in.Elapsed + length / 2) / length;
}

BarBeat TempoMap::BarBeatAt(std::int64_t tick) const {
    const auto after =
        std::upper_bound(BarRuns.begin() + 1, BarRuns.end(), tick,
                         [](std::int64_t value, const Bars& b) { return value < b.From.Tick; });
    const Bars& in = *(after - 1);
    const std::int64_t inside = std::max<std::int64_t>(0, tick - in.From.Tick);
    const std::int64_t length = TicksPerBar(in.From);
    return {in.FirstBar + inside / length + 1,
            static_cast<int>(inside % length / TicksPerBeat(in.From)) + 1};
}

std::int64_t TempoMap::TickOfBar(std::int64_t bar) const {
    const auto after =
        std::upper_bound(BarRuns.begin() + 1, BarRuns.end(), bar - 1,
                         [](std::int64_t value, const Bars& b) { return value < b.FirstBar; });
    const Bars& in = *(after - 1);
    return in.From.Tick + (bar - 1 - in.FirstBar) * TicksPerBar(in.From);
}

std::vector<Tempo> TempoMap::Tempos() const {
    std::vector<Tempo> all;
    for (const Stretch& stretch : Stretches) all.push_back(stretch.From);
    return all;
}

std::vector<Meter> TempoMap::Meters() const {
    std::vector<Meter> all;
    for (const Bars& bars : BarRuns) all.push_back(bars.From);
    return all;
}

} // namespace midifile
