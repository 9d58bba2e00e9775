// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/recording/engraver.h"

#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace zorhost {

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds Patience{120};
constexpr const char* MuseScores[] = {"mscore3",   "mscore4",    "mscore4portable", "mscore",
                                      "musescore", "musescore3", "musescore4"};

// The path of a program, empty if it is not installed.
std::string FindProgram(const std::string& name) {
    const char* const path = std::getenv("PATH");
    std::istringstream folders(path ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');) {
        std::string program = folder + "/" + name;
        if (access(program.c_str(), X_OK) == 0) return program;
    }
    return "";
}

std::string FindMuseScore() {
    for (const char* const name : MuseScores)
        if (std::string program = FindProgram(name); !program.empty()) return program;
    return "";
}

bool HasLilyPond() {
    return !FindProgram("lilypond").empty() && !FindProgram("musicxml2ly").empty();
}

// A folder for the program's files and settings, removed at the end.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (fs::temp_directory_path() / "zorhost-XXXXXX").string();
        if (!mkdtemp(name.data())) throw HostError("no temporary folder can be made");
        Path = name;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        fs::remove_all(Path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    fs::path Path;
};

// In the child process: the program's output is dropped, and it needs no display.
[[noreturn]] void Execute(const std::vector<std::string>& command, const fs::path& folder) {
    setpgid(0, 0);
    const std::string home = folder.string();
    for (const char* const name : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME",
                                   "XDG_RUNTIME_DIR", "TMPDIR"})
        setenv(name, home.c_str(), 1);
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    const int null = open("/dev/null", O_RDWR);
    for (const int stream : {0, 1, 2}) dup2(null, stream);
    if (chdir(home.c_str()) != 0) _exit(127);
    std::vector<char*> words;
    words.reserve(command.size() + 1);
    for (const std::string& word : command) words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    execv(words[0], words.data());
    _exit(127);
}

// Ends the program with all its children if it takes too long or the user interrupts.
void RunProgram(const std::vector<std::string>& command, const fs::path& folder) {
    const pid_t process = fork();
    if (process == 0) Execute(command, folder);
    const std::string name = fs::path(command[0]).filename().string();
    if (process < 0) throw HostError(name + " cannot be started");
    const auto end = std::chrono::steady_clock::now() + Patience;
    int status = 0;
    while (waitpid(process, &status, WNOHANG) == 0) {
        const bool late = std::chrono::steady_clock::now() > end;
        if (late || Interrupted()) {
            kill(-process, SIGKILL);
            waitpid(process, &status, 0);
            throw HostError(late ? name + " did not finish within two minutes"
                                 : "stopped; no page was written");
        }
        Nap(20);
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw HostError(name + " cannot engrave the score");
}

midifile::Bytes ReadBytes(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace

void CheckEngraver() {
    if (!FindMuseScore().empty() || HasLilyPond()) return;
    throw HostError("no program is installed that engraves pages: install MuseScore (package "
                    "musescore3) or LilyPond, or write MusicXML (OUT.musicxml)");
}

std::vector<midifile::Bytes> Engrave(const std::string& musicXml, const std::string& kind) {
    const TemporaryFolder folder;
    std::ofstream(folder.Path / "score.musicxml", std::ios::binary) << musicXml;
    if (const std::string program = FindMuseScore(); !program.empty()) {
        RunProgram({program, "-o", "page" + kind, "score.musicxml"}, folder.Path);
    } else {
        RunProgram({FindProgram("musicxml2ly"), "-o", "page.ly", "score.musicxml"}, folder.Path);
        if (kind == ".svg") {
            RunProgram({FindProgram("lilypond"), "-dbackend=svg", "page.ly"}, folder.Path);
        } else {
            RunProgram({FindProgram("lilypond"), "page.ly"}, folder.Path);
        }
    }
    // "page.pdf", or "page-1.svg" and so on.
    std::vector<fs::path> names;
    for (const auto& entry : fs::directory_iterator(folder.Path))
        if (entry.path().extension() == kind) names.push_back(entry.path());
    std::ranges::sort(names, [](const fs::path& one, const fs::path& other) {
        return std::pair(one.native().size(), one) < std::pair(other.native().size(), other);
    });
    std::vector<midifile::Bytes> pages;
    pages.reserve(names.size());
    for (const fs::path& name : names) pages.push_back(ReadBytes(name));
    if (pages.empty()) throw HostError("the notation program wrote no page");
    return pages;
}

} // namespace zorhost
