// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Reads and changes the text of a private-profile file: "[section]" lines, "key=value" lines below
// them, and lines of any other kind, which are kept. Names are compared without case and without
// the blanks around them. Of two sections or keys of the same name the first counts. A byte-order
// mark is kept.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace calls {

// The key's value without the blanks around it and without one pair of quotes. Refers into text. No
// value if the section or the key is missing.
std::optional<std::string_view> ProfileValue(std::string_view text, std::string_view section,
                                             std::string_view key);

// The text with the key set: in its old line, at the end of its section, or in a new section at the
// end. The value is not quoted.
std::string WithProfileValue(const std::string& text, std::string_view section,
                             std::string_view key, std::string_view value);

} // namespace calls
