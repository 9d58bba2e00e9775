// What a capture hears of a file: samples, rates, channels, ends and broken files.
#include "platform/virtual/feed.h"
#include "tests/platform/ramp.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <numbers>

namespace {

using machine::FeedReader;
using machine::FileFeed;

// A file in a folder of its own that goes away with the object.
class TempFile {
public:
    explicit TempFile(const std::string& name) {
        std::string pattern = (std::filesystem::temp_directory_path() / "zorsoundXXXXXX").string();
        folder_ = ::mkdtemp(pattern.data());
        path_ = (folder_ / name).string();
    }
    ~TempFile() {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
    const std::string& Path() const { return path_; }

private:
    std::filesystem::path folder_;
    std::string path_;
};

using Signal = std::function<float(std::uint64_t frame, unsigned channel)>;

// format: SF_FORMAT_ values of libsndfile.
void WriteSound(const std::string& path, int format, unsigned rate, unsigned channels,
                std::uint64_t frames, const Signal& signal) {
    SF_INFO info = {};
    info.samplerate = static_cast<int>(rate);
    info.channels = static_cast<int>(channels);
    info.format = format;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr) << sf_strerror(nullptr);
    sf_command(file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
    std::vector<float> samples;
    for (std::uint64_t frame = 0; frame < frames; ++frame)
        for (unsigned channel = 0; channel < channels; ++channel)
            samples.push_back(signal(frame, channel));
    EXPECT_EQ(sf_writef_float(file, samples.data(), static_cast<sf_count_t>(frames)),
              static_cast<sf_count_t>(frames));
    sf_close(file);
}

machine::Feed OpenFeed(const std::string& path) {
    FileFeed told;
    auto feed = machine::OpenFileFeed(path, told);
    EXPECT_TRUE(feed) << told.Error;
    return feed;
}

std::vector<float> Take(FeedReader& reader, std::size_t frames, unsigned channels,
                        std::size_t step = 700) {
    std::vector<float> samples(frames * channels);
    for (std::size_t done = 0; done < frames; done += step)
        reader.Read(samples.data() + done * channels, std::min(step, frames - done));
    return samples;
}

float Sine(double frequency, double seconds) {
    return static_cast<float>(0.5 * std::sin(2 * std::numbers::pi * frequency * seconds));
}

TEST(FileFeed, SameRateAndChannelsComeThroughToTheBit) {
    struct Case {
        const char* Name;
        int Format;
        unsigned Bits;
        unsigned Channels;
    };
    const Case cases[] = {{"a.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 16, 2},
                          {"b.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 16, 2},
                          {"c.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, 16, 1},
                          {"d.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 8, 1},
                          {"e.w64", SF_FORMAT_W64 | SF_FORMAT_FLOAT, 16, 2}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.Name);
        const TempFile file(c.Name);
        const int coarse = c.Bits == 8 ? 256 : 1;
        const auto signal = [coarse](std::uint64_t frame, unsigned channel) {
            const int word = RampSample(frame, channel) / coarse * coarse;
            return static_cast<float>(word) / 32768.0f;
        };
        WriteSound(file.Path(), c.Format, 22050, c.Channels, 5000, signal);
        const auto feed = OpenFeed(file.Path());
        ASSERT_TRUE(feed);
        const auto reader = feed(0, 22050, c.Channels);
        const std::vector<float> got = Take(*reader, 5000, c.Channels);
        for (std::size_t i = 0; i < got.size(); ++i)
            ASSERT_EQ(got[i], signal(i / c.Channels, i % c.Channels)) << i;
    }
}

// The measure is the ideal sine at the same moment, so level, pitch and delay are all held.
TEST(FileFeed, OtherRatesKeepLevelPitchAndTime) {
    struct Case {
        unsigned From, To;
        double Frequency;
        int Format;
        double Tolerance;
    };
    const int wav = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    const int ogg = SF_FORMAT_OGG | SF_FORMAT_VORBIS;
    const Case cases[] = {{48000, 22050, 4000, wav, 2e-4},
                          {11025, 44100, 3000, wav, 2e-4},
                          {44100, 22050, 440, ogg, 2e-2}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.From << " to " << c.To);
        const TempFile file(c.Format == ogg ? "sine.ogg" : "sine.wav");
        WriteSound(file.Path(), c.Format, c.From, 1, c.From, [&](std::uint64_t f, unsigned) {
            return Sine(c.Frequency, static_cast<double>(f) / c.From);
        });
        const auto feed = OpenFeed(file.Path());
        ASSERT_TRUE(feed);
        const auto reader = feed(0, c.To, 2);
        const std::vector<float> got = Take(*reader, c.To, 2);
        for (std::size_t frame = c.To / 10; frame < c.To * 9 / 10; ++frame) {
            const float wanted = Sine(c.Frequency, static_cast<double>(frame) / c.To);
            ASSERT_NEAR(got[2 * frame], wanted, c.Tolerance) << frame;
            ASSERT_EQ(got[2 * frame], got[2 * frame + 1]);
        }
    }
}

TEST(FileFeed, TellsOfItsEndAndIsSilentBehindIt) {
    const TempFile file("short.wav");
    WriteSound(file.Path(), SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 1, 4410,
               [](std::uint64_t, unsigned) { return 0.25f; });
    const auto reader = OpenFeed(file.Path())(0, 44100, 1);
    for (const float sample : Take(*reader, 4409, 1)) ASSERT_EQ(sample, 0.25f);
    EXPECT_EQ(reader->Progress().FileFrames, 4409u);
    EXPECT_FALSE(reader->Progress().Ended);
    EXPECT_EQ(Take(*reader, 1, 1).front(), 0.25f);
    EXPECT_TRUE(reader->Progress().Ended);
    for (const float sample : Take(*reader, 5000, 1)) ASSERT_EQ(sample, 0);
    EXPECT_EQ(reader->Progress().FileFrames, 4410u);
    EXPECT_FALSE(reader->Progress().Failed);
}

TEST(FileFeed, AFileThatBreaksOffOrGoesAwayTurnsSilent) {
    const TempFile file("broken.flac");
    WriteSound(file.Path(), SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 22050, 1, 100000,
               [](std::uint64_t f, unsigned) {
                   return static_cast<float>(RampSample(f * 7919, 0)) / 40000.0f;
               });
    const auto feed = OpenFeed(file.Path());
    std::filesystem::resize_file(file.Path(), std::filesystem::file_size(file.Path()) / 2);
    const auto reader = feed(0, 22050, 1);
    const std::vector<float> got = Take(*reader, 110000, 1);
    EXPECT_TRUE(reader->Progress().Failed);
    EXPECT_TRUE(reader->Progress().Ended);
    EXPECT_GT(reader->Progress().FileFrames, 30000u);
    EXPECT_LT(reader->Progress().FileFrames, 60000u);
    EXPECT_EQ(got.back(), 0);

    std::filesystem::remove(file.Path());
    const auto late = feed(0, 22050, 2);
    for (const float sample : Take(*late, 100, 2)) ASSERT_EQ(sample, 0);
    EXPECT_TRUE(late->Progress().Failed);
}

} // namespace
