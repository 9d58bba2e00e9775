// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "score/pulse_manner.h"

#include <algorithm>
#include <cmath>

namespace score {

namespace {

constexpr double UsualDivisionChange = 2.2; // from pulses in two to pulses in three, or back
constexpr double Trust = 20; // pulses: how much the usual manner counts beside what is found

} // namespace

void PulseDivision::UpdateCosts() {
    for (std::size_t tick = 0; tick < TicksPerPulse; ++tick) {
        const double probability = OnsetProbability[tick];
        OnsetCost[tick] = -std::log(probability); // infinite for 0
        SilenceCost[tick + 1] = SilenceCost[tick] - std::log(1 - probability);
    }
}

PulseManner UsualManner(const PulseOptions& options) {
    PulseManner manner;
    manner.DivisionChange = UsualDivisionChange;
    auto& [two, three] = manner.Divisions;
    const double fine = options.Fine ? 1 : 0;
    two.OnsetProbability[0] = three.OnsetProbability[0] = .85;
    constexpr std::size_t eighth = TicksPerPulse / 8, sixth = TicksPerPulse / 6; // of a pulse
    two.OnsetProbability[4 * eighth] = .5;
    two.OnsetProbability[2 * eighth] = .08 * fine;
    two.OnsetProbability[6 * eighth] = .12 * fine;
    for (const std::size_t n : {1, 3, 5, 7}) two.OnsetProbability[n * eighth] = .004 * fine;
    three.OnsetProbability[2 * sixth] = .5;
    three.OnsetProbability[4 * sixth] = .6;
    three.OnsetProbability[sixth] = .012 * fine;
    for (const std::size_t n : {3, 5}) three.OnsetProbability[n * sixth] = .03 * fine;
    for (PulseDivision& division : manner.Divisions) division.UpdateCosts();
    return manner;
}

void Learn(PulseManner& manner, const PulseTrack& track) {
    double pulses[2] = {}, changes = 0;
    std::array<double, TicksPerPulse> counts[2] = {};
    for (std::size_t i = 0; i < track.Ticks.size(); ++i) {
        const std::size_t division = track.InThree[i] ? 1 : 0;
        counts[division][static_cast<std::size_t>(track.Ticks[i] % TicksPerPulse)] += 1;
        if (i == 0) continue;
        if (track.InThree[i] != track.InThree[i - 1]) changes += 1;
        pulses[track.InThree[i - 1] ? 1 : 0] +=
            std::min(track.Ticks[i] / TicksPerPulse - track.Ticks[i - 1] / TicksPerPulse, 4);
    }
    for (int d = 0; d < 2; ++d) {
        PulseDivision& division = manner.Divisions[d];
        for (std::size_t tick = 0; tick < TicksPerPulse; ++tick) {
            double& probability = division.OnsetProbability[tick];
            if (probability > 0)
                probability =
                    std::min(.97, (counts[d][tick] + Trust * probability) / (pulses[d] + Trust));
        }
        division.UpdateCosts();
    }
    const double all = pulses[0] + pulses[1] + Trust;
    manner.DivisionChange = -std::log((changes + Trust * std::exp(-UsualDivisionChange)) / all);
}

} // namespace score
