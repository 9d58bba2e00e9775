// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Text in a caller's buffer.
#pragma once

#include <cstddef>
#include <string_view>

namespace calls {

// Copies as much as fits and a final zero. Returns the number of characters without the zero. size:
// in bytes, 1 at least.
inline std::size_t CopyText(std::string_view text, char* buffer, std::size_t size) {
    const std::size_t length = text.copy(buffer, size - 1);
    buffer[length] = '\0';
    return length;
}

// The same for a member of one of the system's records.
template <std::size_t Size>
void CopyName(char (&buffer)[Size], std::string_view name) {
    CopyText(name, buffer, Size);
}

} // namespace calls
