// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "midifile/warnings.h"

#include <algorithm>

namespace midifile {

// Only the first location of each kind is kept.
void Warnings::Add(const std::string& text, const std::string& location, std::size_t byte) {
    const auto known = std::ranges::find(Kinds, text, &Kind::Text);
    if (known != Kinds.end()) {
        ++known->Count;
        return;
    }
    std::string where = location;
    if (byte > 0) where += (where.empty() ? "byte " : ", byte ") + std::to_string(byte);
    if (Strict) throw Error("is invalid: " + text + (where.empty() ? "" : " (" + where + ")"));
    Kinds.push_back({text, where, 1});
}

std::vector<std::string> Warnings::Lines() const {
    std::vector<std::string> lines;
    for (const Kind& kind : Kinds) {
        std::string where = kind.FirstLocation;
        if (kind.Count > 1) where += " and " + std::to_string(kind.Count - 1) + " more";
        lines.push_back(kind.Text + (where.empty() ? "" : " (" + where + ")"));
    }
    return lines;
}

} // namespace midifile
