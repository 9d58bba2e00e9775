// A private-profile file as text: its lines stay as they are but for the one that is changed.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace machine {

// Names of sections and keys are compared without regard to case and to the blanks around them. Of
// two sections or keys with the same name the first counts.
class ProfileText {
public:
    ProfileText() = default;
    // Takes a file's bytes. A byte-order mark is kept, and UTF-16 little-endian is read and written
    // as such; inside, text is UTF-8 or whatever else the file holds.
    explicit ProfileText(std::string_view bytes);
    std::string Bytes() const;

    // The value without the blanks around it and without one pair of quotes around the rest.
    std::optional<std::string> Value(std::string_view section, std::string_view key) const;
    std::vector<std::string> Sections() const;
    std::vector<std::string> Keys(std::string_view section) const;

    // Sets a key: in its place, at the end of its section, or in a new section at the end. The
    // value goes in as it stands.
    void Set(std::string_view section, std::string_view key, std::string_view value);
    // Both are content with what is not there.
    void Remove(std::string_view section, std::string_view key);
    void RemoveSection(std::string_view section);

private:
    enum class Mark { None, Utf8, Utf16 };
    struct Line {
        std::string Text;
        std::string End; // "\r\n", "\n", or nothing on a last line that has none
    };
    using Place = std::size_t; // index of a line

    std::optional<Place> FindSection(std::string_view section) const;
    Place EndOfSection(Place header) const; // of the next header, or of the file's end
    std::optional<Place> FindKey(Place header, std::string_view key) const;
    std::string LineEnd() const; // as the file has it
    void Insert(Place place, std::string text);

    Mark Form = Mark::None;
    std::vector<Line> Lines;
};

} // namespace machine
