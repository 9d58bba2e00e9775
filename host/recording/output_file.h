// A file that appears under its name only when it is complete, in place of one that was there.
#pragma once

#include "midifile/song.h"

#include <string>

namespace zorhost {

class OutputFile {
public:
    // Looks at once whether it can be written. A link is followed to what it names; a pipe and
    // /dev/stdout are written to as they are, and text for standard output then goes to standard
    // error. Throws HostError for anything else that is no file, and for a folder that cannot be
    // written.
    explicit OutputFile(const std::string& path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    const std::string& Path() const { return Named; } // as the user gave it
    // Where the file lies, its links followed; empty for a pipe.
    const std::string& RealPath() const { return Real; }
    // The whole contents, to the disk itself. Throws HostError: what was there is there still.
    void Write(midifile::ByteSpan bytes) const;

private:
    void OpenStream();
    void CheckFile() const;
    void Replace(midifile::ByteSpan bytes) const;

    std::string Named;
    std::string Real;
    int Stream = -1; // of a pipe or standard output
};

// Throws HostError.
inline void WriteText(const std::string& text, const OutputFile& file) {
    file.Write(midifile::Bytes(text.begin(), text.end()));
}

} // namespace zorhost
