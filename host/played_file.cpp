#include "host/played_file.h"

#include "host/host_error.h"

#include <algorithm>

namespace zorhost {

PlayedFile::PlayedFile(std::string path) : Path(std::move(path)) {
    Rewind();
    Length = File->Announced();
}

void PlayedFile::Rewind() {
    Source.reset();
    File.reset(); // what is piped in cannot be open twice
    File = std::make_unique<SoundFile>(Path);
    Source = std::make_unique<Resampled>(*File);
    Heard = 0;
    Broken = false;
}

// It may have gone since the last capture.
void PlayedFile::RewindIfThere() try { Rewind(); } catch (const HostError&) {
    Broken = true;
}

// Each channel hears the mean of the file's. It is read into the front of the room for all
// channels, and spread from the back.
void PlayedFile::Fill(const machine::FeedRequest& request) {
    const std::scoped_lock lock(Lock);
    if (request.First == 0 && Heard > 0) RewindIfThere();
    const std::span<float> samples = request.Samples;
    const std::size_t frames = samples.size() / request.Channels;
    const std::size_t got = Source ? Source->Read(samples.first(frames)) : 0;
    std::ranges::fill(samples.subspan(got), 0.0f);
    for (std::size_t i = got * request.Channels; i-- > 0;)
        samples[i] = samples[i / request.Channels];
    Heard += frames;
    if (!Source || got == frames) return;
    Source.reset();
    Broken = File->BrokeOff();
}

double PlayedFile::SecondsHeard() const {
    const std::scoped_lock lock(Lock);
    const double heard = static_cast<double>(Heard) / AnalysisRate;
    return std::min(heard, Source || !Broken ? Length : File ? File->Position() : 0);
}

bool PlayedFile::Ended() const {
    const std::scoped_lock lock(Lock);
    return !Source;
}

bool PlayedFile::BrokeOff() const {
    const std::scoped_lock lock(Lock);
    return Broken;
}

} // namespace zorhost
