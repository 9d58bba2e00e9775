// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "tests/host/program.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iomanip>
#include <poll.h>
#include <pty.h>
#include <sstream>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

const struct Folder {
    Folder() {
        if (!mkdtemp(Path.data())) std::abort();
        std::filesystem::current_path(Path);
        for (const char* part : {"runtime", "config", "temporary"}) {
            std::filesystem::create_directory(part);
            std::filesystem::permissions(part, std::filesystem::perms::owner_all);
        }
        for (const auto& [name, part] : {std::pair("XDG_RUNTIME_DIR", "/runtime"),
                                         {"XDG_CONFIG_HOME", "/config"},
                                         {"XDG_CACHE_HOME", "/cache"},
                                         {"HOME", ""},
                                         {"TMPDIR", "/temporary"}})
            setenv(name, (Path + part).c_str(), 1);
        for (const char* name : {"DISPLAY", "PULSE_RUNTIME_PATH", "PULSE_CONFIG_PATH"})
            unsetenv(name);
        setenv("PULSE_SERVER", "unix:/nowhere", 1); // fails at once, without a name to look up
    }
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(Path, ignored);
    }
    std::string Path = "/tmp/zorhost-test-XXXXXX";
} folder;

} // namespace

std::string ReadText(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

Program::Program(const std::string& arguments, unsigned short columns) {
    int out[2], err[2];
    const winsize size = {24, columns, 0, 0};
    if (columns == 0 && (pipe(out) != 0 || pipe(err) != 0)) std::abort();
    std::vector<std::string> words = {ZOR_PROGRAM};
    std::istringstream rest(arguments);
    for (std::string word; rest >> std::quoted(word, '\'');) words.push_back(word);
    std::vector<char*> pointers;
    for (std::string& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    Process = columns > 0 ? forkpty(&OutPipe, nullptr, nullptr, &size) : fork();
    if (Process == 0) {
        std::signal(SIGXFSZ, SIG_IGN);    // a write beyond the limit fails, as on a full disk
        prctl(PR_SET_PDEATHSIG, SIGKILL); // in case the watchdog ends the test
    }
    if (Process == 0 && columns > 0) {
        setenv("TERM", "xterm", 1);
        unsetenv("NO_COLOR");
    } else if (Process == 0) {
        dup2(out[1], STDOUT_FILENO);
        dup2(err[1], STDERR_FILENO);
        for (int end : {out[0], out[1], err[0], err[1]}) close(end);
    }
    if (Process == 0) {
        execv(pointers[0], pointers.data());
        _exit(127);
    }
    if (columns > 0) return;
    close(out[1]);
    close(err[1]);
    OutPipe = out[0];
    ErrPipe = err[0];
}

Program::~Program() {
    if (Process > 0) {
        kill(Process, SIGKILL);
        Finish();
    }
    for (int pipe : {OutPipe, ErrPipe}) {
        if (pipe >= 0) close(pipe);
    }
}

// False when both outputs have ended.
bool Program::ReadMore() {
    pollfd both[] = {{OutPipe, POLLIN, 0}, {ErrPipe, POLLIN, 0}};
    poll(both, 2, -1);
    for (int i = 0; i < 2; ++i) {
        if (both[i].fd < 0 || !both[i].revents) continue;
        char buffer[4096];
        const ssize_t count = read(both[i].fd, buffer, sizeof buffer);
        (i == 0 ? Output : Err)
            .append(buffer, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        if (count > 0) continue;
        termios left = {};
        Echoes =
            tcgetattr(both[i].fd, &left) == 0 && (left.c_lflag & ICANON) && (left.c_lflag & ECHO);
        close(both[i].fd);
        (i == 0 ? OutPipe : ErrPipe) = -1;
    }
    return OutPipe >= 0 || ErrPipe >= 0;
}

bool Program::Await(const std::string& text) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    do {
        if (Output.find(text) != std::string::npos || Err.find(text) != std::string::npos)
            return true;
    } while (std::chrono::steady_clock::now() < end && ReadMore());
    return false;
}

void Program::LimitFiles(unsigned bytes) const {
    const rlimit limit = {bytes > 0 ? bytes : RLIM_INFINITY, RLIM_INFINITY};
    if (prlimit(Process, RLIMIT_FSIZE, &limit, nullptr) != 0) std::abort();
}

void Program::Type(const std::string& keys) {
    if (write(OutPipe, keys.data(), keys.size()) < 0) std::abort();
}

void Program::Signal(int number) {
    kill(Process, number);
    if (number == SIGSTOP) waitpid(Process, nullptr, WUNTRACED);
}

int Program::Sleeps() const {
    const std::string status = ReadText("/proc/" + std::to_string(Process) + "/status");
    const std::string field = "\nvoluntary_ctxt_switches:";
    return std::stoi(status.substr(status.find(field) + field.size()));
}

int Program::Finish() {
    while (ReadMore()) {
    }
    int status = 0;
    waitpid(Process, &status, 0);
    Process = -1;
    // A sanitizer's report would be missed where the test expects a failure.
    if (Err.find("Sanitizer") != std::string::npos ||
        Err.find("runtime error:") != std::string::npos)
        ADD_FAILURE() << Err;
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

Result RunZorhost(const std::string& arguments) {
    Program program(arguments);
    const int code = program.Finish();
    return {code, program.Output, program.Err};
}
