// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "bench/cost.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <thread>

namespace bench {
namespace {

// Voluntary context switches of all threads of this process so far.
long WakeUps() {
    long sum = 0;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream status(thread.path() / "status");
        for (std::string line; std::getline(status, line);)
            if (line.starts_with("voluntary_ctxt_switches:")) sum += std::atol(&line[24]);
    }
    return sum;
}

std::size_t Libraries() {
    std::set<std::string> libraries;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        if (const auto path = line.find('/');
            path != std::string::npos && line.find(".so", path) != std::string::npos)
            libraries.insert(line.substr(path));
    return libraries.size();
}

} // namespace

void PrintCost(const char* when) {
    constexpr int seconds = 5;
    const long before = WakeUps();
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    const double wakes =
        static_cast<double>(WakeUps() - before - 1) / seconds; // without the sleep above
    long pages = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    std::printf("  %-34s %6.1f wake-ups/s  %5.1f MiB  %2zu libraries\n", when, wakes,
                static_cast<double>(resident) * 4 / 1024, Libraries());
}

} // namespace bench
