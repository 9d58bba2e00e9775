// What the terminal can do, and keys that are pressed on it.
#pragma once

#include <string>

namespace zorhost {

bool IsTerminal(int handle);
// Columns, 80 where it is not known.
int TerminalWidth();
// Standard output is a terminal of fewer columns.
bool IsNarrow(int columns);

enum class Colour { Plain, Green, Yellow, Cyan, Magenta, Dim };
// For standard output: coloured on a terminal, unless NO_COLOR is set.
std::string Coloured(const std::string& text, Colour colour);

// Broken between words into lines of so many columns, those after the first indented; the first
// begins at a column of its own. Line ends in the text stay.
std::string Wrapped(const std::string& text, int width, int indent = 0, int first = 0);

// A line of a table on standard output. On a terminal that is narrower it is broken between words
// with single spaces, all but its first part indented.
#ifdef _WIN32
[[gnu::format(gnu_printf, 2, 3)]] // as the compiler's own library has it
#else
[[gnu::format(printf, 2, 3)]]
#endif
void PrintRow(int indent, const char* format, ...);

enum class Key { None, Other, Space, Left, Right, Home, Quit };

// While one lives, keys come one by one and do not show. Not if standard input is no terminal, or
// another program has it in front.
class Keys {
public:
    Keys();
    ~Keys();
    Keys(const Keys&) = delete;
    Keys& operator=(const Keys&) = delete;

    bool Working() const { return IsWorking; }
    // The next one that was pressed, or None. Does not wait.
    Key Next();

private:
    bool IsWorking = false;
};

} // namespace zorhost
