// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Private-profile files on disk.
#include "platform/calls/profile_text.h"
#include "platform/calls/text_buffer.h"
#include "platform/machine/faults.h"
#include "platform/system/kernel.h"

#include <cctype>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace calls {
namespace {

namespace fs = std::filesystem;

std::mutex changeLock; // a change reads the whole file and writes it back

// The file of this path with links resolved. If it is missing, a file of the same name in small
// letters: on the system that these files come from, file names have no case.
fs::path Locate(const fs::path& wanted) {
    std::error_code failed;
    if (fs::path real = fs::canonical(wanted, failed); !failed) return real;
    std::string small = wanted.filename().string();
    for (char& c : small) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    const fs::path real = fs::canonical(fs::path(wanted).replace_filename(small), failed);
    return failed ? wanted : real;
}

// The file's text; empty if it is missing or cannot be read. Read at every call, so that changes by
// other programs are seen.
std::string ReadProfile(const fs::path& place) {
    std::ostringstream text;
    text << std::ifstream(place, std::ios::binary).rdbuf();
    return text.str();
}

// No user may write it, or this one may not. A file without any write permission counts as
// read-only for the superuser too, since that setting is deliberate.
bool IsReadOnly(const fs::path& place, const fs::file_status& status) {
    constexpr auto any = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
    return (status.permissions() & any) == fs::perms::none || access(place.c_str(), W_OK) != 0;
}

bool WriteAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = write(file, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

// Writes a new file beside the old one and renames it, so that neither a full disk nor a concurrent
// reader sees half a file. Keeps the file's permissions, and its owner where the process may change
// owners. False, with the file unchanged, if it or its folder is read-only or any step fails.
bool ReplaceProfile(const fs::path& place, const std::string& bytes) {
    std::error_code failed;
    const fs::path folder = fs::absolute(place).parent_path();
    fs::create_directories(folder, failed); // a failure shows below
    const fs::file_status old = fs::status(place, failed);
    if (IsReadOnly(folder, fs::status(folder, failed)) ||
        (fs::exists(old) && (!fs::is_regular_file(old) || IsReadOnly(place, old))))
        return false;
    const std::string beside = place.string() + "." + std::to_string(getpid()) + ".new";
    unlink(beside.c_str()); // of a process that was killed
    // Never a link, which the folder's owner could put there for the superuser to follow; closed to
    // others until it has the old file's permissions.
    const int file = open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                          fs::exists(old) ? 0600 : 0666);
    if (file < 0) return false;
    struct stat before {};
    bool done = WriteAll(file, bytes);
    if (done && stat(place.c_str(), &before) == 0)
        // The owner first, since changing it clears some permissions.
        done = (geteuid() != 0 || fchown(file, before.st_uid, before.st_gid) == 0) &&
               fchmod(file, before.st_mode & 07777) == 0;
    done = close(file) == 0 && done && rename(beside.c_str(), place.c_str()) == 0;
    if (!done) unlink(beside.c_str());
    return done;
}

// Blanks, a sign, and digits up to the first other character; wraps at 32 bits.
UINT ReadInteger(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    UINT value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') break;
        value = value * 10 + static_cast<UINT>(c - '0');
    }
    return negative ? 0 - value : value;
}

} // namespace
} // namespace calls

namespace zorsystem {

using namespace calls;
using namespace machine;

DWORD GetPrivateProfileStringA(LPCSTR section, LPCSTR key, LPCSTR fallback, LPSTR buffer,
                               DWORD size, LPCSTR file) {
    const std::string text = ReadProfile(Locate(file));
    const std::string_view blank = fallback;
    const std::string_view value =
        ProfileValue(text, section, key)
            .value_or(blank.substr(0, blank.find_last_not_of(" \t") + 1));
    return static_cast<DWORD>(CopyText(value, buffer, size));
}

UINT GetPrivateProfileIntA(LPCSTR section, LPCSTR key, int fallback, LPCSTR file) {
    const std::string text = ReadProfile(Locate(file));
    const auto value = ProfileValue(text, section, key);
    return value && !value->empty() ? ReadInteger(*value) : static_cast<UINT>(fallback);
}

BOOL WritePrivateProfileStringA(LPCSTR section, LPCSTR key, LPCSTR value, LPCSTR file) {
    if (const Failure failure{Call::WritePrivateProfileStringA}) return failure;
    const std::scoped_lock lock(changeLock);
    const fs::path place = Locate(file);
    const std::string before = ReadProfile(place);
    const std::string after = WithProfileValue(before, section, key, value);
    return after == before || ReplaceProfile(place, after);
}

} // namespace zorsystem
