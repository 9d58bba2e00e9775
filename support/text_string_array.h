// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A list of strings, such as device names.
#pragma once

#include "support/pointer_array.h"
#include "support/text_string.h"

#include <memory>
#include <new>

namespace Sonorel {

class TextStringArray : public PointerArray<TextString> {
public:
    // Appends a copy of the text. Returns false, and changes nothing, when out of memory.
    bool AppendText(const char* text) {
        std::unique_ptr<TextString> string(new (std::nothrow) TextString(text));
        if (!string || !Append(string.get())) return false;
        static_cast<void>(string.release()); // now owned by the list
        return true;
    }
};

} // namespace Sonorel
