#include "platform/calls/profile_text.h"

#include <algorithm>
#include <utility>

namespace machine {
namespace {

constexpr std::string_view Utf8Mark = "\xEF\xBB\xBF";

std::string_view Trim(std::string_view text) {
    constexpr std::string_view blanks = " \t\v\f\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

// As names are compared.
std::string Name(std::string_view text) {
    std::string name(Trim(text));
    std::transform(name.begin(), name.end(), name.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return name;
}

std::string EntryName(const std::string& section, std::string_view key) {
    return section + '\n' + Name(key);
}

std::string_view Unquote(std::string_view value) {
    const bool quoted = value.size() >= 2 && value.front() == value.back() &&
                        (value.front() == '"' || value.front() == '\'');
    return quoted ? value.substr(1, value.size() - 2) : value;
}

// The name in a "[name]" line.
std::optional<std::string> SectionName(std::string_view line) {
    const std::size_t end = line.find(']');
    if (!line.starts_with('[') || end == std::string_view::npos) return std::nullopt;
    return Name(line.substr(1, end - 1));
}

// The key of a "key=value" line. Lines of another form, comments among them, mean nothing.
std::optional<std::string_view> Key(std::string_view line) {
    const std::size_t equals = line.find('=');
    if (line.starts_with(';') || equals == std::string_view::npos) return std::nullopt;
    return Trim(line.substr(0, equals));
}

} // namespace

ProfileText::ProfileText(std::string bytes) : Text(std::move(bytes)) { ReadLines(); }

void ProfileText::ReadLines() {
    std::string section;
    std::size_t* end = nullptr; // of the section, unless another of its name came before
    std::size_t at = Text.starts_with(Utf8Mark) ? Utf8Mark.size() : 0;
    while (at < Text.size()) {
        const std::size_t next = std::min(Text.find('\n', at), Text.size() - 1) + 1;
        const std::string_view line = Trim(std::string_view(Text).substr(at, next - at));
        if (const auto name = SectionName(line)) {
            const auto [place, first] = SectionEnds.try_emplace(*name, next);
            section = *name;
            end = first ? &place->second : nullptr;
        } else if (end && !line.empty()) {
            *end = next;
            const std::size_t start = static_cast<std::size_t>(line.data() - Text.data());
            if (const auto key = Key(line))
                Entries.try_emplace(EntryName(section, *key), Entry{start, line.size()});
        }
        at = next;
    }
}

std::string_view ProfileText::Line(const Entry& entry) const {
    return std::string_view(Text).substr(entry.At, entry.Length);
}

std::optional<std::string> ProfileText::Value(std::string_view section,
                                              std::string_view key) const {
    const auto entry = Entries.find(EntryName(Name(section), key));
    if (entry == Entries.end()) return std::nullopt;
    const std::string_view line = Line(entry->second);
    return std::string(Unquote(Trim(line.substr(line.find('=') + 1))));
}

// With a line of its own at this place, ended as the file ends its first.
std::string ProfileText::WithLine(std::size_t at, const std::string& line) const {
    const std::size_t first = Text.find('\n');
    const bool plain = first != std::string::npos && (first == 0 || Text[first - 1] != '\r');
    const std::string end = plain ? "\n" : "\r\n";
    const bool unfinished = at > 0 && Text[at - 1] != '\n' && Text != Utf8Mark;
    return std::string(Text).insert(at, (unfinished ? end : "") + line + end);
}

std::string ProfileText::With(std::string_view section, std::string_view key,
                              std::string_view value) const {
    const auto line = [value](std::string_view name) {
        return std::string(name) + "=" + std::string(value);
    };
    const std::string name = Name(section);
    if (const auto entry = Entries.find(EntryName(name, key)); entry != Entries.end()) {
        const auto& [at, length] = entry->second; // the key spelled as it was
        return std::string(Text).replace(at, length, line(*Key(Line(entry->second))));
    }
    if (const auto end = SectionEnds.find(name); end != SectionEnds.end())
        return WithLine(end->second, line(Trim(key)));
    const ProfileText begun(WithLine(Text.size(), "[" + std::string(Trim(section)) + "]"));
    return begun.WithLine(begun.Text.size(), line(Trim(key)));
}

} // namespace machine
