// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/devices/played_file.h"

#include "host/terminal/host_error.h"

#include <algorithm>

namespace zorhost {

PlayedFile::PlayedFile(std::string path) : Path(std::move(path)), Ring(RingFrames) {
    Rewind();
    File->Prescan();
    FileMixing = File->CurrentMixing();
    Length = File->AnnouncedSeconds();
}

void PlayedFile::Rewind() {
    Source.reset();
    File.reset(); // close before reopening: a pipe cannot be opened twice
    Decoded = 0;
    File = std::make_unique<SoundFile>(Path, FileMixing);
    Source = std::make_unique<ResampledFile>(*File);
    Truncated = false;
}

// The file may have been removed since the last pass: then the microphone captures silence.
void PlayedFile::RewindIfReadable() try { Rewind(); } catch (const HostError&) {
    Truncated = true;
}

// Decodes up to a frame into the ring, overwriting frames that are RingFrames older.
void PlayedFile::DecodeTo(std::uint64_t end) {
    while (Source && Decoded < end) {
        const std::size_t offset = Decoded % Ring.size();
        const auto wanted = std::min<std::uint64_t>(end - Decoded, Ring.size() - offset);
        const std::size_t got = Source->Read(std::span(Ring).subspan(offset, wanted));
        Decoded += got;
        if (got == wanted) continue;
        Source.reset();
        Truncated = File->IsTruncated();
    }
}

// A request far behind the decoded frames means that a new capture has begun at the start.
void PlayedFile::Fill(const machine::FeedRequest& request) {
    const std::scoped_lock lock(Lock);
    Captured = request.First + request.Samples.size() / request.Channels;
    if (request.First + Ring.size() < Decoded) RewindIfReadable();
    DecodeTo(Captured);
    for (std::size_t i = 0; i < request.Samples.size(); ++i) {
        const std::uint64_t frame = request.First + i / request.Channels;
        request.Samples[i] = frame < Decoded ? Ring[frame % Ring.size()] : 0;
    }
}

double PlayedFile::SecondsCaptured() const {
    const std::scoped_lock lock(Lock);
    const double captured = static_cast<double>(Captured) / AnalysisRate;
    return std::min(captured, Truncated && File ? File->Position() : Length);
}

bool PlayedFile::Ended() const {
    const std::scoped_lock lock(Lock);
    return !Source && Captured >= Decoded;
}

bool PlayedFile::BrokeOff() const {
    const std::scoped_lock lock(Lock);
    return Truncated;
}

} // namespace zorhost
