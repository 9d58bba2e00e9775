// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/terminal/terminal.h"

#include "host/terminal/interrupt.h"

#include <cstdlib>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace zorhost {

namespace {

termios original = {}; // restored at the end, also by the forced-exit handler

void Restore() { tcsetattr(STDIN_FILENO, TCSANOW, &original); }

} // namespace

bool IsTerminal(int handle) { return isatty(handle) != 0; }

int TerminalWidth() {
    winsize size = {};
    for (const int handle : {STDOUT_FILENO, STDERR_FILENO}) {
        if (ioctl(handle, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    }
    const char* const text = std::getenv("COLUMNS");
    const int columns = text ? std::atoi(text) : 0;
    return columns > 0 ? columns : 80;
}

// A background process would be stopped by SIGTTOU if it changed the terminal, so it does not.
Keys::Keys() {
    termios present = {};
    if (!IsTerminal(STDERR_FILENO) || tcgetattr(STDIN_FILENO, &present) != 0 ||
        tcgetpgrp(STDIN_FILENO) != getpgrp()) {
        return;
    }
    original = present;
    IsWorking = true;
    SetForcedExitHandler(Restore);
    present.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    present.c_cc[VMIN] = 0; // read does not wait
    present.c_cc[VTIME] = 0;
    tcsetattr(STDIN_FILENO, TCSANOW, &present);
}

Keys::~Keys() {
    if (IsWorking) Restore();
    SetForcedExitHandler(nullptr);
}

// Arrows and Home arrive as escape sequences of three bytes: ESC [ C.
Key Keys::Next() {
    char bytes[8] = {};
    if (!IsWorking) return Key::None;
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
