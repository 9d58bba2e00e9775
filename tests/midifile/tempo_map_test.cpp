// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "midifile/tempo_map.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

using midifile::Meter;
using midifile::Tempo;
using midifile::TempoMap;

TEST(TempoMap, PlacesTicksInTimeAndInBarsAndBack) {
    // 4/4 at 120; 3/8 at 60 from bar 3; 4/4 within a 3/8 bar; then a slower tempo.
    TempoMap map(480);
    map.Add(Meter{3840, 3, 8});
    map.Add(Tempo{3840, 1});
    map.Add(Tempo{3840, 1000000});
    map.Add(Meter{4660, 4, 4});
    map.Add(Tempo{4800, 2000000});
    const struct {
        std::int64_t Tick, Microseconds, Bar;
        int Beat;
    } cases[] = {{0, 0, 1, 1},           {479, 498958, 1, 1},
                 {480, 500000, 1, 2},    {3840, 4000000, 3, 1},
                 {4559, 5497916, 3, 3},  {4560, 5500000, 4, 1},
                 {4660, 5708333, 5, 1},  {6579, 13412500, 5, 4},
                 {6580, 13416666, 6, 1}, {2000000000, 8333319333333, 1041669, 1}};
    for (const auto& c : cases) {
        EXPECT_EQ(map.MicrosecondsAt(c.Tick), c.Microseconds) << c.Tick;
        EXPECT_EQ(map.TickAt(c.Microseconds), c.Tick) << c.Tick;
        EXPECT_EQ(map.BarBeatAt(c.Tick).Bar, c.Bar) << c.Tick;
        EXPECT_EQ(map.BarBeatAt(c.Tick).Beat, c.Beat) << c.Tick;
        EXPECT_EQ(map.BarBeatAt(map.TickOfBar(c.Bar)).Bar, c.Bar) << c.Tick;
        EXPECT_EQ(map.BarBeatAt(map.TickOfBar(c.Bar) - 1).Bar,
                  std::max<std::int64_t>(c.Bar - 1, 1));
    }
    TempoMap coarse(1); // no beat or bar is shorter than a tick
    coarse.Add(Meter{0, 3, 64});
    EXPECT_EQ(coarse.BarBeatAt(5).Bar, 6);
}

} // namespace
