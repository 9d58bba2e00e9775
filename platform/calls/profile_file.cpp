#include "platform/calls/profile_file.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace machine {
namespace {

namespace fs = std::filesystem;

// The file that a path means, through links. One written all in small letters stands in for a
// missing one: names of files go without case where such files come from.
fs::path Locate(const fs::path& wanted) {
    std::error_code failed;
    if (const fs::path real = fs::canonical(wanted, failed); !failed) return real;
    std::string small = wanted.filename().string();
    std::transform(small.begin(), small.end(), small.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const fs::path real = fs::canonical(fs::path(wanted).replace_filename(small), failed);
    return failed ? wanted : real;
}

// What tells one state of a file from another.
struct Stamp {
    dev_t Device = 0;
    ino_t Number = 0;
    off_t Size = 0;
    std::chrono::nanoseconds Changed{};

    bool operator==(const Stamp&) const = default;
    // A file that was changed just now may change again within the same tick of its file system's
    // clock: up to two seconds, where the clock knows no part of one.
    bool IsSettled() const {
        const bool whole = Changed.count() % 1'000'000'000 == 0;
        const auto tick = std::chrono::milliseconds(whole ? 2000 : 50);
        return std::chrono::system_clock::now().time_since_epoch() > Changed + 2 * tick;
    }
};

Stamp StampOf(const struct stat& status) {
    const auto changed = std::chrono::seconds(status.st_mtim.tv_sec) +
                         std::chrono::nanoseconds(status.st_mtim.tv_nsec);
    return {status.st_dev, status.st_ino, status.st_size, changed};
}

struct Kept {
    fs::path Place;
    Stamp State;
    ProfileText Text;
};

std::string ReadBytes(const fs::path& place) {
    std::ostringstream bytes;
    bytes << std::ifstream(place, std::ios::binary).rdbuf();
    return std::move(bytes).str();
}

// Nobody may write it. The superuser could all the same, but a setting that says so is meant.
bool IsReadOnly(const struct stat& status) { return (status.st_mode & 0222) == 0; }

bool MayReplace(const fs::path& place, const struct stat* old) {
    struct stat folder {};
    if (stat(fs::absolute(place).parent_path().c_str(), &folder) != 0 || IsReadOnly(folder))
        return false;
    return !old || (S_ISREG(old->st_mode) && !IsReadOnly(*old) && access(place.c_str(), W_OK) == 0);
}

bool Fill(const fs::path& place, const std::string& bytes, const struct stat* old) {
    std::ofstream file(place, std::ios::binary);
    file << bytes;
    file.close();
    if (!file || !old) return !file.fail();
    // The owner can be kept only by one who may give files away; otherwise it becomes the writer's.
    // It goes first, since a new owner takes some permissions away.
    const bool given = chown(place.c_str(), old->st_uid, old->st_gid) == 0 || geteuid() != 0;
    return given && chmod(place.c_str(), old->st_mode & 07777) == 0;
}

} // namespace

const ProfileText& ReadProfile(const std::string& path) {
    static Kept& kept = *new Kept; // asked for until the process's very end
    const fs::path place = Locate(path);
    struct stat status {};
    if (stat(place.c_str(), &status) != 0) return (kept = {}).Text;
    const Stamp state = StampOf(status);
    if (place == kept.Place && state == kept.State) return kept.Text;
    // The stamp is older than the text: a change in between is found by the next call.
    kept.State = state.IsSettled() ? state : Stamp();
    std::string bytes = ReadBytes(place);
    if (place == kept.Place && bytes == kept.Text.Bytes()) return kept.Text;
    kept.Place = place;
    kept.Text = ProfileText(std::move(bytes));
    return kept.Text;
}

bool ReplaceProfile(const std::string& path, const std::string& bytes) {
    const fs::path place = Locate(path);
    std::error_code there; // that it cannot be made shows below
    fs::create_directories(place.parent_path(), there);
    struct stat status {};
    const struct stat* const old = stat(place.c_str(), &status) == 0 ? &status : nullptr;
    if (!MayReplace(place, old)) return false;
    const fs::path beside = place.string() + "." + std::to_string(getpid()) + ".new";
    std::error_code failed;
    fs::remove(beside, failed); // left by a process of the same number that was ended half-way
    if (Fill(beside, bytes, old))
        fs::rename(beside, place, failed);
    else
        failed = std::make_error_code(std::errc::io_error);
    if (failed) {
        std::error_code ignored;
        fs::remove(beside, ignored);
    }
    return !failed;
}

} // namespace machine
