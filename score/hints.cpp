// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// What users write about a piece.
#include "score/meter.h"
#include "score/rhythm.h"

namespace score {

std::optional<TimeSignature> ParseTimeSignature(std::string_view text) {
    struct Name {
        const char* Text;
        TimeSignature Meter;
    };
    constexpr Name names[] = {{"2/4", {2, 4}}, {"3/4", {3, 4}}, {"4/4", {4, 4}},
                              {"5/4", {5, 4}}, {"2/2", {2, 2}}, {"3/8", {3, 8}},
                              {"6/8", {6, 8}}, {"9/8", {9, 8}}, {"12/8", {12, 8}}};
    for (const Name& name : names)
        if (text == name.Text) return name.Meter;
    return {};
}

std::optional<RhythmHints::Grid> ParseGrid(std::string_view text) {
    if (text == "8") return RhythmHints::Grid::Halves;
    if (text == "16") return RhythmHints::Grid::Fourths;
    if (text == "triplets") return RhythmHints::Grid::Thirds;
    return {};
}

} // namespace score
