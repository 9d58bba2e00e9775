// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Properties of the terminal, text layout for it, and single key presses.
#pragma once

#include <string>

namespace zorhost {

// handle: a file descriptor, such as STDOUT_FILENO.
bool IsTerminal(int handle);
// Returns the width in columns; 80 if unknown.
int TerminalWidth();
// True if standard output is a terminal with fewer columns.
bool IsNarrow(int columns);

enum class Colour { Plain, Green, Yellow, Cyan, Magenta, Dim };
// Returns the text coloured for standard output; unchanged if that is not a terminal or NO_COLOR is
// set.
std::string Coloured(const std::string& text, Colour colour);

// Wraps text between words to lines of width columns. The first line begins at column first, and
// later lines are indented. Line ends in the text are kept.
std::string Wrapped(const std::string& text, int width, int indent = 0, int first = 0);

// Prints a line of a table on standard output. If it is wider than the terminal, it is wrapped with
// single spaces between words and later lines indented.
#ifdef _WIN32
[[gnu::format(gnu_printf, 2, 3)]] // the C++ library of MinGW uses GNU formats
#else
[[gnu::format(printf, 2, 3)]]
#endif
void PrintRow(int indent, const char* format, ...);

enum class Key { None, Other, Space, Left, Right, Home, Quit };

// While an object lives, keys are read one by one and not echoed. Does nothing if standard input is
// not a terminal or the program runs in its background.
class Keys {
public:
    Keys();
    ~Keys();
    Keys(const Keys&) = delete;
    Keys& operator=(const Keys&) = delete;

    bool Working() const { return IsWorking; }
    // Returns the next key pressed, or None. Does not block.
    Key Next();

private:
    bool IsWorking = false;
};

} // namespace zorhost
