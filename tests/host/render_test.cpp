// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Sound from MIDI files: render, and the notes beside a recording.
#include "tests/host/midi_bytes.h"
#include "tests/host/program.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sndfile.h>

namespace {

struct Sound {
    int Rate = 0;
    std::vector<float> Left, Right;
};

Sound ReadSound(const std::string& name) {
    SF_INFO info{};
    SNDFILE* const file = sf_open(name.c_str(), SFM_READ, &info);
    if (!file) return {};
    std::vector<float> frames(static_cast<std::size_t>(info.frames * info.channels));
    sf_readf_float(file, frames.data(), info.frames);
    sf_close(file);
    Sound sound{info.samplerate, {}, {}};
    for (std::size_t i = 0; i + 1 < frames.size(); i += 2) {
        sound.Left.push_back(frames[i]);
        sound.Right.push_back(frames[i + 1]);
    }
    return sound;
}

float Peak(const std::vector<float>& samples, double begin = 0, double end = 1) {
    float peak = 0;
    const auto size = static_cast<double>(samples.size());
    for (auto i = static_cast<std::size_t>(begin * size); i < static_cast<std::size_t>(end * size);
         ++i)
        peak = std::max(peak, std::fabs(samples[i]));
    return peak;
}

// Seconds from the beginning to the first sample that is heard.
double Onset(const Sound& sound) {
    const auto first =
        std::ranges::find_if(sound.Left, [](float sample) { return std::fabs(sample) > 0.002; });
    return static_cast<double>(first - sound.Left.begin()) / sound.Rate;
}

// Bars of a second: in each a drum's stroke in its middle on channel 10 and, in bar 3, a flute that
// no message ends and the sostenuto pedal holds.
class Render : public testing::Test {
protected:
    void SetUp() override {
        TrackEvents drum{{0, Tempo(250000)}},
            flute{{0, {0xC0, 73}}, {800, {0x90, 81, 127}}, {801, {0xB0, 66, 127}}};
        for (int bar = 0; bar < 4; ++bar) drum.push_back({bar * 400 + 200, {0x99, 37, 127}});
        drum.push_back({1600, {0x89, 37, 0}});
        WriteMidi("bars.mid", 100, {drum, flute});
        const char* const font = "/usr/share/sounds/sf2/TimGM6mb.sf2"; // loads quickly
        std::filesystem::create_directory("config/zormidi");
        if (std::filesystem::exists(font))
            std::ofstream("config/zormidi/ZORMIDI.INI") << "[SYNTHESIZER]\nFont=" << font << "\n";
        if (RunZorhost("render bars.mid -o try.wav").Err.find("not installed") != std::string::npos)
            GTEST_SKIP() << "there is no software synthesizer";
    }
    void TearDown() override { std::filesystem::remove_all("config/zormidi"); }
};

TEST_F(Render, PlacesEachMessageAtItsFrameAndDecaysToTheEnd) {
    struct Case {
        const char* Options;
        double Onset, Length; // seconds, of the song
        double Attack = 0.004;
    };
    for (const Case& each : {Case{"", 0.5, 4},
                             {"--rate 22050", 0.5, 4},
                             {"--tempo 200", 0.25, 2},
                             {"--from 2 --to 2", 0.5, 1},
                             {"--mute 10", 2, 4, 0.02},
                             {"--mute 10 --from 3 --tempo 50", 0, 4, 0.02}}) {
        const Result result =
            RunZorhost(std::string("render bars.mid -o out.wav --gain 1 ") + each.Options);
        ASSERT_EQ(result.Code, 0) << result.Err;
        const Sound sound = ReadSound("out.wav");
        EXPECT_GE(Onset(sound), each.Onset) << each.Options;
        EXPECT_LT(Onset(sound), each.Onset + each.Attack) << each.Options;
        const double length = static_cast<double>(sound.Left.size()) / sound.Rate;
        EXPECT_GT(length, each.Length);
        EXPECT_LT(length, each.Length + 6) << "the flute is released at the end";
        EXPECT_LT(Peak(sound.Left, 0.999), 0.001) << each.Options;
    }
}

TEST_F(Render, WritesTheSameBytesEachTimeInThreeFormatsAndNeverClips) {
    for (const std::string name : {"a.wav", "b.flac", "c.OGG"}) {
        const Result first = RunZorhost("render bars.mid --gain 10 -o " + name);
        EXPECT_NE(first.Output.find("The level was lowered by "), std::string::npos) << first.Err;
        const std::string bytes = ReadText(name);
        const Sound sound = ReadSound(name);
        const float peak = std::max(Peak(sound.Left), Peak(sound.Right));
        EXPECT_GT(peak, 0.9) << name;
        EXPECT_LE(peak, 1) << name << ": Ogg, too, when decoded";
        RunZorhost("render bars.mid --gain 10 -o " + name);
        EXPECT_EQ(ReadText(name), bytes) << name;
    }
    EXPECT_EQ(RunZorhost("render bars.mid -o d.wav").Output.find("lowered"), std::string::npos);
}

TEST_F(Render, RefusesWithAReasonAndKeepsTheOldFile) {
    WriteBytes("kept.wav", {1, 2, 3});
    const std::pair<const char*, const char*> cases[] = {
        {"-o none.mp3", "must end in .wav, .flac or .ogg"},
        {"-o kept.wav --font bars.mid", "is no SoundFont"},
        {"-o kept.wav --font none.sf2", "No such file"},
        {"-o kept.wav --from 9", "the song ends in bar 5"},
        {"-o kept.wav --from 3 --to 2", "before that of --from"},
        {"-o kept.wav --gain 99", "--gain"},
        {"-o kept.wav --mute 1,10", "nothing left to play"}};
    for (const auto& [options, reason] : cases) {
        const Result result = RunZorhost(std::string("render bars.mid ") + options);
        EXPECT_NE(result.Code, 0);
        EXPECT_NE(result.Err.find(reason), std::string::npos) << options << ": " << result.Err;
    }
    EXPECT_EQ(ReadText("kept.wav"), "\1\2\3");
}

TEST_F(Render, PutsTheNotesOfARecordingBesideIt) {
    ASSERT_EQ(RunZorhost("render bars.mid -o flute.wav --mute 10 --gain 1").Code, 0);
    const Result result = RunZorhost("transcribe flute.wav --hear both.flac");
    EXPECT_EQ(result.Code, 0) << result.Err;
    const Sound both = ReadSound("both.flac");
    EXPECT_EQ(both.Rate, 44100);
    for (const auto* side : {&both.Left, &both.Right}) {
        EXPECT_LT(Peak(*side, 0, 0.3), 0.01);
        EXPECT_GT(Peak(*side, 0.4, 0.6), 0.1);
    }
    EXPECT_NE(both.Left, both.Right);
    const Result aloud = RunZorhost("transcribe flute.wav --hear");
    EXPECT_EQ(aloud.Code, 1);
    EXPECT_NE(aloud.Err.find("No sound server"), std::string::npos) << aloud.Err;
    EXPECT_EQ(RunZorhost("transcribe - --hear both.flac").Code, 2);
    std::string slow = ReadText("flute.wav"); // its header gets a rate of 4,000 Hz
    slow.replace(24, 2, "\xA0\x0F");
    std::ofstream("slow.wav", std::ios::binary) << slow;
    const Result refused = RunZorhost("transcribe slow.wav --hear both.flac");
    EXPECT_NE(refused.Err.find("from 8000 to 96000"), std::string::npos) << refused.Err;
    EXPECT_EQ(refused.Output, "") << "before the analysis";
}

} // namespace
