// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "support/text_string.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <new>

namespace Sonorel {

namespace {

std::int32_t Length(const char* text) {
    return text ? static_cast<std::int32_t>(std::strlen(text)) : 0;
}

// Uninitialised memory for length characters, a count byte and NUL; null when out of memory.
char* NewRep(std::int32_t length) {
    return new (std::nothrow) char[static_cast<std::size_t>(length) + 2];
}

} // namespace

char TextString::SharedEmpty[2] = {0, 0};

TextString::TextString(const char* text) { Assign(text, Length(text)); }

TextString::TextString(std::int32_t number) {
    char digits[12];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    Assign(digits, static_cast<std::int32_t>(end - digits));
}

TextString::TextString(const TextString& other) { Assign(other.Text(), Length(other.Text())); }

TextString::~TextString() {
    if (Rep != SharedEmpty) delete[] Rep;
}

void TextString::Assign(const char* text, std::int32_t length) {
    if (length == 0) return;
    char* rep = NewRep(length);
    if (!rep) return;
    rep[0] = static_cast<char>(length & 0xFF);
    std::memcpy(rep + 1, text, static_cast<std::size_t>(length));
    rep[length + 1] = '\0';
    Rep = rep;
    Capacity = length;
}

bool TextString::Append(const char* text) {
    const std::int32_t added = Length(text);
    if (added == 0) return true;
    const std::int32_t length = Length(Text());
    const std::int32_t total = length + added;
    if (total <= Capacity) {
        std::memcpy(Rep + 1 + length, text, static_cast<std::size_t>(added));
        Rep[total + 1] = '\0';
        return true;
    }
    char* rep = NewRep(total);
    if (!rep) return false;
    rep[0] = static_cast<char>(std::min(total, 255));
    std::memcpy(rep + 1, Text(), static_cast<std::size_t>(length));
    std::memcpy(rep + 1 + length, text, static_cast<std::size_t>(added));
    rep[total + 1] = '\0';
    if (Rep != SharedEmpty) delete[] Rep;
    Rep = rep;
    Capacity = total;
    return true;
}

TextString operator+(const char* text, const TextString& string) {
    TextString sum(text);
    sum.Append(string);
    return sum;
}

} // namespace Sonorel
