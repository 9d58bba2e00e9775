// zorhost as a user runs it: a process with its own settings and runtime folder.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

// The folder that one test program works in, made new; XDG_RUNTIME_DIR and XDG_CONFIG_HOME point
// into it for every process that is started.
const std::string& TestFolder();
std::string InFolder(const std::string& name);
std::string ReadText(const std::string& path);

class Program {
public:
    explicit Program(const std::vector<std::string>& arguments);
    ~Program(); // a process that still runs is killed
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    // Reads on until the text has appeared on either output. False if the program ended without it.
    bool Await(const std::string& text);
    void Signal(int number); // SIGINT as Ctrl-C
    // Waits for the end and gives the exit code; 128 plus the signal if one ended it.
    int Finish();

    std::string Out;
    std::string Err;

private:
    bool ReadMore();

    pid_t Process = -1;
    int OutPipe = -1;
    int ErrPipe = -1;
};

struct Result {
    int Code;
    std::string Out;
    std::string Err;
};
Result RunZorhost(const std::vector<std::string>& arguments);
