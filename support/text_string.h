// A text of single bytes, owned by one string, with the empty one costing nothing.
#pragma once

#include <cstdint>

namespace Sonorel {

// For messages put together from pieces and for device names. Not shared between threads. Where
// memory runs out the string stays as it was; a new one is then empty.
class TextString {
public:
    TextString() = default;
    // Null is an empty text.
    explicit TextString(const char* text);
    // The number in decimal.
    explicit TextString(std::int32_t number);
    TextString(const TextString& other);
    TextString& operator=(const TextString&) = delete;
    ~TextString();

    // Terminated, never null; good until the string changes.
    const char* Text() const { return Rep + 1; }

    // Behind the present text; the string itself and null are good arguments too. False: out of
    // memory.
    bool Append(const TextString& other) { return Append(other.Text()); }
    bool Append(const char* text);

    // Characters that Rep can hold without growing; at least as many as the text has.
    std::int32_t Capacity = 0;
    // One count byte, the characters, a NUL. Never null.
    char* Rep = SharedEmpty;

    // Of all empty strings. Never written, never freed.
    static char SharedEmpty[2];

private:
    void Assign(const char* text, std::int32_t length);
};

// A null text counts as empty.
TextString operator+(const char* text, const TextString& string);

} // namespace Sonorel
