// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Notes as a score and as a MIDI file.
#pragma once

#include "zorhearing/zorhearing.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace zorhearing {

// A parameter that cannot be used. Reason: an English sentence, valid for ever.
struct BadValue {
    const char* Reason;
};

// MusicXML in UTF-8. notes: at least one. Throws BadValue and std::bad_alloc.
std::string MusicXml(std::span<const ZorHearNote> notes, const ZorHearScoreOptions& options);
// A file of type 1. The same errors.
std::vector<std::uint8_t> MidiFile(std::span<const ZorHearNote> notes, double quartersPerMinute);

} // namespace zorhearing
