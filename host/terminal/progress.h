// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A progress line on standard error: rewritten in place on a terminal, else printed every two
// seconds.
#pragma once

#include <chrono>
#include <string>

namespace zorhost {

// Thread: any, but one at a time.
class Progress {
public:
    Progress();
    ~Progress() { End(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // True if it is time for the next Show: after 100 ms on a terminal, else 2 s.
    bool Due() const { return std::chrono::steady_clock::now() >= NextTime; }
    void Show(const std::string& line);
    // Ends the line, which stays on the terminal. Call it before anything else is printed.
    void End();

private:
    bool OnTerminal;
    bool LineOpen = false; // a line without its line end is on the terminal
    std::string LastLine;  // as shown, cut to the width of the terminal
    std::chrono::steady_clock::time_point NextTime;
};

// Formats a time as "1:23.4", or with hours as "2:01:23.4".
std::string ClockText(std::int64_t milliseconds);
// Draws part/whole as "[#####-----]", with width characters between the brackets.
std::string Bar(std::int64_t part, std::int64_t whole, int width);

} // namespace zorhost
