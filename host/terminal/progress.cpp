#include "host/terminal/progress.h"

#include "host/terminal/terminal.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace zorhost {

Progress::Progress() : Terminal(IsTerminal(STDERR_FILENO)) {}

namespace {

// What has room on the terminal: whole fields, which two blanks part.
std::string Fitting(const std::string& line) {
    const auto room = static_cast<std::size_t>(TerminalWidth() - 1);
    if (line.size() <= room) return line;
    const std::size_t end = line.rfind("  ", room);
    return line.substr(0, end == std::string::npos || end == 0 ? room : end);
}

} // namespace

void Progress::Show(const std::string& line) {
    using namespace std::chrono_literals;
    if (Terminal) {
        Last = Fitting(line);
        std::fprintf(stderr, "\r%s\033[K", Last.c_str());
        Open = true;
    } else {
        std::fprintf(stderr, "%s\n", line.c_str());
    }
    std::fflush(stderr);
    Next = std::chrono::steady_clock::now() + (Terminal ? 100ms : 2000ms);
}

// Once more, over the ^C that the terminal may have put behind it, or where it would have stood.
void Progress::End() {
    if (Terminal) std::fprintf(stderr, "\r%s\033[K%s", Last.c_str(), Open ? "\n" : "");
    Open = false;
    Last.clear();
}

std::string ClockText(std::int64_t milliseconds) {
    const std::int64_t tenths = std::max<std::int64_t>(0, milliseconds) / 100;
    const auto hours = static_cast<long long>(tenths / 36000);
    const int minutes = static_cast<int>(tenths / 600 % 60);
    char text[64];
    if (hours > 0) {
        std::snprintf(text, sizeof text, "%lld:%02d:%02d.%d", hours, minutes,
                      static_cast<int>(tenths / 10 % 60), static_cast<int>(tenths % 10));
    } else {
        std::snprintf(text, sizeof text, "%d:%02d.%d", minutes, static_cast<int>(tenths / 10 % 60),
                      static_cast<int>(tenths % 10));
    }
    return text;
}

std::string Bar(std::int64_t part, std::int64_t whole, int width) {
    const std::int64_t share = whole > 0 ? part * width / whole : width;
    const auto filled = static_cast<std::size_t>(std::clamp<std::int64_t>(share, 0, width));
    return "[" + std::string(filled, '#') +
           std::string(static_cast<std::size_t>(width) - filled, '-') + "]";
}

} // namespace zorhost
