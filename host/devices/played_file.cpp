#include "host/devices/played_file.h"

#include "host/terminal/host_error.h"

#include <algorithm>

namespace zorhost {

PlayedFile::PlayedFile(std::string path) : Path(std::move(path)), Last(KeptFrames) {
    Rewind();
    File->Prescan();
    How = File->CurrentMixing();
    Length = File->AnnouncedSeconds();
}

void PlayedFile::Rewind() {
    Source.reset();
    File.reset(); // what is piped in cannot be open twice
    Decoded = 0;
    File = std::make_unique<SoundFile>(Path, How);
    Source = std::make_unique<Resampler>(*File);
    Broken = false;
}

// It may have gone since the last time.
void PlayedFile::RewindIfThere() try { Rewind(); } catch (const HostError&) {
    Broken = true;
}

void PlayedFile::DecodeTo(std::uint64_t end) {
    while (Source && Decoded < end) {
        const std::size_t at = Decoded % Last.size();
        const auto wanted = std::min<std::uint64_t>(end - Decoded, Last.size() - at);
        const std::size_t got = Source->Read(std::span(Last).subspan(at, wanted));
        Decoded += got;
        if (got == wanted) continue;
        Source.reset();
        Broken = File->IsTruncated();
    }
}

void PlayedFile::Fill(const machine::FeedRequest& request) {
    const std::scoped_lock lock(Lock);
    Heard = request.First + request.Samples.size() / request.Channels;
    if (request.First + Last.size() < Decoded) RewindIfThere();
    DecodeTo(Heard);
    for (std::size_t i = 0; i < request.Samples.size(); ++i) {
        const std::uint64_t frame = request.First + i / request.Channels;
        request.Samples[i] = frame < Decoded ? Last[frame % Last.size()] : 0;
    }
}

double PlayedFile::SecondsHeard() const {
    const std::scoped_lock lock(Lock);
    const double heard = static_cast<double>(Heard) / AnalysisRate;
    return std::min(heard, Broken && File ? File->Position() : Length);
}

bool PlayedFile::Ended() const {
    const std::scoped_lock lock(Lock);
    return !Source && Heard >= Decoded;
}

bool PlayedFile::BrokeOff() const {
    const std::scoped_lock lock(Lock);
    return Broken;
}

} // namespace zorhost
