// Sound into notes: transcribe, listen, and a microphone beside the ports.
#include "tests/host/midi_bytes.h"
#include "tests/host/peer.h"
#include "tests/host/program.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <sndfile.h>

namespace {

constexpr int Rate = 22050;

struct Tone {
    double Start, End; // seconds
    int Key;           // -1 for noise
};

// A WAV of tones with six harmonics: a channel for each gain, of floats, or else of 16 bits, which clip.
void WriteWav(const std::string& name, double seconds, const std::vector<Tone>& tones,
              const std::vector<double>& gains = {1}, bool floats = false) {
    std::mt19937 random(1);
    std::vector<double> samples;
    for (int i = 0; i < seconds * Rate; ++i) {
        const double t = static_cast<double>(i) / Rate;
        double sample = 0;
        for (const Tone& tone : tones) {
            if (t < tone.Start || t >= tone.End) continue;
            if (tone.Key < 0) sample += static_cast<double>(random() % 2001) / 1000 - 1;
            const double cycles = (t - tone.Start) * 440 * std::pow(2, (tone.Key - 69) / 12.0);
            for (int n = 1; tone.Key >= 0 && n <= 6; ++n)
                sample += 0.5 / n * std::sin(cycles * n * 2 * M_PI);
            sample /= 2;
        }
        for (const double gain : gains)
            samples.push_back(floats ? sample * gain : std::clamp(sample * gain, -1.0, 1.0));
    }
    SF_INFO info{};
    info.samplerate = Rate;
    info.channels = static_cast<int>(gains.size());
    info.format = SF_FORMAT_WAV | (floats ? SF_FORMAT_FLOAT : SF_FORMAT_PCM_16);
    SNDFILE* const file = sf_open(name.c_str(), SFM_WRITE, &info);
    sf_write_double(file, samples.data(), static_cast<sf_count_t>(samples.size()));
    sf_close(file);
}

const std::vector<Tone> Three = {{0.5, 0.9, 60}, {1.0, 1.4, 67}, {1.6, 2.0, 64}};

TEST(Transcribe, FindsTheNotesAndTheirTimes) {
    WriteWav("whole.wav", 2.4, Three);
    const std::string bytes = ReadText("whole.wav");
    // By a quarter of a second.
    WriteBytes("cut.wav", Bytes(bytes.begin(), bytes.end() - Rate * 2 / 4));
    for (const bool isCut : {false, true}) {
        const Result result = RunZorhost(isCut ? "transcribe cut.wav -o three.mid --tempo 60"
                                               : "transcribe whole.wav -o three.mid --tempo 97.5");
        EXPECT_EQ(result.Code, isCut ? 1 : 0) << result.Err;
        EXPECT_EQ(result.Err.find("breaks off after 0:02.1") != std::string::npos, isCut);
        int quarter = 0;
        std::vector<TimedMessage> ons = ReadBack("three.mid", &quarter);
        std::erase_if(ons, [](const auto& event) { return (event.Message[0] & 0xF0) != 0x90; });
        ASSERT_EQ(ons.size(), Three.size());
        for (std::size_t i = 0; i < ons.size(); ++i) {
            EXPECT_EQ(ons[i].Message[1], Three[i].Key);
            EXPECT_NEAR(ons[i].Tick * 60 / (isCut ? 60 : 97.5) / quarter, Three[i].Start, 0.04);
        }
    }
}

// By zorhost's own hearing, which reads a file again, and by the library's, for which it is looked
// at before.
TEST(Transcribe, HearsChannelsThatCancelAndSamplesBeyondAllScales) {
    constexpr char beyond[] = "beyond all scales", second[] = "channel 2 alone";
    const struct {
        std::vector<double> Gains;
        bool Floats;
        std::vector<const char*> Says;
    } cases[] = {{{1, 0}, false, {}},
                 {{1, -0.5}, false, {}},
                 {{0.9, -0.95}, false, {second}},
                 {{0, 0.4, -0.4, 0}, false, {second}},
                 {{1e9}, true, {}},
                 {{1e30}, true, {beyond}},
                 {{3e38, -3.1e38}, true, {beyond, second}}};
    for (const auto& [gains, floats, says] : cases) {
        WriteWav("odd.wav", 2.4, Three, gains, floats);
        for (const char* how : {"", "--as-library "}) {
            const Result result =
                RunZorhost(std::string("transcribe --json odd.wav ") + how + "-o odd.mid");
            EXPECT_EQ(ReadBack("odd.mid").size(), 6u) << gains[0] << how << result.Err;
            EXPECT_EQ(result.Err.find("odd.wav: its ") == std::string::npos, says.empty());
            for (const char* text : says)
                EXPECT_NE(result.Err.find(text), std::string::npos) << result.Err;
        }
    }
    // One sample beyond all scales is damage, and the others are heard as they are.
    WriteWav("odd.wav", 2.4, Three, {1}, true);
    std::string bytes = ReadText("odd.wav");
    const float stray = 1e30f;
    std::memcpy(&bytes[bytes.size() - Rate * sizeof stray], &stray, sizeof stray);
    std::ofstream("odd.wav") << bytes;
    EXPECT_EQ(RunZorhost("transcribe odd.wav -o odd.mid").Err, "");
    EXPECT_EQ(ReadBack("odd.mid").size(), 6u);
}

TEST(Transcribe, TellsWhatItDidNotUnderstand) {
    WriteWav("noise.wav", 2.2, {{0.3, 0.7, 60}, {1.0, 1.5, -1}});
    WriteWav("short.wav", 0.03, {{0, 1, 60}});
    WriteWav("silent.wav", 1, {});
    WriteWav("hiss.wav", 1, {{0.2, 0.3, -1}});
    std::ofstream("header.wav") << ReadText("silent.wav").substr(0, 44);
    std::ofstream("text.wav") << "no sound";
    const std::pair<std::string, const char*> cases[] = {
        {"absent", "absent.wav"},       {"text", "text.wav"},    {"header", "holds no sound"},
        {"short", "is too short"},      {"silent", "is silent"}, {"hiss", "no note was understood"},
        {"noise", "Not understood: 0."}};
    for (const auto& [name, says] : cases) {
        const Result result = RunZorhost("transcribe -o some.mid " + name + ".wav");
        EXPECT_NE((result.Out + result.Err).find(says), std::string::npos) << name << result.Err;
        EXPECT_EQ(result.Code, name == "noise" ? 0 : 1) << name;
        EXPECT_EQ(std::filesystem::exists("some.mid"), result.Code == 0) << name;
    }
}

TEST(Listen, PrintsPlaysAndWritesTheNotesOfAMicrophone) {
    Peer peer("Loopback MIDI 2");
    WriteWav("three.wav", 2.4, Three);
    const Result result = RunZorhost("listen --mic three.wav --thru 2 -o listened.mid");
    EXPECT_EQ(result.Code, 0) << result.Err;
    for (const char* name : {"  C4   velocity", "  G4   velocity", "  E4   velocity", "3 notes\n"})
        EXPECT_NE(result.Out.find(name), std::string::npos) << name << result.Out;
    EXPECT_EQ(ReadBack("listened.mid").size(), 6u);
    std::vector<std::uint32_t> keys;
    for (const std::uint32_t message : peer.Heard()) {
        if ((message & 0xFF) == 0x90 && message >> 16) keys.push_back(message >> 8 & 127);
    }
    EXPECT_EQ(keys, (std::vector<std::uint32_t>{60, 67, 64}));
    EXPECT_EQ(RunZorhost("listen").Code, 1);
    EXPECT_EQ(RunZorhost("listen --mic three.wav --device 2").Code, 2);
}

// The recogniser's velocity of a clipped sample is 128, which no file can hold.
TEST(Microphone, IsHeardBesideThePortsAndMayClip) {
    WriteWav("clipped.wav", 2.4, Three, {8});
    Program record("record both.mid --mic clipped.wav --seconds 3");
    ASSERT_TRUE(record.Await("Listening to Loopback MIDI 1, the microphone"));
    {
        Peer peer("Loopback MIDI 1");
        peer.Send(Packed(0x94, 40, 1));
        ASSERT_TRUE(peer.Await(Packed(0x94, 40, 1)));
    }
    EXPECT_EQ(record.Finish(), 0) << record.Err;
    const std::vector<TimedMessage> both = ReadBack("both.mid");
    ASSERT_EQ(both.size(), 8u);
    EXPECT_EQ(std::ranges::count(both, 127, [](const auto& event) { return event.Message[2]; }), 3);
}

TEST(Microphone, OfTheSettingsHearsSilenceAndOneOfAFileIsComparedWithWhatWasWritten) {
    std::filesystem::create_directory("mic settings");
    std::ofstream("mic settings/ZORMIDI.INI") << "[PRECDRVR]\nEnablePitchRec=1\nChannel=5\n";
    WriteMidi("short.mid", 960, {{{0, {0x90, 60, 90}}, {10, {0x80, 60, 0}}}});
    const Result silent = RunZorhost("--ini 'mic settings' play short.mid --report");
    EXPECT_EQ(silent.Code, 0) << silent.Err;
    EXPECT_NE(silent.Err.find("it hears silence"), std::string::npos) << silent.Err;

    // 480 ticks a quarter at 120: 960 a second.
    TrackEvents notes;
    for (const auto& [key, on] : {std::pair<unsigned char, int>{60, 480}, {67, 960}, {63, 1536}}) {
        notes.push_back({on, {0x90, key, 90}});
        notes.push_back({on + 384, {0x80, key, 0}});
    }
    WriteMidi("written.mid", 480, {notes});
    WriteWav("three.wav", 2.4, Three);
    const Result result =
        RunZorhost("play short.mid --mic three.wav --written written.mid --report");
    EXPECT_EQ(result.Code, 0) << result.Err;
    EXPECT_NE(result.Out.find("2 of 3 written notes heard, 1 missed, 1 heard that was not written"),
              std::string::npos)
        << result.Out;
}

} // namespace
