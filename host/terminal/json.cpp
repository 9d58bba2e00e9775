// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/terminal/json.h"

#include <algorithm>

namespace zorhost {

namespace {

// Returns the length in bytes of the UTF-8 character at a position; 0 if it is not valid UTF-8.
std::size_t CharacterSize(const std::string& text, std::size_t at) {
    const auto byte = [&](std::size_t i) {
        return at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0u;
    };
    const auto continues = [&](std::size_t i) { return (byte(i) & 0xC0) == 0x80; };
    const unsigned first = byte(0);
    if (first < 0x80) return 1;
    if (first >= 0xC2 && first < 0xE0) return continues(1) ? 2 : 0;
    const unsigned firstTwo = first << 8 | byte(1);
    // Not valid: longer encodings of shorter characters, and surrogates.
    const bool overlong =
        (firstTwo >= 0xE080 && firstTwo < 0xE0A0) || (firstTwo >= 0xF080 && firstTwo < 0xF090);
    const bool surrogate = firstTwo >= 0xEDA0 && firstTwo < 0xEDC0;
    if (first < 0xE0 || firstTwo >= 0xF490 || overlong || surrogate || !continues(1) ||
        !continues(2))
        return 0;
    if (first < 0xF0) return 3;
    return continues(3) ? 4 : 0;
}

std::string Latin1ToUtf8(unsigned char byte) {
    return {static_cast<char>(0xC0 | byte >> 6), static_cast<char>(0x80 | (byte & 0x3F))};
}

} // namespace

std::string Utf8(const std::string& raw) {
    std::string text;
    for (std::size_t at = 0; at < raw.size();) {
        const auto byte = static_cast<unsigned char>(raw[at]);
        const std::size_t size = CharacterSize(raw, at);
        const std::string character = size > 0 ? raw.substr(at, size) : Latin1ToUtf8(byte);
        const bool control = character >= "\xC2\x80" && character < "\xC2\xA0";
        text += byte < 0x20 || byte == 0x7F || control ? " " : character;
        at += std::max<std::size_t>(1, size);
    }
    return text;
}

std::string Json::Quoted(const std::string& text) {
    std::string out = "\"";
    for (const char c : Utf8(text)) {
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    return out + "\"";
}

Json& Json::Add(const char* key, const std::vector<std::string>& texts) {
    std::string list;
    for (const std::string& text : texts) list += (list.empty() ? "" : ",") + Quoted(text);
    return AddRaw(key, "[" + list + "]");
}

} // namespace zorhost
