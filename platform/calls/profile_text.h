// A private-profile file as text: its lines stay as they are but for the one that is changed.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace machine {

// Names of sections and keys are compared without regard to case and to the blanks around them. Of
// two sections or keys with the same name the first counts. A byte-order mark is kept.
class ProfileText {
public:
    // Reads the bytes once; after that a value is found without going through them again.
    explicit ProfileText(std::string bytes = {});
    const std::string& Bytes() const { return Text; }

    // The value without the blanks around it and without one pair of quotes around the rest.
    std::optional<std::string_view> Value(std::string_view section, std::string_view key) const;

    // The bytes with the key set: in its place, at the end of its section, or in a new section at
    // the end. The value goes in as it stands.
    std::string With(std::string_view section, std::string_view key, std::string_view value) const;

private:
    struct Entry {
        std::size_t At, Length; // of its line, without the line's end
    };
    std::string_view Line(const Entry& entry) const {
        return std::string_view(Text).substr(entry.At, entry.Length);
    }
    std::string WithLine(std::size_t at, const std::string& line) const;

    std::string Text;
    std::unordered_map<std::string, std::size_t> SectionEnds; // behind the last line not blank
    std::unordered_map<std::string, Entry> Entries;           // by section and key
};

} // namespace machine
