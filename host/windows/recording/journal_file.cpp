#include "host/recording/journal_file.h"

#include "platform/platform.h"

#include <system_error>

namespace zorhost {

namespace {
HANDLE FileOf(std::intptr_t handle) { return reinterpret_cast<HANDLE>(handle); }
} // namespace

// Other processes may read the file, and delete it once it is closed, but not open it for writing.
JournalFile::JournalFile(const std::string& path, Which which) : Path(path) {
    const HANDLE file = CreateFileA(
        path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
        which == Which::New ? CREATE_NEW : OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    Handle = reinterpret_cast<std::intptr_t>(file);
    if (file != INVALID_HANDLE_VALUE) return;
    const DWORD error = GetLastError();
    Existed = error == ERROR_FILE_EXISTS;
    Error = std::system_category().message(static_cast<int>(error));
}

JournalFile::~JournalFile() {
    if (IsHeld()) CloseHandle(FileOf(Handle));
}

bool JournalFile::Put(midifile::ByteSpan bytes, std::size_t at) const {
    OVERLAPPED place = {};
    place.Offset = static_cast<DWORD>(at);
    DWORD done = 0;
    const auto size = static_cast<DWORD>(bytes.size());
    return WriteFile(FileOf(Handle), bytes.data(), size, &done, &place) && done == size;
}

void JournalFile::Sync() const { FlushFileBuffers(FileOf(Handle)); }

void JournalFile::Remove() const { DeleteFileA(Path.c_str()); }

} // namespace zorhost
