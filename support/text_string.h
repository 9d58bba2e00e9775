// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A string of single bytes. An empty string allocates nothing.
#pragma once

#include <cstdint>

namespace Sonorel {

// For composed messages and device names. Each object belongs to one thread. When out of memory an
// existing string stays unchanged and a new one is empty.
class TextString {
public:
    TextString() = default;
    // text may be null: an empty string.
    explicit TextString(const char* text);
    // The number in decimal digits.
    explicit TextString(std::int32_t number);
    TextString(const TextString& other);
    TextString& operator=(const TextString&) = delete;
    ~TextString();

    // Terminated with NUL, never null; valid until the string changes.
    const char* Text() const { return Rep + 1; }

    // Appends a copy of the text, which may be null or this string's own. Returns false when out of
    // memory.
    bool Append(const TextString& other) { return Append(other.Text()); }
    bool Append(const char* text);

    // Characters that Rep can hold without reallocation.
    std::int32_t Capacity = 0;
    // One count byte, the characters, a NUL. Never null.
    char* Rep = SharedEmpty;

    // The Rep of all empty strings; never written or freed.
    static char SharedEmpty[2];

private:
    void Assign(const char* text, std::int32_t length);
};

// text may be null.
TextString operator+(const char* text, const TextString& string);

} // namespace Sonorel
