// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "bench/lateness.h"

#include "bench/library.h"
#include "engine/time_base.h"

#include <algorithm>
#include <chrono>
#include <pthread.h>
#include <random>
#include <sched.h>
#include <sys/prctl.h>
#include <thread>
#include <vector>

namespace bench {
namespace {

constexpr int Turns = 10;
constexpr int RecordsPerTurn = 100;

using Deadlines = std::vector<std::uint64_t>; // microseconds on the clock of machine::Microseconds
using Lateness = std::vector<double>;         // nanoseconds

// Times in milliseconds from the start of a turn, 5 to 13 ms apart: two records within one timer
// period would make the second one late by design. The first is late enough for the turn's set-up.
std::vector<std::int32_t> RecordTimes(std::mt19937& random) {
    std::uniform_int_distribution<std::int32_t> step(5, 13);
    std::vector<std::int32_t> times = {30};
    while (times.size() < RecordsPerTurn) times.push_back(times.back() + step(random));
    return times;
}

void SleepUntil(std::uint64_t microseconds) {
    std::this_thread::sleep_until(
        std::chrono::steady_clock::time_point(std::chrono::microseconds(microseconds)));
}

// Requests the scheduling that the timer thread requests.
void UseTimerPriority() {
    prctl(PR_SET_TIMERSLACK, 1);
    sched_param parameters{};
    parameters.sched_priority = sched_get_priority_min(SCHED_FIFO) + 10;
    pthread_setschedparam(pthread_self(), SCHED_FIFO, &parameters);
}

void SleepTurn(const std::vector<std::int32_t>& times, Lateness& late) {
    std::thread([&] {
        UseTimerPriority();
        const std::uint64_t start = machine::Microseconds() / 1000;
        for (const std::int32_t time : times) {
            const std::uint64_t due = (start + static_cast<std::uint64_t>(time)) * 1000;
            SleepUntil(due);
            late.push_back(static_cast<double>(machine::Microseconds() - due) * 1000);
        }
    }).join();
}

void PlayTurn(const std::vector<std::int32_t>& times, Lateness& late) {
    machine::DrainSentMidi();
    const std::int32_t now = ZorTimeMIDI(0);
    Deadlines due;
    for (const std::int32_t time : times) {
        const MIDIEvent event = {now + time, 0, 0, 2, 0xB0, 1, 1};
        ZorXmit(ZOR_QUEUE_OUTPUT, &event);
        const std::uint32_t moment =
            ReadTimeBase().TimeOrigin + static_cast<std::uint32_t>(event.Time);
        const std::uint64_t high = (machine::Microseconds() / 1000) & ~std::uint64_t{0xFFFFFFFF};
        due.push_back((high + moment) * 1000);
    }
    while (!ZorXmitEmpty(0)) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const auto sent = machine::DrainSentMidi();
    for (std::size_t i = 0; i < std::min(sent.size(), due.size()); ++i) {
        late.push_back((static_cast<double>(sent[i].Microseconds) - static_cast<double>(due[i])) *
                       1000);
    }
}

// share: 0 to 1.
double Quantile(Lateness& late, double share) {
    std::sort(late.begin(), late.end());
    return late.at(static_cast<std::size_t>(share * static_cast<double>(late.size() - 1)));
}

} // namespace

void MeasureLateness(Results& results) {
    const Library library(Library::Real, true);
    machine::RecordSentMidi(true);
    std::mt19937 random(1);
    Lateness played, slept;
    for (int turn = 0; turn < Turns; ++turn) {
        PlayTurn(RecordTimes(random), played);
        SleepTurn(RecordTimes(random), slept);
    }
    results["pump lateness, median"] = Quantile(played, 0.5);
    results["pump lateness, 99th percentile"] = Quantile(played, 0.99);
    results["sleeping thread, median"] = Quantile(slept, 0.5);
    results["sleeping thread, 99th percentile"] = Quantile(slept, 0.99);
}

} // namespace bench
