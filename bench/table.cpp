// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "bench/table.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <thread>
#include <vector>

namespace bench {
namespace {

class LeastTime : public benchmark::BenchmarkReporter {
public:
    explicit LeastTime(Results& output) : results(output) {}
    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration) continue;
            const auto records = run.counters.find("records");
            const double each = records == run.counters.end() ? 1.0 : records->second.value;
            const double time = run.GetAdjustedCPUTime() / each;
            const auto [known, isNew] = results.try_emplace(run.run_name.function_name, time);
            if (!isNew) known->second = std::min(known->second, time);
        }
    }

private:
    Results& results;
};

std::string Time(double nanoseconds) {
    char text[32];
    if (nanoseconds < 10000) {
        std::snprintf(text, sizeof text, "%.1f ns", nanoseconds);
    } else {
        std::snprintf(text, sizeof text, "%.1f us", nanoseconds / 1000);
    }
    return text;
}

void PrintRatio(const Results& results, const Ratio& line) {
    const auto what = results.find(line.What), against = results.find(line.Against);
    if (what == results.end() || against == results.end())
        return; // filtered out by --benchmark_filter
    const double ratio = what->second / against->second;
    std::printf("  %-44s %11s  %-34s %11s %8.2f", line.What, Time(what->second).c_str(),
                line.Against, Time(against->second).c_str(), ratio);
    if (line.Target > 0) {
        std::printf("  %5.1f %s", line.Target, ratio <= line.Target ? "met" : "MISSED");
    }
    if (line.AtLeast > 0) {
        std::printf("  at least %.0f %s", line.AtLeast, ratio >= line.AtLeast ? "met" : "MISSED");
    }
    std::printf("\n");
}

} // namespace

Results RunBenchmarks(int argc, char** argv) {
    // A lock is cheaper in a process with one thread, which no host is, so there is a second one.
    std::jthread second([](const std::stop_token& stop) {
        std::mutex lock;
        std::unique_lock held(lock);
        std::condition_variable_any().wait(held, stop, [] { return false; });
    });
    static char repetitions[] = "--benchmark_repetitions=15";
    static char time[] = "--benchmark_min_time=0.02";
    static char order[] = "--benchmark_enable_random_interleaving=true";
    std::vector<char*> arguments = {argv[0], repetitions, time, order};
    arguments.insert(arguments.end(), argv + 1, argv + argc); // the caller's override ours
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    Results results;
    LeastTime reporter(results);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return results;
}

void PrintSection(const char* title, const Results& results, std::span<const Ratio> ratios) {
    std::printf("%s\n", title);
    for (const Ratio& line : ratios) PrintRatio(results, line);
}

} // namespace bench
