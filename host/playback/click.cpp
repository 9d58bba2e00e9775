// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/playback/click.h"

#include "host/terminal/host_error.h"
#include "midi/status.h"

#include <charconv>
#include <cmath>

namespace zorhost {

namespace {

constexpr double FirstBeat = 100;                     // milliseconds of the time base
constexpr double ClickLength = 40;                    // milliseconds
constexpr std::int16_t DrumChannel = 9;               // from 0
constexpr std::uint8_t HighBlock = 76, LowBlock = 77; // drum keys of General MIDI

// Parses an argument of --click. what: for the error message.
double Number(const std::string& text, double least, double most, const char* what) {
    double number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error == std::errc() && stop == end && number >= least && number <= most) return number;
    throw HostError("--click: \"" + text + "\" is not a number of " + what, ExitWrongUse);
}

} // namespace

Click::Click(const std::vector<std::string>& arguments)
    : Rate(Number(arguments.front(), 10, 500, "beats per minute, 10 to 500")) {
    if (arguments.size() > 1)
        BarBeats = static_cast<int>(Number(arguments[1], 1, 32, "beats per bar, 1 to 32"));
}

double Click::TimeOf(std::int64_t beat) const {
    return FirstBeat + static_cast<double>(beat) * 60000 / Rate;
}

std::int64_t Click::CountInEnd() const { return std::lround(TimeOf(BarBeats)); }

MIDIEvent Click::NextRecord() const {
    const std::int64_t beat = SentRecords / 2;
    const bool off = SentRecords % 2 != 0;
    const bool first = beat % BarBeats == 0;
    const auto velocity = static_cast<std::uint8_t>(off ? 0 : first ? 110 : 80);
    return {static_cast<std::int32_t>(std::lround(TimeOf(beat) + (off ? ClickLength : 0))),
            0,
            DrumChannel,
            2,
            midi::NoteOn,
            first ? HighBlock : LowBlock,
            velocity};
}

void Click::Feed(std::int64_t until) {
    for (;; ++SentRecords) {
        const MIDIEvent event = NextRecord();
        if (event.Time > until || !ZorXmit(ZOR_QUEUE_OUTPUT, &event)) return;
    }
}

} // namespace zorhost
