#include "platform/kernel/utf16.h"

#include <cstdint>

namespace machine {
namespace {

constexpr char32_t Replacement = 0xFFFD;

std::uint8_t Byte(char c) { return static_cast<std::uint8_t>(c); }

void AppendUtf8(std::string& text, char32_t c) {
    const auto put = [&text](char32_t byte) { text.push_back(static_cast<char>(byte)); };
    const auto follow = [&](int shift) { put(0x80 | (c >> shift & 0x3F)); };
    if (c < 0x80) return put(c);
    if (c < 0x800) {
        put(0xC0 | c >> 6);
        return follow(0);
    }
    if (c < 0x10000) {
        put(0xE0 | c >> 12);
    } else {
        put(0xF0 | c >> 18);
        follow(12);
    }
    follow(6);
    follow(0);
}

void AppendUnit(std::string& bytes, char32_t unit) {
    bytes.push_back(static_cast<char>(unit & 0xFF));
    bytes.push_back(static_cast<char>(unit >> 8 & 0xFF));
}

constexpr bool IsHigh(char32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
constexpr bool IsLow(char32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

// Takes one character off the front.
char32_t TakeUtf8(std::string_view& text) {
    const std::uint8_t lead = Byte(text[0]);
    const std::size_t length = lead < 0xC2   ? 1
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF5 ? 4
                                             : 1;
    bool whole = text.size() >= length;
    for (std::size_t i = 1; whole && i < length; ++i) whole = (Byte(text[i]) & 0xC0) == 0x80;
    const std::size_t taken = whole ? length : 1;
    char32_t c = taken == 1 ? lead : lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < taken; ++i) c = c << 6 | (Byte(text[i]) & 0x3Fu);
    text.remove_prefix(taken);
    return c > 0x10FFFF ? Replacement : c;
}

} // namespace

std::string Utf16ToUtf8(std::string_view bytes) {
    std::string text;
    const auto unit = [bytes](std::size_t at) -> char32_t {
        return at + 1 < bytes.size()
                   ? char32_t{Byte(bytes[at])} | char32_t{Byte(bytes[at + 1])} << 8
                   : 0;
    };
    for (std::size_t at = 0; at < bytes.size(); at += 2) {
        const char32_t first = at + 1 < bytes.size() ? unit(at) : Replacement;
        if (IsHigh(first) && IsLow(unit(at + 2))) {
            AppendUtf8(text, 0x10000 + ((first - 0xD800) << 10) + (unit(at + 2) - 0xDC00));
            at += 2;
        } else
            AppendUtf8(text, IsHigh(first) || IsLow(first) ? Replacement : first);
    }
    return text;
}

std::string Utf8ToUtf16(std::string_view text) {
    std::string bytes;
    while (!text.empty()) {
        const char32_t c = TakeUtf8(text);
        if (c < 0x10000) {
            AppendUnit(bytes, c);
        } else {
            AppendUnit(bytes, 0xD800 + ((c - 0x10000) >> 10));
            AppendUnit(bytes, 0xDC00 + ((c - 0x10000) & 0x3FF));
        }
    }
    return bytes;
}

} // namespace machine
