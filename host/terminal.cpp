#include "host/terminal.h"

#include "host/interrupt.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

namespace zorhost {

namespace {

termios restored = {}; // for the signal that ends the program

void Restore() { tcsetattr(STDIN_FILENO, TCSANOW, &restored); }

const char* Code(Colour colour) {
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
    return isatty(STDOUT_FILENO) && !(none && *none) && !(kind && !std::strcmp(kind, "dumb"));
}

// One line of a text, which begins at a column; what it begins with stays.
std::string WrappedLine(const std::string& line, std::size_t width, std::size_t indent,
                        std::size_t column) {
    std::istringstream words(line);
    std::string text(std::min(line.find_first_not_of(' '), line.size()), ' ');
    column += text.size();
    bool begun = false;
    for (std::string word; words >> word; begun = true) {
        if (begun && column + 1 + word.size() > width) {
            text += "\n" + std::string(indent, ' ');
            column = indent;
        } else if (begun) {
            text += ' ';
            ++column;
        }
        text += word;
        column += word.size();
    }
    return text;
}

} // namespace

bool IsTerminal(int handle) { return isatty(handle) != 0; }

int TerminalWidth() {
    winsize size = {};
    for (const int handle : {STDOUT_FILENO, STDERR_FILENO}) {
        if (ioctl(handle, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    }
    const char* const said = std::getenv("COLUMNS");
    const int columns = said ? std::atoi(said) : 0;
    return columns > 0 ? columns : 80;
}

std::string Coloured(const std::string& text, Colour colour) {
    static const bool colours = HasColours();
    return colours && colour != Colour::Plain ? Code(colour) + text + "\033[0m" : text;
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

Keys::Keys() {
    termios present = {};
    if (!IsTerminal(STDERR_FILENO) || tcgetattr(STDIN_FILENO, &present) != 0 ||
        tcgetpgrp(STDIN_FILENO) != getpgrp()) {
        return;
    }
    Before = restored = present;
    AtSecondInterrupt(Restore);
    present.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    present.c_cc[VMIN] = 0;
    present.c_cc[VTIME] = 0;
    tcsetattr(STDIN_FILENO, TCSANOW, &present);
}

Keys::~Keys() {
    if (Before) Restore();
    AtSecondInterrupt(nullptr);
}

Key Keys::Next() {
    char bytes[8] = {};
    if (!Before) return Key::None;
    if (read(STDIN_FILENO, bytes, 1) != 1) return Key::None;
    if (bytes[0] == ' ') return Key::Space;
    if (bytes[0] == 'q') return Key::Quit;
    if (bytes[0] != '\033') return Key::Other;
    if (read(STDIN_FILENO, bytes, 2) != 2) return Key::Other;
    switch (bytes[1]) {
    case 'C':
        return Key::Right;
    case 'D':
        return Key::Left;
    case 'H':
        return Key::Home;
    default:
        return Key::Other;
    }
}

} // namespace zorhost
