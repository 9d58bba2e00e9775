#include "host/playback/click.h"

#include "host/terminal/host_error.h"

#include <charconv>
#include <cmath>

namespace zorhost {

namespace {

constexpr double Begin = 100; // milliseconds from the start of the timer to the first beat
constexpr double Length = 40; // of a click
constexpr std::int16_t Drums = 9;
constexpr std::uint8_t HighBlock = 76, LowBlock = 77; // as General MIDI has them

double Number(const std::string& text, double least, double most, const char* what) {
    double number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error == std::errc() && stop == end && number >= least && number <= most) return number;
    throw HostError("--click: \"" + text + "\" is no number of " + what, ExitWrongUse);
}

} // namespace

Click::Click(const std::vector<std::string>& words)
    : Rate(Number(words.front(), 10, 500, "beats a minute, 10 to 500")) {
    if (words.size() > 1) InBar = static_cast<int>(Number(words[1], 1, 32, "beats a bar, 1 to 32"));
}

double Click::TimeOf(std::int64_t beat) const {
    return Begin + static_cast<double>(beat) * 60000 / Rate;
}

std::int64_t Click::Lead() const { return std::lround(TimeOf(InBar)); }

MIDIEvent Click::Next() const {
    const std::int64_t beat = Sent / 2;
    const bool off = Sent % 2 != 0;
    const bool first = beat % InBar == 0;
    const auto velocity = static_cast<std::uint8_t>(off ? 0 : first ? 110 : 80);
    return {static_cast<std::int32_t>(std::lround(TimeOf(beat) + (off ? Length : 0))),
            0,
            Drums,
            2,
            0x90,
            first ? HighBlock : LowBlock,
            velocity};
}

void Click::Feed(std::int64_t until) {
    for (;; ++Sent) {
        const MIDIEvent event = Next();
        if (event.Time > until || !ZorXmit(ZOR_QUEUE_OUTPUT, &event)) return;
    }
}

} // namespace zorhost
