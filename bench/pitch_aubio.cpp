// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// aubio's pitch methods on the same sound, hop and window.
#include "bench/pitch_aubio.h"

#include "bench/pitch_material.h"

#include <aubio/aubio.h>
#include <benchmark/benchmark.h>

namespace {

void Method(benchmark::State& state, const char* method) {
    const bench::Material material = bench::Sung(220);
    aubio_pitch_t* pitch = new_aubio_pitch(method, bench::Window, bench::Hop, bench::Rate);
    fvec_t* out = new_fvec(1);
    int block = 0;
    for (auto _ : state) {
        // aubio reads its input only.
        fvec_t in{bench::Hop, const_cast<float*>(material.Floats(block))};
        aubio_pitch_do(pitch, &in, out);
        benchmark::DoNotOptimize(out->data[0]);
        block = (block + 1) % material.Count;
    }
    del_fvec(out);
    del_aubio_pitch(pitch);
}
BENCHMARK_CAPTURE(Method, schmitt, "schmitt")->Name("aubio schmitt");
BENCHMARK_CAPTURE(Method, yinfft, "yinfft")->Name("aubio yinfft");
BENCHMARK_CAPTURE(Method, yinfast, "yinfast")->Name("aubio yinfast");
BENCHMARK_CAPTURE(Method, yin, "yin")->Name("aubio yin");
BENCHMARK_CAPTURE(Method, mcomb, "mcomb")->Name("aubio mcomb");
BENCHMARK_CAPTURE(Method, fcomb, "fcomb")->Name("aubio fcomb");
BENCHMARK_CAPTURE(Method, specacf, "specacf")->Name("aubio specacf");

} // namespace

bool bench::WithAubio() { return true; }
