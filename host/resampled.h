// A sound file at the recogniser's rate.
#pragma once

#include "host/frame_maker.h"
#include "host/sound_file.h"

#include <soxr.h>

#include <array>
#include <memory>

namespace zorhost {

using Block = std::array<float, FrameSamples>;

class Resampled {
public:
    // Throws HostError if there is no way from the file's rate.
    explicit Resampled(SoundFile& file);
    // Less than asked for at the end only.
    std::size_t Read(std::span<float> samples) {
        return soxr_output(Converter.get(), samples.data(), samples.size());
    }

private:
    struct Free {
        void operator()(soxr* converter) const { soxr_delete(converter); }
    };
    static std::size_t Supply(void* self, soxr_in_t* data, std::size_t wanted);

    SoundFile& File;
    std::array<float, 4096> Chunk;
    std::unique_ptr<soxr, Free> Converter;
};

} // namespace zorhost
