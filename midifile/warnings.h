// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Faults that were found while reading a MIDI file, and how each was repaired.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace midifile {

// Why a file cannot be read or written. The text continues a sentence that begins with the file's
// name: "is not a MIDI file".
class Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Collects one line per kind of fault, with the location of the first one and the number of all.
class Warnings {
public:
    // strict: Add throws an Error instead.
    explicit Warnings(bool strict) : Strict(strict) {}

    // text: the kind of fault and its repair, "bytes between tracks are ignored". location: "track
    // 2", or empty. byte: offset in the file, 0 for none.
    void Add(const std::string& text, const std::string& location = {}, std::size_t byte = 0);
    std::vector<std::string> Lines() const;

private:
    struct Kind {
        std::string Text;
        std::string FirstLocation;
        std::size_t Count;
    };
    bool Strict;
    std::vector<Kind> Kinds;
};

} // namespace midifile
