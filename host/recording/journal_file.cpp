// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/recording/journal_file.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zorhost {

JournalFile::JournalFile(const std::string& path, OpenMode mode) : Path(path) {
    const int fresh = mode == OpenMode::New ? O_CREAT | O_EXCL : 0;
    const int handle = open(path.c_str(), O_RDWR | fresh | O_CLOEXEC, 0666);
    Handle = handle;
    struct stat about = {};
    if (handle >= 0 && flock(handle, LOCK_EX | LOCK_NB) == 0) {
        // Another zorhost may have rescued and deleted the file between open and flock.
        if (fstat(handle, &about) != 0 || about.st_nlink == 0) ErrorText = "it was deleted";
        return;
    }
    Existed = handle < 0 && errno == EEXIST;
    ErrorText = std::strerror(errno);
    if (handle >= 0 && fresh) Remove();
}

JournalFile::~JournalFile() {
    if (Handle >= 0) close(static_cast<int>(Handle));
}

bool JournalFile::Write(midifile::ByteSpan bytes, std::size_t offset) const {
    while (!bytes.empty()) {
        const ssize_t count = pwrite(static_cast<int>(Handle), bytes.data(), bytes.size(),
                                     static_cast<off_t>(offset));
        if (count < 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(count));
        offset += static_cast<std::size_t>(count);
    }
    return true;
}

// Flushes the data, but not the times of the file, which saves a write.
void JournalFile::Sync() const { fdatasync(static_cast<int>(Handle)); }

void JournalFile::Remove() const { unlink(Path.c_str()); }

} // namespace zorhost
