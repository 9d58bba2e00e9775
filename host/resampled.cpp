#include "host/resampled.h"

#include "host/host_error.h"

#include <algorithm>

namespace zorhost {

Resampled::Resampled(SoundFile& file) : File(file), Chunk() {
    const soxr_io_spec_t samples = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
    const soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
    Converter.reset(
        soxr_create(file.Rate(), AnalysisRate, 1, nullptr, &samples, &quality, &runtime));
    if (!Converter || soxr_set_input_fn(Converter.get(), &Supply, this, Chunk.size())) {
        throw HostError("the sound cannot be brought to the recogniser's rate");
    }
}

std::size_t Resampled::Supply(void* self, soxr_in_t* data, std::size_t wanted) {
    auto& mine = *static_cast<Resampled*>(self);
    *data = mine.Chunk.data();
    return mine.File.Read(std::span(mine.Chunk).first(std::min(wanted, mine.Chunk.size())));
}

} // namespace zorhost
