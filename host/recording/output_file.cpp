// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/recording/output_file.h"

#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace zorhost {

namespace fs = std::filesystem;

namespace {

constexpr int MaxLinks = 40;
constexpr mode_t DefaultMode = 0666; // before the umask

[[noreturn]] void CannotWrite(const std::string& path, const std::string& why) {
    throw HostError("\"" + path + "\" cannot be written: " + why);
}

// The absolute path behind all symbolic links; its file need not exist.
fs::path FollowLinks(fs::path path) {
    std::error_code none;
    for (int i = 0; i < MaxLinks && fs::is_symlink(path, none); ++i) {
        const fs::path next = fs::read_symlink(path, none);
        path = next.is_absolute() ? next : path.parent_path() / next;
    }
    return fs::absolute(path, none);
}

bool WriteAll(int handle, midifile::ByteSpan bytes) {
    while (!bytes.empty()) {
        const ssize_t count = write(handle, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return true;
}

} // namespace

OutputFile::OutputFile(const std::string& path) : GivenPath(path) {
    struct stat found = {};
    const bool there = stat(path.c_str(), &found) == 0;
    if (path == "/dev/stdout" || (there && S_ISFIFO(found.st_mode))) {
        OpenStream();
        return;
    }
    if (there && S_ISDIR(found.st_mode)) CannotWrite(path, "it is a folder");
    if (there && !S_ISREG(found.st_mode)) CannotWrite(path, "it is a device, not a file");
    ResolvedPath = FollowLinks(path).string();
    CheckFile();
}

OutputFile::~OutputFile() {
    if (Stream >= 0) close(Stream);
}

void OutputFile::OpenStream() {
    const InterruptibleReads wait;
    if (GivenPath != "/dev/stdout") {
        Stream = open(GivenPath.c_str(), O_WRONLY | O_CLOEXEC); // waits for a reader
    } else {
        Stream = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
        if (Stream >= 0) dup2(STDERR_FILENO, STDOUT_FILENO);
    }
    if (Stream < 0) CannotWrite(GivenPath, std::strerror(errno));
}

void OutputFile::CheckFile() const {
    const fs::path whole(ResolvedPath);
    if (!whole.has_filename()) CannotWrite(GivenPath, "it has no file name");
    const char* const there =
        access(ResolvedPath.c_str(), F_OK) == 0 ? ResolvedPath.c_str() : nullptr;
    if ((there && access(there, W_OK) != 0) ||
        access(whole.parent_path().c_str(), W_OK | X_OK) != 0) {
        CannotWrite(GivenPath, std::strerror(errno));
    }
}

// Writes a temporary file in the same folder and renames it. Its name is fixed, so that a leftover
// of a crash is replaced by the next write.
void OutputFile::Replace(midifile::ByteSpan bytes) const {
    const fs::path whole(ResolvedPath);
    const std::string fresh = whole.parent_path() / ("." + whole.filename().string() + ".new");
    struct stat before = {};
    const bool there = stat(ResolvedPath.c_str(), &before) == 0;
    unlink(fresh.c_str());
    // Closed to others until it has the permissions of the file that it replaces.
    const int handle = open(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW,
                            there ? 0600 : DefaultMode);
    if (handle < 0) CannotWrite(GivenPath, std::strerror(errno));
    // The owner first, since fchown clears some permission bits.
    if (there && fchown(handle, before.st_uid, before.st_gid) != 0) errno = 0; // needs root
    if (there) static_cast<void>(fchmod(handle, before.st_mode & 07777));
    const bool written = WriteAll(handle, bytes) && fsync(handle) == 0;
    int error = written ? 0 : errno;
    if (close(handle) != 0 && error == 0) error = errno;
    if (error == 0 && rename(fresh.c_str(), ResolvedPath.c_str()) != 0) error = errno;
    if (error == 0) return;
    unlink(fresh.c_str());
    CannotWrite(GivenPath, std::strerror(error));
}

void OutputFile::Write(midifile::ByteSpan bytes) const {
    const ForcedExitBlocker untilWritten;
    if (Stream < 0) return Replace(bytes);
    if (!WriteAll(Stream, bytes)) CannotWrite(GivenPath, std::strerror(errno));
}

} // namespace zorhost
