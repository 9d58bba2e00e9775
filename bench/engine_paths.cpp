// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Paths of a record through the engine.
#include "bench/library.h"
#include "engine/receive.h"
#include "engine/time_base.h"
#include "platform/platform.h"

#include <benchmark/benchmark.h>

namespace {

using bench::Library;

constexpr MIDIEvent record = {0, 2, 3, 2, 0xB0, 60, 64};

void XmitAndRcv(benchmark::State& state) {
    const Library library(Library::Real, false);
    MIDIEvent out;
    for (auto _ : state) {
        ZorXmit(ZOR_QUEUE_INPUT, &record);
        ZorRcv(&out, 0);
        benchmark::DoNotOptimize(out);
    }
}

void ReceiveAndRcv(benchmark::State& state) {
    const Library library(Library::Real, false);
    MIDIEvent in, out;
    for (auto _ : state) {
        in = record;
        RcvEvent(&in, 0);
        ZorRcv(&out, 0);
        benchmark::DoNotOptimize(out);
    }
}

// The ring is always full: each new record overwrites the oldest.
void DeviceToQueue(benchmark::State& state) {
    const Library library(Library::Real, false);
    void* const handle = Library::InputHandle();
    std::uintptr_t stamp = 0;
    for (auto _ : state) MmeMidiInCallBack(handle, MIM_DATA, 0, 0x403CB0, ++stamp);
}

// The same with a clock message, which reads the clock and moves the time base.
void ClockToQueue(benchmark::State& state) {
    const Library library(Library::Real, false);
    void* const handle = Library::InputHandle();
    MmeMidiInCallBack(handle, MIM_DATA, 0, 0xFA, 0);
    for (auto _ : state) MmeMidiInCallBack(handle, MIM_DATA, 0, 0xF8, 0);
}

// Queue, pump, driver, device, and the next expiry programmed. With the stepped clock the timer
// thread does not run meanwhile.
void HostToPort(benchmark::State& state, int records) {
    const Library library(Library::Stepped, true);
    for (auto _ : state) {
        for (int i = 0; i < records; ++i) ZorXmit(ZOR_QUEUE_OUTPUT, &record);
        ZorMIDIPlay();
    }
    if (!ZorXmitEmpty(0)) state.SkipWithError("records were left");
    state.counters["records"] = records;
}

void Now(benchmark::State& state, std::int16_t mode) {
    const Library library(Library::Real, true);
    ZorSyncMIDI(mode);
    ZorTimeMIDI(1);
    void* const handle = Library::InputHandle();
    for (const std::uintptr_t message : {0xFA, 0xF8, 0xF8}) {
        MmeMidiInCallBack(handle, MIM_DATA, 0, message, 0);
    }
    for (auto _ : state) benchmark::DoNotOptimize(CurrentMIDITime());
}

} // namespace

BENCHMARK(XmitAndRcv)->Name("ZorXmit to ZorRcv");
BENCHMARK(ReceiveAndRcv)->Name("RcvEvent to ZorRcv");
BENCHMARK(DeviceToQueue)->Name("MmeMidiInCallBack to queue 0");
BENCHMARK(ClockToQueue)->Name("MmeMidiInCallBack to queue 0, clock");
BENCHMARK_CAPTURE(HostToPort, alone, 1)->Name("ZorXmit, pump, port: one record per pass");
BENCHMARK_CAPTURE(HostToPort, many, 32)->Name("ZorXmit, pump, port: 32 records per pass");
BENCHMARK_CAPTURE(Now, internal, ZOR_SYNC_INTERNAL)->Name("CurrentMIDITime, milliseconds");
BENCHMARK_CAPTURE(Now, external, ZOR_SYNC_EXTERNAL)->Name("CurrentMIDITime, external clock");
