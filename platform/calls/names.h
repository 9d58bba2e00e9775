// Names as the system's records hold them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>

namespace machine {

// Cut to what fits, always ended by a zero, and zeros to the end.
template <std::size_t Size>
void CopyName(char (&to)[Size], const std::string& name) {
    const std::size_t length = std::min(name.size(), Size - 1);
    std::copy_n(name.data(), length, to);
    std::fill(to + length, to + Size, '\0');
}

} // namespace machine
