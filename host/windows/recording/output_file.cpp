// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/recording/output_file.h"

#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"
#include "platform/platform.h"

#include <filesystem>
#include <system_error>

namespace zorhost {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void CannotWrite(const std::string& path, DWORD error) {
    throw HostError("\"" + path + "\" cannot be written: " +
                    std::system_category().message(static_cast<int>(error)));
}

// The temporary file that replaces the target. Its name is fixed, so that a leftover of a crash is
// replaced by the next write.
std::string TempPath(const std::string& path) {
    const fs::path whole(path);
    return (whole.parent_path() / ("." + whole.filename().string() + ".new")).string();
}

HANDLE Open(const std::string& path, DWORD creation) {
    return CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, creation,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

} // namespace

// Opens a file for a test at once, to report a missing permission early.
OutputFile::OutputFile(const std::string& path) : GivenPath(path) {
    if (fs::is_directory(path))
        throw HostError("\"" + path + "\" cannot be written: it is a folder");
    ResolvedPath = fs::absolute(path).string();
    CheckFile();
}

OutputFile::~OutputFile() = default;

void OutputFile::CheckFile() const {
    const std::string temporary = TempPath(ResolvedPath);
    const HANDLE handle = Open(fs::exists(ResolvedPath) ? ResolvedPath : temporary, OPEN_ALWAYS);
    if (handle == INVALID_HANDLE_VALUE) CannotWrite(GivenPath, GetLastError());
    CloseHandle(handle);
    DeleteFileA(temporary.c_str());
}

// Writes a temporary file in the same folder and renames it, so that the old file stays until the
// new one is complete.
void OutputFile::Replace(midifile::ByteSpan bytes) const {
    const std::string temporary = TempPath(ResolvedPath);
    const HANDLE handle = Open(temporary, CREATE_ALWAYS);
    if (handle == INVALID_HANDLE_VALUE) CannotWrite(GivenPath, GetLastError());
    DWORD done = 0, error = 0;
    const auto size = static_cast<DWORD>(bytes.size());
    if (!WriteFile(handle, bytes.data(), size, &done, nullptr) || !FlushFileBuffers(handle))
        error = GetLastError();
    CloseHandle(handle);
    if (error == 0 &&
        !MoveFileExA(temporary.c_str(), ResolvedPath.c_str(), MOVEFILE_REPLACE_EXISTING))
        error = GetLastError();
    if (error == 0) return;
    DeleteFileA(temporary.c_str());
    CannotWrite(GivenPath, error);
}

void OutputFile::Write(midifile::ByteSpan bytes) const {
    const ForcedExitBlocker untilWritten;
    Replace(bytes);
}

} // namespace zorhost
