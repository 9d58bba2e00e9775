// UTF-16 little-endian files to UTF-8 text and back.
#pragma once

#include <string>
#include <string_view>

namespace machine {

// A lone surrogate or a cut last unit becomes U+FFFD.
std::string Utf16ToUtf8(std::string_view bytes);
// A byte that is no UTF-8 stands for the character of its own number.
std::string Utf8ToUtf16(std::string_view text);

} // namespace machine
