#include "midifile/warnings.h"

#include <algorithm>

namespace midifile {

void Findings::Add(const std::string& what, const std::string& place, std::size_t byte) {
    const auto known = std::ranges::find(Kinds, what, &Kind::What);
    if (known != Kinds.end()) {
        ++known->Count;
        return;
    }
    std::string where = place;
    if (byte > 0) where += (where.empty() ? "byte " : ", byte ") + std::to_string(byte);
    if (Strict) throw Error("is faulty: " + what + (where.empty() ? "" : " (" + where + ")"));
    Kinds.push_back({what, where, 1});
}

std::vector<std::string> Findings::Lines() const {
    std::vector<std::string> lines;
    for (const Kind& kind : Kinds) {
        std::string where = kind.FirstPlace;
        if (kind.Count > 1) where += " and " + std::to_string(kind.Count - 1) + " more";
        lines.push_back(kind.What + (where.empty() ? "" : " (" + where + ")"));
    }
    return lines;
}

} // namespace midifile
