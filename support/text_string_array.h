// A list of texts, as the device lists are.
#pragma once

#include "support/pointer_array.h"
#include "support/text_string.h"

#include <memory>
#include <new>

namespace Sonorel {

class TextStringArray : public PointerArray<TextString> {
public:
    // Appends a copy of the text. False: out of memory, and the list is as it was.
    bool AppendText(const char* text) {
        std::unique_ptr<TextString> string(new (std::nothrow) TextString(text));
        if (!string || !Append(string.get())) return false;
        static_cast<void>(string.release()); // the list's
        return true;
    }
};

} // namespace Sonorel
