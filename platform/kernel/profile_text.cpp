#include "platform/kernel/profile_text.h"

#include "platform/kernel/utf16.h"

#include <algorithm>
#include <utility>

namespace machine {
namespace {

constexpr std::string_view Utf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view Utf16Mark = "\xFF\xFE";

std::string_view Trim(std::string_view text) {
    constexpr std::string_view blanks = " \t\v\f\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool SameName(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return Lower(x) == Lower(y); });
}

std::string_view Unquote(std::string_view value) {
    const bool quoted = value.size() >= 2 && value.front() == value.back() &&
                        (value.front() == '"' || value.front() == '\'');
    return quoted ? value.substr(1, value.size() - 2) : value;
}

// The name in a "[name]" line.
std::optional<std::string_view> SectionName(std::string_view line) {
    const std::string_view text = Trim(line);
    if (text.empty() || text.front() != '[') return std::nullopt;
    const std::size_t end = text.find(']');
    if (end == std::string_view::npos) return std::nullopt;
    return Trim(text.substr(1, end - 1));
}

struct Entry {
    std::string_view Key;
    std::string_view Value;
};

// The parts of a "key=value" line. Lines of another form, comments among them, mean nothing.
std::optional<Entry> ReadEntry(std::string_view line) {
    const std::string_view text = Trim(line);
    const std::size_t equals = text.find('=');
    if (text.empty() || text.front() == ';' || equals == std::string_view::npos)
        return std::nullopt;
    return Entry{Trim(text.substr(0, equals)), Trim(text.substr(equals + 1))};
}

} // namespace

ProfileText::ProfileText(std::string_view bytes) {
    std::string decoded;
    if (bytes.starts_with(Utf8Mark)) {
        Form = Mark::Utf8;
        bytes.remove_prefix(Utf8Mark.size());
    } else if (bytes.starts_with(Utf16Mark)) {
        Form = Mark::Utf16;
        decoded = Utf16ToUtf8(bytes.substr(Utf16Mark.size()));
        bytes = decoded;
    }
    while (!bytes.empty()) {
        const std::size_t newline = bytes.find('\n');
        const bool last = newline == std::string_view::npos;
        std::string_view text = bytes.substr(0, newline);
        std::string_view end = last ? "" : "\n";
        if (!last && text.ends_with('\r')) {
            text.remove_suffix(1);
            end = "\r\n";
        }
        Lines.push_back({std::string(text), std::string(end)});
        bytes.remove_prefix(last ? bytes.size() : newline + 1);
    }
}

std::string ProfileText::Bytes() const {
    std::string text;
    for (const Line& line : Lines) text += line.Text + line.End;
    switch (Form) {
    case Mark::Utf8:
        return std::string(Utf8Mark) + text;
    case Mark::Utf16:
        return std::string(Utf16Mark) + Utf8ToUtf16(text);
    case Mark::None:
        break;
    }
    return text;
}

std::optional<std::string> ProfileText::Value(std::string_view section,
                                              std::string_view key) const {
    const std::optional<Place> header = FindSection(section);
    if (!header) return std::nullopt;
    const std::optional<Place> place = FindKey(*header, key);
    if (!place) return std::nullopt;
    return std::string(Unquote(ReadEntry(Lines[*place].Text)->Value));
}

std::vector<std::string> ProfileText::Sections() const {
    std::vector<std::string> names;
    for (const Line& line : Lines)
        if (const auto name = SectionName(line.Text)) names.emplace_back(*name);
    return names;
}

std::vector<std::string> ProfileText::Keys(std::string_view section) const {
    std::vector<std::string> keys;
    const std::optional<Place> header = FindSection(section);
    if (!header) return keys;
    for (Place place = *header + 1; place < EndOfSection(*header); ++place)
        if (const auto entry = ReadEntry(Lines[place].Text)) keys.emplace_back(entry->Key);
    return keys;
}

void ProfileText::Set(std::string_view section, std::string_view key, std::string_view value) {
    const auto line = [value](std::string_view name) {
        return std::string(name) + "=" + std::string(value);
    };
    const std::optional<Place> header = FindSection(section);
    if (!header) {
        Insert(Lines.size(), "[" + std::string(Trim(section)) + "]");
        Insert(Lines.size(), line(Trim(key)));
    } else if (const std::optional<Place> place = FindKey(*header, key)) {
        Lines[*place].Text = line(ReadEntry(Lines[*place].Text)->Key); // spelled as it was
    } else {
        Place end = EndOfSection(*header); // before the blank lines that part it from the next
        while (end > *header + 1 && Trim(Lines[end - 1].Text).empty()) --end;
        Insert(end, line(Trim(key)));
    }
}

void ProfileText::Remove(std::string_view section, std::string_view key) {
    const std::optional<Place> header = FindSection(section);
    if (!header) return;
    if (const std::optional<Place> place = FindKey(*header, key))
        Lines.erase(Lines.begin() + static_cast<std::ptrdiff_t>(*place));
}

void ProfileText::RemoveSection(std::string_view section) {
    const std::optional<Place> header = FindSection(section);
    if (!header) return;
    Lines.erase(Lines.begin() + static_cast<std::ptrdiff_t>(*header),
                Lines.begin() + static_cast<std::ptrdiff_t>(EndOfSection(*header)));
}

std::optional<ProfileText::Place> ProfileText::FindSection(std::string_view section) const {
    for (Place place = 0; place < Lines.size(); ++place) {
        const auto name = SectionName(Lines[place].Text);
        if (name && SameName(*name, Trim(section))) return place;
    }
    return std::nullopt;
}

ProfileText::Place ProfileText::EndOfSection(Place header) const {
    Place place = header + 1;
    while (place < Lines.size() && !SectionName(Lines[place].Text)) ++place;
    return place;
}

std::optional<ProfileText::Place> ProfileText::FindKey(Place header, std::string_view key) const {
    for (Place place = header + 1; place < EndOfSection(header); ++place) {
        const auto entry = ReadEntry(Lines[place].Text);
        if (entry && SameName(entry->Key, Trim(key))) return place;
    }
    return std::nullopt;
}

std::string ProfileText::LineEnd() const {
    return Lines.empty() || Lines.front().End.empty() ? "\r\n" : Lines.front().End;
}

void ProfileText::Insert(Place place, std::string text) {
    const std::string end = LineEnd();
    if (place > 0 && Lines[place - 1].End.empty()) Lines[place - 1].End = end;
    Lines.insert(Lines.begin() + static_cast<std::ptrdiff_t>(place), Line{std::move(text), end});
}

} // namespace machine
