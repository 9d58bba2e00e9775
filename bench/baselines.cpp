// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Baselines that the engine is compared with in the same run.
#include "engine/zormidi.h"
#include "platform/machine.h"
#include "platform/platform.h"

#include <benchmark/benchmark.h>
#include <deque>
#include <mutex>

namespace {

constexpr MIDIEvent record = {1, 2, 3, 2, 0x90, 60, 64};

// The floor: one uncontended lock and unlock, and one copy of a record.
void LockAndCopy(benchmark::State& state) {
    std::mutex lock;
    MIDIEvent slot;
    for (auto _ : state) {
        std::lock_guard guard(lock);
        slot = record;
        benchmark::DoNotOptimize(slot);
        benchmark::ClobberMemory();
    }
}

// The obvious implementation: one record in and one out.
void MutexAndDeque(benchmark::State& state) {
    std::mutex lock;
    std::deque<MIDIEvent> queue;
    MIDIEvent out;
    for (auto _ : state) {
        {
            std::lock_guard guard(lock);
            queue.push_back(record);
        }
        std::lock_guard guard(lock);
        out = queue.front();
        queue.pop_front();
        benchmark::DoNotOptimize(out);
    }
}

void ReadClock(benchmark::State& state) {
    machine::UseRealClock();
    for (auto _ : state) benchmark::DoNotOptimize(timeGetTime());
}

} // namespace

BENCHMARK(LockAndCopy)->Name("lock, copy 14 bytes, unlock");
BENCHMARK(MutexAndDeque)->Name("std::mutex and std::deque, in and out");
BENCHMARK(ReadClock)->Name("timeGetTime");
