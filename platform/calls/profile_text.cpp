#include "platform/calls/profile_text.h"

#include <algorithm>
#include <utility>

namespace machine {
namespace {

constexpr std::string_view Utf8Mark = "\xEF\xBB\xBF";

std::string_view Trim(std::string_view text) {
    constexpr std::string_view blanks = " \t\v\f\r\n";
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

// As names are compared.
std::string Name(std::string_view text) {
    std::string name(Trim(text));
    for (char& c : name)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
    return name;
}

std::string EntryName(const std::string& section, std::string_view key) {
    return section + '\n' + Name(key);
}

std::string_view KeyOf(std::string_view line) { return Trim(line.substr(0, line.find('='))); }

std::string_view ValueOf(std::string_view line) {
    const std::string_view value = Trim(line.substr(line.find('=') + 1));
    const bool quoted = value.size() >= 2 && value.front() == value.back() &&
                        (value.front() == '"' || value.front() == '\'');
    return quoted ? value.substr(1, value.size() - 2) : value;
}

} // namespace

// Lines that are neither "[section]" nor "key=value", comments among them, mean nothing.
ProfileText::ProfileText(std::string bytes) : Text(std::move(bytes)) {
    std::string section;
    std::size_t* end = nullptr; // of the section, unless another of its name came before
    std::size_t at = Text.starts_with(Utf8Mark) ? Utf8Mark.size() : 0;
    for (std::size_t next = at; at < Text.size(); at = next) {
        next = std::min(Text.find('\n', at), Text.size() - 1) + 1;
        const std::string_view line = Trim(std::string_view(Text).substr(at, next - at));
        const std::size_t bracket = line.find(']');
        if (line.starts_with('[') && bracket != line.npos) {
            section = Name(line.substr(1, bracket - 1));
            const auto [place, first] = SectionEnds.try_emplace(section, next);
            end = first ? &place->second : nullptr;
        } else if (end && !line.empty()) {
            *end = next;
            const Entry entry{static_cast<std::size_t>(line.data() - Text.data()), line.size()};
            if (line.find('=') != line.npos && !line.starts_with(';'))
                Entries.try_emplace(EntryName(section, KeyOf(line)), entry);
        }
    }
}

std::optional<std::string_view> ProfileText::Value(std::string_view section,
                                                   std::string_view key) const {
    const auto entry = Entries.find(EntryName(Name(section), key));
    if (entry == Entries.end()) return std::nullopt;
    return ValueOf(Line(entry->second));
}

// With a line of its own at this place, ended as the file ends its first.
std::string ProfileText::WithLine(std::size_t at, const std::string& line) const {
    const std::size_t first = Text.find('\n');
    const bool plain = first != Text.npos && (first == 0 || Text[first - 1] != '\r');
    const std::string end = plain ? "\n" : "\r\n";
    const bool unfinished = at > 0 && Text[at - 1] != '\n' && Text != Utf8Mark;
    return std::string(Text).insert(at, (unfinished ? end : "") + line + end);
}

std::string ProfileText::With(std::string_view section, std::string_view key,
                              std::string_view value) const {
    const std::string assigned = "=" + std::string(value);
    const std::string name = Name(section);
    if (const auto entry = Entries.find(EntryName(name, key)); entry != Entries.end()) {
        const auto& [at, length] = entry->second; // the key spelled as it was
        return std::string(Text).replace(at, length,
                                         std::string(KeyOf(Line(entry->second))) + assigned);
    }
    const std::string line = std::string(Trim(key)) + assigned;
    if (const auto end = SectionEnds.find(name); end != SectionEnds.end())
        return WithLine(end->second, line);
    const ProfileText begun(WithLine(Text.size(), "[" + std::string(Trim(section)) + "]"));
    return begun.WithLine(begun.Text.size(), line);
}

} // namespace machine
