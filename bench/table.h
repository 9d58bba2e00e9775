// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// One table of ratios from several programs. Each measures its subject and its baselines in the
// same run and prints its section.
#pragma once

#include <map>
#include <span>
#include <string>

namespace bench {

// Nanoseconds by name: of one iteration of a benchmark, or added by a program.
using Results = std::map<std::string, double>;

// Runs the registered benchmarks 15 times in random order and returns the least processor time of
// each, since other load of the machine can only add to it. A second thread exists meanwhile, so
// that locks cost as much as in a host. A benchmark whose iteration handles several records sets
// the counter "records" to their number; its time is then per record.
Results RunBenchmarks(int argc, char** argv);

struct Ratio {
    const char* What;    // a name of the results
    const char* Against; // its baseline
    double Target;       // maximum of the ratio; 0 for none
    double AtLeast = 0;  // minimum of the ratio, where the subject is the rival; 0 for none
};

// Prints one line for each ratio.
void PrintSection(const char* title, const Results& results, std::span<const Ratio> ratios);

} // namespace bench
