// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Runs zorhost as a user does: a process in a new folder of this test program, which also holds its
// home, settings, runtime folder and temporary files. There is no sound server and no display. The
// test itself runs in the same folder.
#pragma once

#include <string>
#include <sys/types.h>

std::string ReadText(const std::string& path);

class Program {
public:
    // Words are separated by blanks; words with blanks are put in 'quotes'. With columns, input and
    // both outputs are a terminal of that width, and Output is what it shows.
    explicit Program(const std::string& arguments, unsigned short columns = 0);
    ~Program(); // kills the process if it still runs
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    // Reads until the text has appeared on either output. False if the program ended without it, or
    // after a minute.
    bool Await(const std::string& text);
    // Limits the size of every file that it writes, like a full disk; 0 removes the limit.
    void LimitFiles(unsigned bytes) const;
    void Type(const std::string& keys); // on the terminal
    void Signal(int number); // SIGINT for Ctrl-C; after SIGSTOP, returns when it has stopped
    // Waits for its end. Returns the exit code, or 128 plus the signal that ended it.
    int Finish();

    // Returns how often its main thread has gone to sleep so far.
    int Sleeps() const;

    std::string Output, Err;
    bool Echoes = false; // true if the program has left the terminal in its normal mode

private:
    bool ReadMore();

    pid_t Process = -1;
    int OutPipe = -1, ErrPipe = -1;
};

struct Result {
    int Code;
    std::string Output, Err;
};
Result RunZorhost(const std::string& arguments);
