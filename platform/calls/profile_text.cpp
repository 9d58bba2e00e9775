// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/calls/profile_text.h"

#include <algorithm>
#include <strings.h>

namespace calls {
namespace {

constexpr std::string_view Utf8Mark = "\xEF\xBB\xBF";

std::string_view Trim(std::string_view text) {
    constexpr std::string_view blanks = " \t\v\f\r\n";
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

bool SameName(std::string_view one, std::string_view other) {
    one = Trim(one), other = Trim(other);
    return one.size() == other.size() && strncasecmp(one.data(), other.data(), one.size()) == 0;
}

struct Place {
    std::string_view Line;      // the key's, without the line end; empty if there is none
    std::size_t SectionEnd = 0; // behind the section's last line that is not blank; 0 if missing
};

// Ignores lines that are neither "[section]" nor "key=value", comments included.
Place Find(std::string_view text, std::string_view section, std::string_view key) {
    Place place;
    std::size_t at = text.starts_with(Utf8Mark) ? Utf8Mark.size() : 0;
    while (at < text.size()) {
        const std::size_t begin = at;
        at = std::min(text.find('\n', at), text.size() - 1) + 1;
        const std::string_view line = Trim(text.substr(begin, at - begin));
        const std::size_t bracket = line.find(']'), equals = line.find('=');
        if (line.starts_with('[') && bracket != line.npos) {
            if (place.SectionEnd) break;
            if (SameName(line.substr(1, bracket - 1), section)) place.SectionEnd = at;
        } else if (place.SectionEnd && !line.empty()) {
            place.SectionEnd = at;
            if (equals == line.npos || line.starts_with(';')) continue;
            if (SameName(line.substr(0, equals), key)) return {line, at};
        }
    }
    return place;
}

// Inserts a line at this place, with the line end of the text's first line.
std::string WithLine(std::string text, std::size_t at, const std::string& line) {
    const std::size_t first = text.find('\n');
    const bool plain = first != text.npos && (first == 0 || text[first - 1] != '\r');
    const std::string end = plain ? "\n" : "\r\n";
    const bool unfinished = at > 0 && text[at - 1] != '\n' && text != Utf8Mark;
    return text.insert(at, (unfinished ? end : "") + line + end);
}

} // namespace

std::optional<std::string_view> ProfileValue(std::string_view text, std::string_view section,
                                             std::string_view key) {
    const std::string_view line = Find(text, section, key).Line;
    if (line.empty()) return std::nullopt;
    const std::string_view value = Trim(line.substr(line.find('=') + 1));
    const bool quoted = value.size() >= 2 && value.front() == value.back() &&
                        (value.front() == '"' || value.front() == '\'');
    return quoted ? value.substr(1, value.size() - 2) : value;
}

std::string WithProfileValue(const std::string& text, std::string_view section,
                             std::string_view key, std::string_view value) {
    const auto [old, sectionEnd] = Find(text, section, key);
    // The key keeps its spelling in the file.
    const std::string line = std::string(Trim(old.empty() ? key : old.substr(0, old.find('=')))) +
                             "=" + std::string(value);
    if (!old.empty())
        return std::string(text).replace(static_cast<std::size_t>(old.data() - text.data()),
                                         old.size(), line);
    if (sectionEnd) return WithLine(text, sectionEnd, line);
    const std::string begun = WithLine(text, text.size(), "[" + std::string(Trim(section)) + "]");
    return WithLine(begun, begun.size(), line);
}

} // namespace calls
