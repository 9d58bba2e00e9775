// One table of ratios from several programs: each measures its own subject and the baselines beside
// it in the same run, and prints its section.
#pragma once

#include <map>
#include <span>
#include <string>

namespace bench {

// Nanoseconds by name: of one round of a benchmark, or whatever a program adds by itself.
using Results = std::map<std::string, double>;

// Runs the registered benchmarks several times in random order, and keeps the least processor time
// of each: what else the machine does can only add to it. A second thread stands by, so that locks
// cost what they cost in a real host. A benchmark whose round handles several
// records says how many in the counter "records", and its time is that of one.
Results RunBenchmarks(int argc, char** argv);

struct Ratio {
    const char* What;    // a name of the results
    const char* Against; // its baseline
    double Target;       // the ratio to stay within; 0 for none
    double AtLeast = 0;  // or the ratio to reach, where what is measured is the rival
};

// Prints one line for each ratio.
void PrintSection(const char* title, const Results& results, std::span<const Ratio> ratios);

} // namespace bench
