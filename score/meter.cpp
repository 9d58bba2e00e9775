// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "score/meter.h"

namespace score {

namespace {

// Rounded to a regular pattern, not fitted to a corpus: beats are far more likely than the units
// between them, and the first beat of the bar is the most likely one.
constexpr double CommonTime[] = {.85, .04, .28, .05, .65, .04, .28, .05,
                                 .80, .04, .28, .05, .65, .04, .28, .05};
constexpr double ThreeFour[] = {.85, .04, .28, .05, .60, .04, .28, .05, .60, .04, .28, .05};
constexpr double SixEight[] = {.85, .03, .22, .05, .48, .03, .80, .03, .22, .05, .48, .03};

constexpr Meter All[] = {
    {4, 4, 16, GridUnitsPerQuarter, 105, 0, CommonTime},
    {3, 4, 12, GridUnitsPerQuarter, 110, 0.5, ThreeFour},
    {6, 8, 12, 6, 110, 1, SixEight},
};

} // namespace

std::span<const Meter> Meters() { return All; }

} // namespace score
