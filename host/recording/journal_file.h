// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The file of a journal, locked against other instances of zorhost.
#pragma once

#include "midifile/song.h"

#include <string>

namespace zorhost {

class JournalFile {
public:
    enum class OpenMode { New, Existing };
    // Opens and locks the file. Check IsLocked afterwards.
    JournalFile(const std::string& path, OpenMode mode);
    ~JournalFile(); // closes the file without deleting it
    JournalFile(const JournalFile&) = delete;
    JournalFile& operator=(const JournalFile&) = delete;

    // False if the constructor failed; ErrorText is the reason.
    bool IsLocked() const { return ErrorText.empty(); }
    // OpenMode::New failed since there is such a file.
    bool AlreadyExists() const { return Existed; }
    // Writes all bytes at an offset. False on failure.
    bool Write(midifile::ByteSpan bytes, std::size_t offset) const;
    void Sync() const; // flushes the file to the disk
    void Remove() const;

    std::string ErrorText;

private:
    std::string Path;
    std::intptr_t Handle = -1; // a file descriptor, or a HANDLE on Windows
    bool Existed = false;
};

} // namespace zorhost
