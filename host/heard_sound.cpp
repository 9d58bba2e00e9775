#include "host/heard_sound.h"

#include "host/frame_maker.h"
#include "host/host_error.h"
#include "host/interrupt.h"
#include "host/live_gain.h"
#include "host/progress.h"
#include "host/sound_file.h"
#include "host/tone_filter.h"

#include <soxr.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>

namespace zorhost {

namespace {

using Block = std::array<float, FrameSamples>;

// A file at the recogniser's rate.
class Resampled {
public:
    explicit Resampled(SoundFile& file);
    // Less than a block at the end only.
    std::size_t Read(Block& block) {
        return soxr_output(Converter.get(), block.data(), block.size());
    }

private:
    struct Free {
        void operator()(soxr* converter) const { soxr_delete(converter); }
    };
    static std::size_t Supply(void* self, soxr_in_t* data, std::size_t wanted) {
        auto& mine = *static_cast<Resampled*>(self);
        *data = mine.Chunk.data();
        return mine.File.Read(std::span(mine.Chunk).first(std::min(wanted, mine.Chunk.size())));
    }

    SoundFile& File;
    std::array<float, 4096> Chunk;
    std::unique_ptr<soxr, Free> Converter;
};

Resampled::Resampled(SoundFile& file) : File(file) {
    const soxr_io_spec_t samples = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
    const soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
    Converter.reset(
        soxr_create(file.Rate(), AnalysisRate, 1, nullptr, &samples, &quality, &runtime));
    if (!Converter || soxr_set_input_fn(Converter.get(), &Supply, this, Chunk.size())) {
        throw HostError("the sound cannot be brought to the recogniser's rate");
    }
}

// Samples between the two passes, since the peak is known only when all has been read. In 16 bits,
// which leaves a take of a thousandth of full scale what the recogniser's 8 bits can tell.
class Spool {
public:
    Spool() : File(std::tmpfile()) {
        if (!File) throw HostError("there is no room for temporary files");
    }
    void Write(const Block& block) {
        std::ranges::transform(block, Packed.begin(), [](float sample) {
            return static_cast<std::int16_t>(
                std::lrint(std::clamp(sample, -1.0f, 1.0f) * FullScale));
        });
        if (std::fwrite(Packed.data(), sizeof Packed, 1, File.get()) != 1) {
            throw HostError("there is no room to keep the sound while it is measured");
        }
    }
    void Rewind() { std::rewind(File.get()); }
    bool Read(Block& block) {
        if (std::fread(Packed.data(), sizeof Packed, 1, File.get()) != 1) return false;
        std::ranges::transform(Packed, block.begin(), [](std::int16_t sample) {
            return static_cast<float>(sample) / FullScale;
        });
        return true;
    }

private:
    static constexpr float FullScale = 32767;
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    std::unique_ptr<std::FILE, Close> File;
    std::array<std::int16_t, FrameSamples> Packed;
};

float PeakOf(const Block& block) {
    float peak = 0;
    for (const float sample : block) peak = std::max(peak, std::fabs(sample));
    return peak;
}

class FileHearing {
public:
    FileHearing(const std::string& path, Loudness loudness) : File(path), How(loudness) {
        Sound.Announced = File.Announced();
        Sound.OnLevel = Maker.OnLevel();
        Sound.OffLevel = Maker.OffLevel();
    }
    HeardSound Hear() {
        ReadAll();
        Measure();
        return std::move(Sound);
    }

private:
    void ReadAll();
    void Measure();
    void ShowProgress();

    SoundFile File;
    Loudness How;
    Spool Samples;
    FrameMaker Maker;
    HeardSound Sound;
    Progress Line; // for what takes longer than a second
    const std::chrono::steady_clock::time_point Begun = std::chrono::steady_clock::now();
};

void FileHearing::ReadAll() {
    Resampled source(File);
    ToneFilter filter;
    Block block;
    for (std::size_t got = block.size(); got == block.size() && !Interrupted();) {
        got = source.Read(block);
        std::fill(block.begin() + static_cast<std::ptrdiff_t>(got), block.end(), 0.0f);
        if (got == 0) break;
        if (How != Loudness::AsItIs) filter.Apply(block);
        Sound.Peak = std::max<double>(Sound.Peak, PeakOf(block));
        Samples.Write(block);
        ShowProgress();
    }
    Sound.Seconds = File.Position();
    Sound.BrokeOff = !Interrupted() && File.BrokeOff();
    Line.End();
}

void FileHearing::Measure() {
    Samples.Rewind();
    LiveGain follower;
    const float raised = GoodPeak / std::max(static_cast<float>(Sound.Peak), 1e-6f);
    Block block;
    while (Samples.Read(block)) {
        const float gain = How == Loudness::AsItIs   ? 1.0f
                           : How == Loudness::Raised ? raised
                                                     : follower.For(block);
        Sound.Frames.push_back(Maker.Take(block, gain));
    }
}

void FileHearing::ShowProgress() {
    using namespace std::chrono_literals;
    if (std::chrono::steady_clock::now() - Begun < 1s || !Line.Due()) return;
    const auto read = static_cast<std::int64_t>(File.Position() * 1000);
    const auto whole = static_cast<std::int64_t>(File.Announced() * 1000);
    Line.Show(Bar(read, whole, 30) + "  " + ClockText(read) + " of " + ClockText(whole));
}

} // namespace

HeardSound HearFile(const std::string& path, Loudness loudness) {
    return FileHearing(path, loudness).Hear();
}

} // namespace zorhost
