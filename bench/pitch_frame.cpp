// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// One frame of the recogniser at a full window, compared with the least that such a recogniser must
// do: moving its window and reading every new sample once.
#include "bench/pitch_material.h"
#include "pitchrec/pitch_rec.h"
#include "pitchrec/plain_scan.h"
#include "tests/pitchrec/fed_sound.h"

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <cstring>

namespace {

using bench::Material;

void Floor(benchmark::State& state) {
    const Material material = bench::Sung(220);
    std::array<std::int16_t, bench::Window> store{};
    constexpr std::size_t moved = bench::Window - bench::Hop;
    int block = 0;
    for (auto _ : state) {
        std::memmove(store.data(), store.data() + bench::Hop, moved * sizeof(std::int16_t));
        const std::uint8_t* data = material.Block(block);
        std::int16_t most = 0;
        std::int16_t least = 0;
        for (std::size_t i = 0; i < bench::Hop; ++i) {
            const auto sample = static_cast<std::int16_t>(data[2 * i] - 128);
            store[moved + i] = sample;
            most = std::max(most, sample);
            least = std::min(least, sample);
        }
        benchmark::DoNotOptimize(most);
        benchmark::DoNotOptimize(least);
        benchmark::ClobberMemory();
        block = (block + 1) % material.Count;
    }
}
BENCHMARK(Floor)->Name("move the window, scan the new");

// From a block as the capture delivers it to the notes read.
void WholeFrame(benchmark::State& state, const Material& material) {
    auto* sound = new FedSound(bench::Rate, 2, 8);
    Sonorel::PitchRecWaveIn recogniser(sound);
    recogniser.Open(bench::Rate);
    recogniser.Enable(true);
    std::int32_t time = 0, status = 0, data1 = 0, data2 = 0;
    std::uint32_t clock = 0;
    int block = 0;
    for (int fill = 0; fill < 4; ++fill)
        sound->Feed(clock += 23, material.Block(fill), bench::Hop * 2);
    for (auto _ : state) {
        sound->Feed(clock += 23, material.Block(block), bench::Hop * 2);
        while (recogniser.GetNote(&time, &status, &data1, &data2)) {
        }
        block = (block + 1) % material.Count;
    }
}

void Voiced(benchmark::State& state, double hertz) { WholeFrame(state, bench::Sung(hertz)); }
BENCHMARK_CAPTURE(Voiced, 110, 110)->Name("frame, sung 110 Hz");
BENCHMARK_CAPTURE(Voiced, 220, 220)->Name("frame, sung 220 Hz");
BENCHMARK_CAPTURE(Voiced, 440, 440)->Name("frame, sung 440 Hz");
BENCHMARK_CAPTURE(Voiced, 880, 880)->Name("frame, sung 880 Hz");

void Noise(benchmark::State& state) { WholeFrame(state, bench::Noise()); }
BENCHMARK(Noise)->Name("frame, noise");

void Silence(benchmark::State& state) {
    WholeFrame(state, bench::MakeMaterial([](int) { return 0.0; }));
}
BENCHMARK(Silence)->Name("frame, below the gate");

// The scan alone, one sample at a time: the part of the frame that costs most.
void PlainScan(benchmark::State& state) {
    const Material material = bench::Sung(220);
    std::vector<std::int16_t> samples;
    for (float sample : material.Samples)
        samples.push_back(static_cast<std::int16_t>(std::lround(100 * sample)));
    const auto [least, most] = std::minmax_element(samples.begin(), samples.end());
    const bool positive = *most > -*least;
    const Sonorel::PeakThresholds thresholds{
        static_cast<std::int32_t>(*most * (positive ? 0.667 : 0.5)),
        static_cast<std::int32_t>(*least * (positive ? 0.5 : 0.667)), positive};
    std::size_t at = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Sonorel::PlainScanCycles(samples.data() + at, bench::Window,
                                                          bench::Window - bench::Hop, thresholds));
        at = (at + bench::Hop) % (samples.size() - bench::Window);
    }
}
BENCHMARK(PlainScan)->Name("plain scan alone, sung 220 Hz");

} // namespace
