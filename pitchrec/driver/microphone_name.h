// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Identifies a microphone by its name.
#pragma once

#include "support/text_string_array.h"

#include <cstdint>

namespace Sonorel {

// Identifies a microphone across both capture classes, which number devices differently, and across
// changes of device numbers. waveIn truncates names to 31 characters and DirectSound does not, so
// names are compared by their first 31. If several devices match, the only one with exactly the
// same name is chosen, else the one with the same position among them.
class MicrophoneName {
public:
    // devices: the list of a capture class; index: a valid index of it.
    MicrophoneName(const TextStringArray& devices, std::int32_t index);

    // The index of the microphone in a device list of either class; -1 if it is not listed.
    std::int32_t IndexIn(const TextStringArray& devices) const;
    const char* Text() const { return Name.Text(); }

private:
    TextString Name;
    std::int32_t MatchesBefore = 0; // devices before it in the list with the same 31 characters
};

} // namespace Sonorel
