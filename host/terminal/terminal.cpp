// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/terminal/terminal.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string_view>
#include <unistd.h>

namespace zorhost {

namespace {

const char* EscapeSequence(Colour colour) {
    switch (colour) {
    case Colour::Green:
        return "\033[32m";
    case Colour::Yellow:
        return "\033[33m";
    case Colour::Cyan:
        return "\033[36m";
    case Colour::Magenta:
        return "\033[35m";
    case Colour::Dim:
        return "\033[2m";
    default:
        return "";
    }
}

bool HasColours() {
    const char* const none = std::getenv("NO_COLOR");
    const char* const kind = std::getenv("TERM");
    return IsTerminal(STDOUT_FILENO) && !(none && *none) && !(kind && !std::strcmp(kind, "dumb"));
}

// Wraps one line, which begins at a column. Its leading blanks are kept.
std::string WrappedLine(const std::string& line, std::size_t width, std::size_t indent,
                        std::size_t column) {
    std::istringstream words(line);
    std::string text(std::min(line.find_first_not_of(' '), line.size()), ' ');
    column += text.size();
    bool afterFirst = false;
    for (std::string word; words >> word; afterFirst = true) {
        if (afterFirst && column + 1 + word.size() > width) {
            text += "\n" + std::string(indent, ' ');
            column = indent;
        } else if (afterFirst) {
            text += ' ';
            ++column;
        }
        text += word;
        column += word.size();
    }
    return text;
}

} // namespace

bool IsNarrow(int columns) { return IsTerminal(STDOUT_FILENO) && TerminalWidth() < columns; }

std::string Coloured(const std::string& text, Colour colour) {
    static const bool colours = HasColours();
    return colours && colour != Colour::Plain ? EscapeSequence(colour) + text + "\033[0m" : text;
}

std::string Wrapped(const std::string& text, int width, int indent, int first) {
    const auto edge = static_cast<std::size_t>(indent);
    auto column = static_cast<std::size_t>(first);
    std::istringstream lines(text);
    std::string all;
    for (std::string line; std::getline(lines, line); column = edge) {
        if (!all.empty()) all += "\n" + std::string(edge, ' ');
        all += WrappedLine(line, static_cast<std::size_t>(width), edge, column);
    }
    return all;
}

// Formats twice: once to measure, once to print.
void PrintRow(int indent, const char* format, ...) {
    va_list values, again;
    va_start(values, format);
    va_copy(again, values);
    const int size = std::vsnprintf(nullptr, 0, format, values);
    std::string row(static_cast<std::size_t>(size) + 1, ' ');
    std::vsnprintf(row.data(), row.size(), format, again);
    va_end(again);
    va_end(values);
    row.pop_back();
    std::printf("%s\n", (IsNarrow(size) ? Wrapped(row, TerminalWidth(), indent) : row).c_str());
}

} // namespace zorhost
