// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "bench/pitch_aubio.h"
#include "bench/table.h"

#include <cstdio>

namespace {

constexpr char Floor[] = "move the window, scan the new";
constexpr char Frame[] = "frame, sung 220 Hz";

constexpr bench::Ratio ownLines[] = {
    {"frame, sung 110 Hz", Floor, 8},
    {Frame, Floor, 8},
    {"frame, sung 440 Hz", Floor, 8},
    {"frame, sung 880 Hz", Floor, 8},
    {"frame, noise", Floor, 0},
    {"frame, below the gate", Floor, 0},
    {"plain scan alone, sung 220 Hz", Floor, 0},
};

constexpr bench::Ratio aubioLines[] = {
    {"aubio schmitt", Frame, 0, 12}, {"aubio yinfft", Frame, 0, 40}, {"aubio yinfast", Frame, 0, 0},
    {"aubio yin", Frame, 0, 0},      {"aubio mcomb", Frame, 0, 0},   {"aubio fcomb", Frame, 0, 0},
    {"aubio specacf", Frame, 0, 0},
};

} // namespace

int main(int argc, char** argv) {
    const bench::Results results = bench::RunBenchmarks(argc, argv);
    bench::PrintSection("Pitch recogniser", results, ownLines);
    bench::PrintSection("Pitch detectors of aubio against it", results, aubioLines);
    if (!bench::WithAubio()) std::puts("  skipped: built without libaubio-dev");
    return 0;
}
