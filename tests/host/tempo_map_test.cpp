#include "midifile/tempo_map.h"

#include <gtest/gtest.h>

namespace {

using midifile::BarBeat;
using midifile::Meter;
using midifile::Tempo;
using midifile::TempoMap;

// 4/4 at 120; from bar 3 a 3/8 bar line at 60; a 4/4 that cuts a 3/8 bar short; slower again.
TempoMap Sample() {
    TempoMap map(480);
    map.Add(Meter{2 * 1920, 3, 8});
    map.Add(Tempo{2 * 1920, 1000000});
    map.Add(Meter{2 * 1920 + 720 + 100, 4, 4});
    map.Add(Tempo{2 * 1920 + 960, 2000000});
    return map;
}

TEST(TempoMap, PlacesTicksInTimeAndBack) {
    const TempoMap map = Sample();
    const struct {
        std::int64_t Tick, Microseconds;
    } cases[] = {{0, 0},
                 {1, 1041},
                 {480, 500000},
                 {3840, 4000000},
                 {3840 + 480, 5000000},
                 {3840 + 960, 6000000},
                 {3840 + 960 + 240, 7000000},
                 {2000000000, 8333319333333}};
    for (const auto& c : cases) {
        EXPECT_EQ(map.MicrosecondsAt(c.Tick), c.Microseconds) << c.Tick;
        EXPECT_EQ(map.TickAt(c.Microseconds), c.Tick) << c.Tick;
    }
}

TEST(TempoMap, CountsBarsAcrossMeters) {
    const TempoMap map = Sample();
    const struct {
        std::int64_t Tick;
        BarBeat Place;
    } cases[] = {{0, {1, 1}},    {479, {1, 1}},         {480, {1, 2}},         {1920, {2, 1}},
                 {3840, {3, 1}}, {3840 + 240, {3, 2}},  {3840 + 719, {3, 3}},  {3840 + 720, {4, 1}},
                 {4660, {5, 1}}, {4660 + 1919, {5, 4}}, {4660 + 1920, {6, 1}}, {-5, {1, 1}}};
    for (const auto& c : cases) {
        EXPECT_EQ(map.BarBeatAt(c.Tick).Bar, c.Place.Bar) << c.Tick;
        EXPECT_EQ(map.BarBeatAt(c.Tick).Beat, c.Place.Beat) << c.Tick;
    }
    const std::int64_t starts[] = {0, 1920, 3840, 4560, 4660, 6580};
    for (std::size_t bar = 0; bar < std::size(starts); ++bar) {
        EXPECT_EQ(map.TickOfBar(static_cast<std::int64_t>(bar) + 1), starts[bar]) << bar + 1;
    }
}

} // namespace
