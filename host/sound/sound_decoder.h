// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Decodes sound files, each system in its own way.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace zorhost {

// The path that stands for standard input.
constexpr char StandardInput[] = "-";

class SoundDecoder {
public:
    virtual ~SoundDecoder() = default;

    // Reads the next frames, interleaved, -1 to 1. Returns their number, which is less than
    // requested only at the end.
    virtual std::size_t Read(float* frames, std::size_t count) = 0;
    // Goes back to the beginning. False if that is not possible.
    virtual bool Rewind() = 0;
    // At the end: whether the file ended before its announced length. read: frames.
    virtual bool IsTruncated(std::int64_t read) const = 0;

    int Rate = 0;             // Hz
    std::size_t Channels = 0; // interleaved
    std::int64_t Frames = 0;  // according to the header; an estimate in some formats
    bool Floats = false;      // the file contains floating-point samples
};

// path: a file, a pipe or StandardInput. Throws HostError if it cannot be read or is no sound of a
// known format.
std::unique_ptr<SoundDecoder> OpenSound(const std::string& path);

} // namespace zorhost
