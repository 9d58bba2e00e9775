// A program as a user runs it, zorhost mostly: a process in a folder of this test program, made
// new, in which its home, settings, runtime folder and temporary files lie as well. There is no
// sound server and no display. The test itself works there too.
#pragma once

#include <string>
#include <sys/types.h>

std::string ReadText(const std::string& path);

class Program {
public:
    // Words are parted by blanks; those that have blanks themselves stand in 'quotes'.
    // With columns, both outputs and the input are a terminal of that width; Out is what it shows.
    explicit Program(const std::string& arguments, unsigned short columns = 0);
    ~Program(); // a process that still runs is killed
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    // Reads on until the text has appeared on either output. False if the program ended without it,
    // or prints other things for a minute.
    bool Await(const std::string& text);
    // Every file that it writes ends there, as on a full disk; 0 makes room again.
    void LimitFiles(unsigned bytes) const;
    void Type(const std::string& keys); // on the terminal
    void Signal(int number); // SIGINT as Ctrl-C; with SIGSTOP it stands still when this returns
    // Waits for the end and gives the exit code; 128 plus the signal if one ended it.
    int Finish();

    // How often its first thread has gone to sleep so far.
    int Sleeps() const;

    std::string Out, Err;
    bool Echoes = false; // the terminal, as the program has left it

private:
    bool ReadMore();

    pid_t Process = -1;
    int OutPipe = -1, ErrPipe = -1;
};

struct Result {
    int Code;
    std::string Out, Err;
};
Result RunZorhost(const std::string& arguments);
