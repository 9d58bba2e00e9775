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

// Returns the temporary path at which a file is written before it replaces the one at path. If the
// computer stops meanwhile, the next write uses the same path.
std::string TemporaryFor(const std::string& path) {
    const fs::path whole(path);
    return (whole.parent_path() / ("." + whole.filename().string() + ".new")).string();
}

HANDLE Open(const std::string& path, DWORD creation) {
    return CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, creation,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

} // namespace

// Opens the file once, to report early if it cannot be written.
OutputFile::OutputFile(const std::string& path) : Named(path) {
    if (fs::is_directory(path))
        throw HostError("\"" + path + "\" cannot be written: it is a folder");
    Real = fs::absolute(path).string();
    CheckFile();
}

OutputFile::~OutputFile() = default;

void OutputFile::CheckFile() const {
    const std::string temporary = TemporaryFor(Real);
    const HANDLE handle = Open(fs::exists(Real) ? Real : temporary, OPEN_ALWAYS);
    if (handle == INVALID_HANDLE_VALUE) CannotWrite(Named, GetLastError());
    CloseHandle(handle);
    DeleteFileA(temporary.c_str());
}

// Writes beside the file first, so that an older file exists until the new one is complete.
void OutputFile::Replace(midifile::ByteSpan bytes) const {
    const std::string temporary = TemporaryFor(Real);
    const HANDLE handle = Open(temporary, CREATE_ALWAYS);
    if (handle == INVALID_HANDLE_VALUE) CannotWrite(Named, GetLastError());
    DWORD done = 0, error = 0;
    const auto size = static_cast<DWORD>(bytes.size());
    if (!WriteFile(handle, bytes.data(), size, &done, nullptr) || !FlushFileBuffers(handle))
        error = GetLastError();
    CloseHandle(handle);
    if (error == 0 && !MoveFileExA(temporary.c_str(), Real.c_str(), MOVEFILE_REPLACE_EXISTING))
        error = GetLastError();
    if (error == 0) return;
    DeleteFileA(temporary.c_str());
    CannotWrite(Named, error);
}

void OutputFile::Write(midifile::ByteSpan bytes) const {
    const ForcedExitBlocker untilWritten;
    Replace(bytes);
}

} // namespace zorhost
