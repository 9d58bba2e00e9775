#include "platform/kernel/profile_file.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace machine {
namespace {

namespace fs = std::filesystem;

// The file that a path means, through links. One written all in small letters stands in for a
// missing one: names of files go without case where such files come from.
fs::path Locate(const std::string& path) {
    fs::path wanted = path;
    std::error_code failed;
    if (!fs::exists(wanted, failed)) {
        std::string small = wanted.filename().string();
        std::transform(small.begin(), small.end(), small.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        const fs::path other = fs::path(wanted).replace_filename(small);
        if (!fs::exists(other, failed)) return wanted;
        wanted = other;
    }
    const fs::path real = fs::canonical(wanted, failed);
    return failed ? wanted : real;
}

// Nobody may write it. The superuser could all the same, but a setting that says so is meant.
bool IsReadOnly(const struct stat& status) { return (status.st_mode & 0222) == 0; }

bool WriteAll(int file, const std::string& bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t written = write(file, bytes.data() + done, bytes.size() - done);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        done += static_cast<std::size_t>(written);
    }
    return true;
}

// A new file beside the old one, by a name that only this process uses. One that will be the first
// of its name gets the permissions that every new file gets.
int CreateBeside(const fs::path& place, bool first, std::string& name) {
    name = place.string() + "." + std::to_string(getpid()) + ".new";
    unlink(name.c_str()); // left by a process of the same number that was ended half-way
    return open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, first ? 0666 : 0600);
}

// Fills the temporary file and gives it the place of the old one.
bool Install(int file, const std::string& temporary, const fs::path& place,
             const std::string& bytes, const std::optional<struct stat>& old) {
    if (!WriteAll(file, bytes)) return false;
    // The owner can be kept only by one who may give files away; otherwise it becomes the writer's.
    // It goes first, since a new owner takes some permissions away.
    if (old && fchown(file, old->st_uid, old->st_gid) != 0 && errno != EPERM) return false;
    if (old && fchmod(file, old->st_mode & 07777) != 0) return false;
    return rename(temporary.c_str(), place.c_str()) == 0;
}

} // namespace

std::string ReadProfileFile(const std::string& path) {
    const int file = open(Locate(path).c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return {};
    std::string bytes;
    std::array<char, 4096> part;
    for (;;) {
        const ssize_t got = read(file, part.data(), part.size());
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        bytes.append(part.data(), static_cast<std::size_t>(got));
    }
    close(file);
    return bytes;
}

bool ReplaceProfileFile(const std::string& path, const std::string& bytes) {
    const fs::path place = Locate(path);
    const fs::path folder = place.has_parent_path() ? place.parent_path() : fs::path(".");
    struct stat folderStatus {};
    if (stat(folder.c_str(), &folderStatus) != 0 || IsReadOnly(folderStatus)) return false;
    std::optional<struct stat> old;
    if (struct stat status{}; stat(place.c_str(), &status) == 0) {
        if (!S_ISREG(status.st_mode) || IsReadOnly(status) || access(place.c_str(), W_OK) != 0)
            return false;
        old = status;
    }
    std::string temporary;
    const int file = CreateBeside(place, !old, temporary);
    if (file < 0) return false;
    bool done = Install(file, temporary, place, bytes, old);
    if (close(file) != 0) done = false;
    if (!done) unlink(temporary.c_str());
    return done;
}

} // namespace machine
