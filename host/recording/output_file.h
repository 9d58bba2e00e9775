// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A file that replaces its predecessor only when it is completely written.
#pragma once

#include "midifile/song.h"

#include <string>

namespace zorhost {

class OutputFile {
public:
    // Checks that the file can be written, without changing it. Symbolic links are followed. A pipe
    // and /dev/stdout are opened for writing; with /dev/stdout, the program's other output goes to
    // standard error from now on. Throws HostError for other special files, for folders and if
    // permission is missing.
    explicit OutputFile(const std::string& path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    const std::string& Path() const { return GivenPath; } // as the user wrote it
    // The absolute path behind all links; empty for a pipe.
    const std::string& RealPath() const { return ResolvedPath; }
    // Writes the whole contents and flushes them to the disk. Throws HostError; the old file is
    // unchanged then.
    void Write(midifile::ByteSpan bytes) const;

private:
    void OpenStream();
    void CheckFile() const;
    void Replace(midifile::ByteSpan bytes) const;

    std::string GivenPath;
    std::string ResolvedPath;
    int Stream = -1; // file descriptor of a pipe or standard output
};

// Throws HostError.
inline void WriteText(const std::string& text, const OutputFile& file) {
    file.Write(midifile::Bytes(text.begin(), text.end()));
}

} // namespace zorhost
