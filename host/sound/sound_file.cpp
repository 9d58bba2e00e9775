#include "host/sound/sound_file.h"

#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <sys/stat.h>
#include <type_traits>
#include <unistd.h>

namespace zorhost {

namespace {

constexpr sf_count_t Chunk = 4096; // frames
// A file of floats can hold numbers of 32 bits as they are; nothing is meant to be beyond that.
constexpr float Absurd = 1e10f;
constexpr double MuchWeaker = 0.01; // of the energy: 20 dB

[[noreturn]] void CannotRead(const std::string& path, const std::string& why) {
    throw HostError("\"" + path + "\" cannot be read: " + why);
}

// Count is a number or, so that the compiler can take many frames at once, a constant.
template <class Count>
void Average(const float* from, Count count, std::span<float> mean) {
    const float share = 1 / static_cast<float>(count);
    float* to = mean.data();
    const std::size_t frames = mean.size();
    for (std::size_t i = 0; i < frames; ++i) {
        float sum = 0;
        for (std::size_t channel = 0; channel < count; ++channel) sum += from[i * count + channel];
        to[i] = sum * share;
    }
}

// Of one channel of so many, or of what is mixed. Some of the frames tell enough.
double Energy(const float* from, std::size_t frames, std::size_t channels) {
    constexpr std::size_t some = 7;
    float sum = 0;
    for (std::size_t i = 0; i < frames; i += some) sum += from[i * channels] * from[i * channels];
    return sum;
}

// What the formats need to go back and forth in.
std::FILE* Spooled(std::FILE* from, const std::string& path) {
    std::FILE* to = std::tmpfile();
    if (!to) CannotRead(path, std::strerror(errno));
    std::array<char, 65536> bytes;
    while (!Interrupted()) {
        const std::size_t got = std::fread(bytes.data(), 1, bytes.size(), from);
        if (got == 0) break;
        if (std::fwrite(bytes.data(), 1, got, to) == got) continue;
        std::fclose(to);
        CannotRead(path, "there is no room to keep it");
    }
    std::fflush(to);
    std::rewind(to);
    return to;
}

} // namespace

SoundFile::SoundFile(const std::string& path, const Mixing& how) : Mix(how) {
    OpenStream(path);
    File.reset(sf_open_fd(fileno(Stream.get()), SFM_READ, &Info, SF_FALSE));
    if (!File) CannotRead(path, "it is not a sound file of a kind that is known");
    if (Info.frames <= 0 || Info.channels < 1 || Info.samplerate < 1) {
        throw HostError("\"" + path + "\" holds no sound");
    }
    Channels.resize(static_cast<std::size_t>(Chunk * Info.channels));
    Seen.Energies.resize(static_cast<std::size_t>(Info.channels));
    const int kind = Info.format & SF_FORMAT_SUBMASK;
    Floats = kind == SF_FORMAT_FLOAT || kind == SF_FORMAT_DOUBLE;
}

void SoundFile::OpenStream(const std::string& path) {
    const InterruptibleReads wait;
    Stream.reset(path == StandardInput ? fdopen(dup(STDIN_FILENO), "rb")
                                       : std::fopen(path.c_str(), "rb"));
    struct stat about = {};
    if (!Stream || fstat(fileno(Stream.get()), &about) != 0) {
        CannotRead(path, std::strerror(errno));
    }
    if (S_ISDIR(about.st_mode)) CannotRead(path, "it is a folder");
    if (!S_ISREG(about.st_mode)) {
        Stream.reset(Spooled(Stream.get(), path));
        fstat(fileno(Stream.get()), &about);
    }
    if (about.st_size == 0) CannotRead(path, "it is empty");
}

double SoundFile::Announced() const {
    return static_cast<double>(Info.frames) / static_cast<double>(Info.samplerate);
}

std::size_t SoundFile::Read(std::span<float> samples) {
    std::size_t done = 0;
    while (done < samples.size()) {
        const auto wanted =
            std::min<sf_count_t>(Chunk, static_cast<sf_count_t>(samples.size() - done));
        const sf_count_t got = sf_readf_float(File.get(), Channels.data(), wanted);
        if (got <= 0) break;
        Taken += got;
        if (Floats) Clean(std::span(Channels).first(static_cast<std::size_t>(got * Info.channels)));
        MixDown(samples.subspan(done, static_cast<std::size_t>(got)));
        done += static_cast<std::size_t>(got);
    }
    return done;
}

// A file of floats can hold what is no number, which would stay in every filter.
void SoundFile::Clean(std::span<float> samples) {
    const float scale = Mix.Scale;
    const auto fits = [scale](float sample) { return std::fabs(sample * scale) < Absurd; };
    std::int32_t sane = 0, silent = 0;
    for (const float sample : samples) {
        sane += fits(sample);
        silent += sample == 0;
    }
    Seen.Sane += sane - silent;
    for (const float sample : samples.first(sane == std::ssize(samples) ? 0 : samples.size())) {
        if (fits(sample) || !std::isfinite(sample)) continue;
        ++Seen.Absurd;
        Seen.Greatest = std::max(Seen.Greatest, std::fabs(sample));
    }
    for (float& sample : samples) sample = fits(sample) ? sample * scale : 0;
}

void SoundFile::MixDown(std::span<float> mono) {
    const auto count = static_cast<std::size_t>(Info.channels);
    const float* const from = Channels.data();
    if (Mix.Channel >= 0) {
        for (std::size_t i = 0; i < mono.size(); ++i)
            mono[i] = from[i * count + static_cast<std::size_t>(Mix.Channel)];
        return;
    }
    if (count == 1) {
        std::ranges::copy_n(from, std::ssize(mono), mono.begin());
        return;
    }
    if (count == 2)
        Average(from, std::integral_constant<std::size_t, 2>(), mono);
    else
        Average(from, count, mono);
    Seen.MeanEnergy += Energy(mono.data(), mono.size(), 1);
    for (std::size_t channel = 0; channel < count; ++channel)
        Seen.Energies[channel] += Energy(from + channel, mono.size(), count);
}

bool SoundFile::ReadAnew() {
    const Mixing before = Mix;
    const auto loudest = std::ranges::max_element(Seen.Energies);
    if (Seen.Absurd > Seen.Sane && Mix.Scale == 1)
        Mix.Scale = 1 / Seen.Greatest;
    else if (Mix.Channel < 0 && Seen.MeanEnergy < *loudest * MuchWeaker)
        Mix.Channel = static_cast<int>(loudest - Seen.Energies.begin());
    return Mix != before && Rewind();
}

bool SoundFile::Rewind() {
    if (sf_seek(File.get(), 0, SEEK_SET) != 0) return false;
    Taken = 0;
    Seen = {.Energies = std::vector<double>(Seen.Energies.size())};
    return true;
}

void SoundFile::Survey() {
    if ((Info.channels == 1 && !Floats) || !Info.seekable) return;
    std::vector<float> passed(Chunk);
    do {
        while (Read(passed) == passed.size() && !Interrupted()) {
        }
    } while (ReadAnew());
    Rewind();
}

std::string SoundFile::Remark() const {
    std::string text;
    if (Mix.Scale != 1) text = "its samples are beyond all scales, so the greatest counts as full";
    if (Mix.Channel < 0) return text;
    return text + (text.empty() ? "" : "; ") + "its channels cancel each other, so channel " +
           std::to_string(Mix.Channel + 1) + " alone is heard";
}

bool SoundFile::BrokeOff() const {
    // Of an MP3 the length is only guessed.
    if ((Info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_MPEG) return false;
    return sf_error(File.get()) != SF_ERR_NO_ERROR || Taken < Info.frames || CutShort();
}

// A WAV or AIFF whose header tells of more sound than the file holds is taken as shorter without an
// error; only the log of its reading says so.
bool SoundFile::CutShort() const {
    std::array<char, 16384> log = {};
    sf_command(File.get(), SFC_GET_LOG_INFO, log.data(), static_cast<int>(log.size() - 1));
    const char* data = std::strstr(log.data(), "data :");
    if (!data) data = std::strstr(log.data(), "SSND :");
    if (!data) return false;
    const std::string line(data, std::strcspn(data, "\n"));
    return line.find("should be") != std::string::npos;
}

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
