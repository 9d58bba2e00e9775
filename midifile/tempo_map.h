// Where each tick of a piece lies in time and in bars.
#pragma once

#include <cstdint>
#include <vector>

namespace midifile {

struct Tempo {
    std::int64_t Tick;
    int MicrosecondsPerQuarter;
};
struct Meter {
    std::int64_t Tick;
    int Beats;    // a bar
    int BeatUnit; // 4 for a quarter note, 8 for an eighth
};
struct BarBeat {
    std::int64_t Bar; // from 1
    int Beat;         // from 1
};

// 120 quarter notes a minute and 4/4 until told otherwise, as in every MIDI file.
class TempoMap {
public:
    explicit TempoMap(int ticksPerQuarter);

    // In ascending order of tick; a later call for the same tick replaces the earlier one.
    void Add(const Tempo& tempo);
    // A meter that does not begin on a bar line starts a new bar.
    void Add(const Meter& meter);

    int TicksPerQuarter() const { return Quarter; }
    std::int64_t MicrosecondsAt(std::int64_t tick) const;
    // The tick nearest to that time.
    std::int64_t TickAt(std::int64_t microseconds) const;
    BarBeat BarBeatAt(std::int64_t tick) const;
    std::int64_t TickOfBar(std::int64_t bar) const;

    std::vector<Tempo> Tempos() const;
    std::vector<Meter> Meters() const;

private:
    struct Stretch {
        Tempo From;
        std::int64_t Elapsed; // up to From, in microseconds times ticks a quarter: exact
    };
    struct Bars {
        Meter From;
        std::int64_t FirstBar; // from 0
    };
    std::int64_t TicksPerBar(const Meter& meter) const;
    std::int64_t TicksPerBeat(const Meter& meter) const;

    int Quarter;
    std::vector<Stretch> Stretches; // never empty, the first at tick 0
    std::vector<Bars> BarRuns;      // likewise
};

} // namespace midifile
