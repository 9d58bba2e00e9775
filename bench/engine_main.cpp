// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "bench/lateness.h"

namespace {

constexpr char Floor[] = "lock, copy 14 bytes, unlock";

constexpr bench::Ratio lines[] = {
    {"ZorXmit to ZorRcv", Floor, 2.5},
    {"std::mutex and std::deque, in and out", Floor, 0},
    {"RcvEvent to ZorRcv", Floor, 0},
    {"MmeMidiInCallBack to queue 0", Floor, 10},
    {"MmeMidiInCallBack to queue 0, clock", Floor, 10},
    {"ZorXmit, pump, port: one record per pass", Floor, 0},
    {"ZorXmit, pump, port: 32 records per pass", Floor, 0},
    {"CurrentMIDITime, milliseconds", "timeGetTime", 0},
    {"CurrentMIDITime, external clock", "timeGetTime", 0},
    {"pump lateness, median", "sleeping thread, median", 0},
    {"pump lateness, 99th percentile", "sleeping thread, 99th percentile", 1.5},
};

} // namespace

int main(int argc, char** argv) {
    bench::Results results = bench::RunBenchmarks(argc, argv);
    bench::MeasureLateness(results);
    bench::PrintSection("Engine", results, lines);
    return 0;
}
