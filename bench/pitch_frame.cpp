// One frame of the recogniser at a full window, beside the least that any such recogniser does:
// moving its window on and looking once at every new sample.
#include "bench/pitch_material.h"
#include "pitchrec/pitch_rec.h"
#include "tests/pitchrec/fed_sound.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace {

using bench::Material;

void Floor(benchmark::State& state) {
    const Material material = bench::Sung(220);
    std::array<std::int16_t, bench::Window> store{};
    constexpr std::size_t kept = bench::Window - bench::Hop;
    int block = 0;
    for (auto _ : state) {
        std::memmove(store.data(), store.data() + bench::Hop, kept * sizeof(std::int16_t));
        const std::uint8_t* data = material.Block(block);
        std::int16_t most = 0;
        std::int16_t least = 0;
        for (std::size_t i = 0; i < bench::Hop; ++i) {
            const auto sample = static_cast<std::int16_t>(data[2 * i] - 128);
            store[kept + i] = sample;
            most = std::max(most, sample);
            least = std::min(least, sample);
        }
        benchmark::DoNotOptimize(most);
        benchmark::DoNotOptimize(least);
        benchmark::ClobberMemory();
        block = (block + 1) % material.Count;
    }
}
BENCHMARK(Floor)->Name("pitch/floor");

void RunFrames(benchmark::State& state, const Material& material) {
    auto* sound = new FedSound(bench::Rate, 2, 8);
    Sonorel::PitchRecWaveIn recogniser(sound);
    recogniser.Open(bench::Rate);
    recogniser.Enable(true);
    std::int32_t time = 0, status = 0, data1 = 0, data2 = 0;
    std::uint32_t clock = 0;
    int block = 0;
    int voiced = 0;
    for (auto _ : state) {
        sound->Feed(clock += 23, material.Block(block), bench::Hop * 2);
        while (recogniser.GetNote(&time, &status, &data1, &data2)) {
        }
        voiced += recogniser.Now.DetectedNote != Sonorel::NoNote;
        block = (block + 1) % material.Count;
    }
    state.counters["voiced%"] = 100.0 * voiced / static_cast<double>(state.iterations());
}

void Voiced(benchmark::State& state) {
    RunFrames(state, bench::Sung(static_cast<double>(state.range(0))));
}
BENCHMARK(Voiced)->Name("pitch/voiced_hz")->Arg(110)->Arg(220)->Arg(440)->Arg(880);

void Unvoiced(benchmark::State& state) { RunFrames(state, bench::Noise()); }
BENCHMARK(Unvoiced)->Name("pitch/unvoiced");

} // namespace
BENCHMARK_MAIN();
