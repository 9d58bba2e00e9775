// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/terminal/progress.h"

#include "host/terminal/terminal.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace zorhost {

Progress::Progress() : OnTerminal(IsTerminal(STDERR_FILENO)) {}

namespace {

// Cuts a line to the width of the terminal, between fields, which two blanks separate.
std::string CutToWidth(const std::string& line) {
    const auto room = static_cast<std::size_t>(TerminalWidth() - 1);
    if (line.size() <= room) return line;
    const std::size_t end = line.rfind("  ", room);
    return line.substr(0, end == std::string::npos || end == 0 ? room : end);
}

} // namespace

void Progress::Show(const std::string& line) {
    using namespace std::chrono_literals;
    if (OnTerminal) {
        LastLine = CutToWidth(line);
        std::fprintf(stderr, "\r%s\033[K", LastLine.c_str());
        LineOpen = true;
    } else {
        std::fprintf(stderr, "%s\n", line.c_str());
    }
    std::fflush(stderr);
    NextTime = std::chrono::steady_clock::now() + (OnTerminal ? 100ms : 2000ms);
}

// Prints the line again, since the terminal may have echoed ^C behind it.
void Progress::End() {
    if (OnTerminal) std::fprintf(stderr, "\r%s\033[K%s", LastLine.c_str(), LineOpen ? "\n" : "");
    LineOpen = false;
    LastLine.clear();
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
