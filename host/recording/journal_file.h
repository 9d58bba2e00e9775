// The file of a recording under way, which no other zorhost may touch meanwhile.
#pragma once

#include "midifile/song.h"

#include <string>

namespace zorhost {

class JournalFile {
public:
    enum class Which { New, Existing };
    // Holds it alone; else Error says why not.
    JournalFile(const std::string& path, Which which);
    ~JournalFile(); // it stays
    JournalFile(const JournalFile&) = delete;
    JournalFile& operator=(const JournalFile&) = delete;

    bool IsHeld() const { return Error.empty(); }
    bool WasThere() const { return Existed; } // a new one is not made over another
    // All of the bytes at a place in the file; false if they could not be written.
    bool Put(midifile::ByteSpan bytes, std::size_t at) const;
    void Sync() const; // to the disk itself
    void Remove() const;

    std::string Error;

private:
    std::string Path;
    std::intptr_t Handle = -1;
    bool Existed = false;
};

} // namespace zorhost
