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

constexpr int MostLinks = 40;
constexpr mode_t Ordinary = 0666; // less the user's mask

[[noreturn]] void CannotWrite(const std::string& path, const std::string& why) {
    throw HostError("\"" + path + "\" cannot be written: " + why);
}

// What the path leads to in the end, there or not.
fs::path FollowLinks(fs::path path) {
    std::error_code none;
    for (int i = 0; i < MostLinks && fs::is_symlink(path, none); ++i) {
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

OutputFile::OutputFile(const std::string& path) : Named(path) {
    struct stat found = {};
    const bool there = stat(path.c_str(), &found) == 0;
    if (path == "/dev/stdout" || (there && S_ISFIFO(found.st_mode))) {
        OpenStream();
        return;
    }
    if (there && S_ISDIR(found.st_mode)) CannotWrite(path, "it is a folder");
    if (there && !S_ISREG(found.st_mode)) CannotWrite(path, "it is a device, not a file");
    Real = FollowLinks(path).string();
    CheckFile();
}

OutputFile::~OutputFile() {
    if (Stream >= 0) close(Stream);
}

void OutputFile::OpenStream() {
    const InterruptibleReads wait;
    if (Named != "/dev/stdout") {
        Stream = open(Named.c_str(), O_WRONLY | O_CLOEXEC); // waits for a reader
    } else {
        Stream = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
        if (Stream >= 0) dup2(STDERR_FILENO, STDOUT_FILENO);
    }
    if (Stream < 0) CannotWrite(Named, std::strerror(errno));
}

void OutputFile::CheckFile() const {
    const fs::path whole(Real);
    if (!whole.has_filename()) CannotWrite(Named, "it has no file name");
    const char* const there = access(Real.c_str(), F_OK) == 0 ? Real.c_str() : nullptr;
    if ((there && access(there, W_OK) != 0) ||
        access(whole.parent_path().c_str(), W_OK | X_OK) != 0) {
        CannotWrite(Named, std::strerror(errno));
    }
}

// Beside the file first, under a name that the next one takes again if the machine stops meanwhile.
void OutputFile::Replace(midifile::ByteSpan bytes) const {
    const fs::path whole(Real);
    const std::string fresh = whole.parent_path() / ("." + whole.filename().string() + ".new");
    struct stat before = {};
    const bool there = stat(Real.c_str(), &before) == 0;
    unlink(fresh.c_str());
    const int handle =
        open(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, Ordinary);
    if (handle < 0) CannotWrite(Named, std::strerror(errno));
    // The owner first: a new one takes away some of the permissions.
    if (there && fchown(handle, before.st_uid, before.st_gid) != 0) errno = 0; // not everyone may
    if (there) static_cast<void>(fchmod(handle, before.st_mode & 07777));
    const bool written = WriteAll(handle, bytes) && fsync(handle) == 0;
    int error = written ? 0 : errno;
    if (close(handle) != 0 && error == 0) error = errno;
    if (error == 0 && rename(fresh.c_str(), Real.c_str()) != 0) error = errno;
    if (error == 0) return;
    unlink(fresh.c_str());
    CannotWrite(Named, std::strerror(error));
}

void OutputFile::Write(midifile::ByteSpan bytes) const {
    const ForcedExitBlocker untilWritten;
    if (Stream < 0) return Replace(bytes);
    if (!WriteAll(Stream, bytes)) CannotWrite(Named, std::strerror(errno));
}

} // namespace zorhost
