// Text in the room that a caller has for it.
#pragma once

#include <cstddef>
#include <string_view>

namespace machine {

// Cut to what fits and ended by a zero. Gives the number of characters without that.
inline std::size_t GiveText(std::string_view text, char* to, std::size_t size) {
    const std::size_t length = text.copy(to, size - 1);
    to[length] = '\0';
    return length;
}

// A name in a record of the system's.
template <std::size_t Size>
void CopyName(char (&to)[Size], std::string_view name) {
    GiveText(name, to, Size);
}

} // namespace machine
