#include "host/terminal/json.h"

#include <algorithm>

namespace zorhost {

namespace {

// Bytes of the UTF-8 character that begins there; 0 if none does.
std::size_t CharacterAt(const std::string& text, std::size_t at) {
    const auto byte = [&](std::size_t i) {
        return at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0u;
    };
    const auto follows = [&](std::size_t i) { return (byte(i) & 0xC0) == 0x80; };
    const unsigned first = byte(0);
    if (first < 0x80) return 1;
    if (first >= 0xC2 && first < 0xE0) return follows(1) ? 2 : 0;
    const unsigned both = first << 8 | byte(1);
    const bool overlong = (both >= 0xE080 && both < 0xE0A0) || (both >= 0xF080 && both < 0xF090);
    const bool surrogate = both >= 0xEDA0 && both < 0xEDC0;
    if (first < 0xE0 || both >= 0xF490 || overlong || surrogate || !follows(1) || !follows(2))
        return 0;
    if (first < 0xF0) return 3;
    return follows(3) ? 4 : 0;
}

std::string Latin(unsigned char byte) {
    return {static_cast<char>(0xC0 | byte >> 6), static_cast<char>(0x80 | (byte & 0x3F))};
}

} // namespace

std::string Utf8(const std::string& raw) {
    std::string text;
    for (std::size_t at = 0; at < raw.size();) {
        const auto byte = static_cast<unsigned char>(raw[at]);
        const std::size_t size = CharacterAt(raw, at);
        const std::string character = size > 0 ? raw.substr(at, size) : Latin(byte);
        const bool steersTerminals = character >= "\xC2\x80" && character < "\xC2\xA0";
        text += byte < 0x20 || byte == 0x7F || steersTerminals ? " " : character;
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
