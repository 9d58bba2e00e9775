// The fast scan gives the plain one's cycles on every kind of window.
#include "pitchrec/cycle_scan.h"
#include "pitchrec/plain_scan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

using namespace Sonorel;

namespace {

using Samples = std::vector<std::int16_t>;

// Random material that meets every branch: tones, noise, square waves and plateaus of equal peaks,
// sparse clicks, long silences, offsets that leave few crossings.
Samples RandomWindow(std::mt19937& random, std::size_t count, int peak) {
    const auto pick = [&](int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random);
    };
    const int kind = pick(0, 5);
    const double period = std::exp(std::uniform_real_distribution<>(1.0, 6.5)(random));
    const int noise = pick(0, 3) == 0 ? peak / 3 : pick(0, 2);
    const int offset = pick(0, 3) == 0 ? pick(-peak / 2, peak / 2) : 0;
    Samples samples(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double phase = static_cast<double>(i) / period;
        double value = 0;
        if (kind == 0) value = peak * std::sin(2 * M_PI * phase);
        if (kind == 1) value = pick(-peak, peak);
        if (kind == 2) value = std::fmod(phase, 1.0) < 0.5 ? peak : -peak;
        if (kind == 3) value = pick(0, 40) == 0 ? pick(-peak, peak) : 0;
        if (kind == 4)
            value = peak * (0.5 * std::sin(2 * M_PI * phase) + 0.5 * std::sin(6 * M_PI * phase));
        if (kind == 5) value = pick(-2, 2);
        const double whole = value + pick(-noise, noise) + offset;
        samples[i] = static_cast<std::int16_t>(std::clamp(whole, -32768.0, 32767.0));
    }
    return samples;
}

testing::AssertionResult SameCycles(const CycleTable& a, const CycleTable& b) {
    if (a.Count != b.Count)
        return testing::AssertionFailure() << a.Count << " cycles instead of " << b.Count;
    for (std::size_t k = 0; k < static_cast<std::size_t>(a.Count); ++k)
        if (a.Entries[k].PeakIndex != b.Entries[k].PeakIndex ||
            a.Entries[k].Length != b.Entries[k].Length)
            return testing::AssertionFailure() << "cycle " << k << " at " << a.Entries[k].PeakIndex
                                               << " instead of " << b.Entries[k].PeakIndex;
    return testing::AssertionSuccess();
}

TEST(Scan, GivesThePlainScansCyclesOnRandomWindows) {
    std::mt19937 random(1);
    const std::size_t counts[] = {0,   1,   2,   3,   63,   64,   65,  127,
                                  128, 129, 512, 557, 1024, 1999, 2048};
    for (int round = 0; round < 20000; ++round) {
        // Exactly as long as the window: a read outside is caught by the address sanitizer.
        const std::size_t count = counts[random() % std::size(counts)];
        const int peak =
            static_cast<int>(random() % 3 == 0 ? 1 + random() % 32768 : 1 + random() % 128);
        const Samples window = RandomWindow(random, count, peak);
        PeakThresholds thresholds{};
        thresholds.Positive = static_cast<std::int32_t>(random() % static_cast<unsigned>(peak + 1));
        thresholds.Negative =
            -static_cast<std::int32_t>(random() % static_cast<unsigned>(peak + 1));
        thresholds.PositiveDominates = random() % 2 == 0;
        const auto firstNew = static_cast<std::int32_t>(random() % (count + 1));
        const auto length = static_cast<std::int32_t>(count);
        ASSERT_TRUE(SameCycles(ScanCycles(window.data(), length, firstNew, thresholds),
                               PlainScanCycles(window.data(), length, firstNew, thresholds)))
            << "round " << round << " count " << count << " peak " << peak;
    }
}

} // namespace
