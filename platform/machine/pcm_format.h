// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Formats of sampled sound.
#pragma once

#include <array>

namespace machine {

struct PcmFormat {
    unsigned Rate;     // frames per second
    unsigned Channels; // 1 or 2
    unsigned Bits;     // 8 or 16
    friend bool operator==(const PcmFormat&, const PcmFormat&) = default;
};

// The formats that have a bit in dwFormats of capabilities, in the order of the bits.
constexpr std::array<PcmFormat, 12> CommonFormats = {{{11025, 1, 8},
                                                      {11025, 2, 8},
                                                      {11025, 1, 16},
                                                      {11025, 2, 16},
                                                      {22050, 1, 8},
                                                      {22050, 2, 8},
                                                      {22050, 1, 16},
                                                      {22050, 2, 16},
                                                      {44100, 1, 8},
                                                      {44100, 2, 8},
                                                      {44100, 1, 16},
                                                      {44100, 2, 16}}};

} // namespace machine
