// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A sound file to notes, compared with reading and resampling it alone; and one frame of the
// decoder, compared with one of the recogniser.
#include "bench/table.h"
#include "hearing/decoder.h"
#include "host/sound/resampled_file.h"
#include "host/sound/transcript.h"

#include <array>
#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <sndfile.h>
#include <soxr.h>
#include <unistd.h>

namespace {

constexpr char AsItIs[] = "read and resample a minute";
constexpr char Mixed[] = "the same, mixed to one channel first";
constexpr char Whole[] = "a minute of sound to its notes";
constexpr char OneFrame[] = "recogniser, one frame";
constexpr char Live[] = "decoder live, one frame";
constexpr char File[] = "decoder of files, one frame";

// A temporary WAV file: one minute of a scale with a note per 0.5 s; 44,100 Hz, 2 channels, 16
// bits.
class Song {
public:
    Song() {
        close(mkstemp(Name.data()));
        SF_INFO info = {};
        info.samplerate = Rate;
        info.channels = 2;
        info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
        SNDFILE* file = sf_open(Name.c_str(), SFM_WRITE, &info);
        double phase = 0;
        for (int i = 0; i < 60 * Rate; ++i) {
            phase += 220 * std::exp2(i / (Rate / 2) % 13 / 12.0) / Rate;
            float sample = 0;
            for (int h = 1; h <= 6; ++h) {
                sample += static_cast<float>(std::sin(2 * std::numbers::pi * h * phase)) * 0.2f /
                          static_cast<float>(h);
            }
            const float both[] = {sample, sample};
            sf_writef_float(file, both, 1);
        }
        sf_close(file);
    }
    ~Song() { std::remove(Name.c_str()); }
    const std::string& Path() const { return Name; }

private:
    static constexpr int Rate = 44100;
    std::string Name = "/tmp/zor-bench-XXXXXX";
};

const std::string& SongPath() {
    static const Song song;
    return song.Path();
}

// Without mixing: two channels in, two channels out.
void ReadAndResample(benchmark::State& state) {
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
    const soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
    const soxr_io_spec_t samples = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
    constexpr std::size_t frames = 4096;
    std::array<float, 2 * frames> in;
    std::array<float, 2 * frames> out;
    for (auto _ : state) {
        SF_INFO info = {};
        SNDFILE* file = sf_open(SongPath().c_str(), SFM_READ, &info);
        soxr_t converter = soxr_create(info.samplerate, zorhost::AnalysisRate, 2, nullptr, &samples,
                                       &quality, &runtime);
        for (std::size_t got = 1; got > 0;) {
            got = static_cast<std::size_t>(sf_readf_float(file, in.data(), frames));
            std::size_t done = 0;
            soxr_process(converter, got ? in.data() : nullptr, got, nullptr, out.data(), frames,
                         &done);
            benchmark::DoNotOptimize(out.data());
        }
        soxr_delete(converter);
        sf_close(file);
    }
}
BENCHMARK(ReadAndResample)->Name(AsItIs);

// The first step of the pipeline.
void ReadMixed(benchmark::State& state) {
    for (auto _ : state) {
        zorhost::SoundFile file(SongPath());
        zorhost::ResampledFile source(file);
        zorhost::Block block;
        while (source.Read(block) == block.size()) benchmark::DoNotOptimize(block.data());
    }
}
BENCHMARK(ReadMixed)->Name(Mixed);

void ToNotes(benchmark::State& state) {
    const std::string& path = SongPath();
    for (auto _ : state) {
        const auto sound = zorhost::AnalyseFile(path, zorhost::Mode::Take);
        benchmark::DoNotOptimize(zorhost::ToTranscript(sound));
    }
}
BENCHMARK(ToNotes)->Name(Whole);

void Recognise(benchmark::State& state) {
    zorhost::SoundFile file(SongPath());
    zorhost::ResampledFile source(file);
    std::vector<zorhost::Block> blocks(2048);
    for (zorhost::Block& block : blocks) source.Read(block);
    zorhearing::FrameAnalyser analyser;
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(analyser.Analyse(blocks[next], 1));
        next = (next + 1) % blocks.size();
    }
}
BENCHMARK(Recognise)->Name(OneFrame);

void Decode(benchmark::State& state, int lag) {
    const auto sound = zorhost::AnalyseFile(SongPath(), zorhost::Mode::Take);
    hearing::Decoder decoder(lag);
    std::size_t next = 0;
    for (auto _ : state) {
        decoder.Feed(sound.Frames[next]);
        next = (next + 1) % sound.Frames.size();
    }
}
BENCHMARK_CAPTURE(Decode, live, hearing::LiveLag)->Name(Live);
BENCHMARK_CAPTURE(Decode, file, hearing::FileLag)->Name(File);

constexpr bench::Ratio Lines[] = {
    {Whole, AsItIs, 1.5}, {Whole, Mixed, 0}, {Live, OneFrame, 0}, {File, OneFrame, 0}};

} // namespace

int main(int argc, char** argv) {
    const bench::Results results = bench::RunBenchmarks(argc, argv);
    bench::PrintSection("Sound files to notes", results, Lines);
    return 0;
}
