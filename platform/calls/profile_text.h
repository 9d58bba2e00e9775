// Where things stand in the text of a private-profile file: "[section]" lines, "key=value" lines
// below them, and whatever else a user has written. Names are compared without regard to case and
// to the blanks around them. Of two sections or keys with the same name the first counts. A
// byte-order mark is kept.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace machine {

// The value without the blanks around it and without one pair of quotes around the rest. A part of
// the text.
std::optional<std::string_view> ProfileValue(std::string_view text, std::string_view section,
                                             std::string_view key);

// The text with the key set: in its place, at the end of its section, or in a new section at the
// end. The value goes in as it stands.
std::string WithProfileValue(const std::string& text, std::string_view section,
                             std::string_view key, std::string_view value);

} // namespace machine
