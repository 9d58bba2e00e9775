// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/recording/journal_file.h"

#include "platform/platform.h"

#include <system_error>

namespace zorhost {

namespace {
HANDLE FileOf(std::intptr_t handle) { return reinterpret_cast<HANDLE>(handle); }
} // namespace

// Other programs may read and delete the file, but not open it for writing.
JournalFile::JournalFile(const std::string& path, OpenMode mode) : Path(path) {
    const HANDLE file = CreateFileA(
        path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
        mode == OpenMode::New ? CREATE_NEW : OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    Handle = reinterpret_cast<std::intptr_t>(file);
    if (file != INVALID_HANDLE_VALUE) return;
    const DWORD error = GetLastError();
    Existed = error == ERROR_FILE_EXISTS;
    ErrorText = std::system_category().message(static_cast<int>(error));
}

JournalFile::~JournalFile() {
    if (IsLocked()) CloseHandle(FileOf(Handle));
}

bool JournalFile::Write(midifile::ByteSpan bytes, std::size_t offset) const {
    OVERLAPPED position = {};
    position.Offset = static_cast<DWORD>(offset);
    DWORD done = 0;
    const auto size = static_cast<DWORD>(bytes.size());
    return WriteFile(FileOf(Handle), bytes.data(), size, &done, &position) && done == size;
}

void JournalFile::Sync() const { FlushFileBuffers(FileOf(Handle)); }

void JournalFile::Remove() const { DeleteFileA(Path.c_str()); }

} // namespace zorhost
