// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/terminal/terminal.h"

#include "platform/platform.h"

#include <conio.h>
#include <io.h>

namespace zorhost {

namespace {

HANDLE ConsoleOf(int handle) { return reinterpret_cast<HANDLE>(_get_osfhandle(handle)); }

// Returns the key for the code that follows 0 or 0xE0.
Key ExtendedKey(int code) {
    switch (code) {
    case 'M':
        return Key::Right;
    case 'K':
        return Key::Left;
    case 'G':
        return Key::Home;
    default:
        return Key::Other;
    }
}

} // namespace

// A console without escape sequences, as before Windows 10, is treated like a file.
bool IsTerminal(int handle) {
    constexpr DWORD EscapeSequences = 4;
    DWORD mode = 0;
    const HANDLE console = ConsoleOf(handle);
    return GetConsoleMode(console, &mode) && SetConsoleMode(console, mode | EscapeSequences);
}

int TerminalWidth() {
    CONSOLE_SCREEN_BUFFER_INFO about = {};
    for (const int handle : {1, 2})
        if (GetConsoleScreenBufferInfo(ConsoleOf(handle), &about))
            return about.srWindow.Right - about.srWindow.Left + 1;
    return 80;
}

Keys::Keys() : IsWorking(IsTerminal(2) && _isatty(0)) {}
Keys::~Keys() = default;

Key Keys::Next() {
    if (!IsWorking || !_kbhit()) return Key::None;
    const int code = _getch();
    if (code == 0 || code == 0xE0) return ExtendedKey(_getch());
    return code == ' ' ? Key::Space : code == 'q' ? Key::Quit : Key::Other;
}

} // namespace zorhost
