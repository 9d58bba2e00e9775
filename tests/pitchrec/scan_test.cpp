// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The fast scan finds the same cycles as the plain one in random windows.
#include "pitchrec/cycle_scan.h"
#include "pitchrec/plain_scan.h"
#include "tests/pitchrec/signal.h"

#include <gtest/gtest.h>

#include <vector>

using namespace Sonorel;

namespace {

std::vector<std::pair<std::int32_t, std::int32_t>> Cycles(const CycleTable& table) {
    std::vector<std::pair<std::int32_t, std::int32_t>> cycles;
    for (std::size_t k = 0; k < static_cast<std::size_t>(table.Count); ++k)
        cycles.emplace_back(table.Entries[k].PeakIndex, table.Entries[k].Length);
    return cycles;
}

TEST(Scan, GivesThePlainScansCyclesOnRandomWindows) {
    std::mt19937 random(1);
    const std::size_t counts[] = {0,   1,   2,   3,   63,   64,   65,  127,
                                  128, 129, 512, 557, 1024, 1999, 2048};
    for (int round = 0; round < 20000; ++round) {
        // Exactly as long as the window, so the address sanitizer catches a read outside.
        const std::size_t count = counts[random() % std::size(counts)];
        const int peak =
            static_cast<int>(random() % 3 == 0 ? 1 + random() % 32768 : 1 + random() % 128);
        Signal signal(random, 22050, peak);
        std::vector<std::int16_t> window(count);
        for (std::int16_t& sample : window)
            sample = static_cast<std::int16_t>(std::clamp(signal.Next(), -32768.0, 32767.0));
        PeakThresholds thresholds{};
        thresholds.Positive = static_cast<std::int32_t>(random() % static_cast<unsigned>(peak + 1));
        thresholds.Negative =
            -static_cast<std::int32_t>(random() % static_cast<unsigned>(peak + 1));
        thresholds.PositiveDominates = random() % 2 == 0;
        const auto firstNew = static_cast<std::int32_t>(random() % (count + 1));
        const auto length = static_cast<std::int32_t>(count);
        ASSERT_EQ(Cycles(ScanCycles(window.data(), length, firstNew, thresholds)),
                  Cycles(PlainScanCycles(window.data(), length, firstNew, thresholds)))
            << "round " << round << " count " << count << " peak " << peak;
    }
}

} // namespace
