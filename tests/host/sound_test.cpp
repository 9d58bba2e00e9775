// Sound into notes: transcribe, listen, and a microphone beside the ports.
#include "tests/host/midi_bytes.h"
#include "tests/host/peer.h"
#include "tests/host/program.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <sndfile.h>

namespace {

constexpr int Rate = 22050;

struct Tone {
    double Start; // seconds
    double End;
    int Key; // -1 for noise
    double Level = 0.5;
};

// A 16-bit mono WAV of tones with six harmonics. Gives the path.
std::string WriteWav(const std::string& name, double seconds, const std::vector<Tone>& tones) {
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
            sample *= tone.Level;
        }
        samples.push_back(sample);
    }
    SF_INFO info{};
    info.samplerate = Rate;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    const std::string path = InFolder(name);
    SNDFILE* const file = sf_open(path.c_str(), SFM_WRITE, &info);
    sf_write_double(file, samples.data(), static_cast<sf_count_t>(samples.size()));
    sf_close(file);
    return path;
}

const std::vector<Tone> Three = {{0.5, 0.9, 60}, {1.0, 1.4, 67}, {1.6, 2.0, 64}};

TEST(Transcribe, FindsTheNotesAndTheirTimes) {
    const std::string whole = WriteWav("whole.wav", 2.4, Three);
    const std::string bytes = ReadText(whole);
    const std::string cut = // by a quarter of a second
        WriteBytes("cut.wav", Bytes(bytes.begin(), bytes.end() - Rate * 2 / 4));
    const std::string midi = InFolder("three.mid");
    for (const char* tempo : {"60", "97.5"}) {
        const bool isCut = std::string(tempo) == "60";
        const std::string& sound = isCut ? cut : whole;
        const Result result = RunZorhost({"transcribe", sound, "-o", midi, "--tempo", tempo});
        EXPECT_EQ(result.Code, isCut ? 1 : 0) << result.Err;
        EXPECT_EQ(result.Err.find("breaks off after 0:02.1") != std::string::npos, isCut);
        EXPECT_NE(result.Out.find("All that was loud enough"), std::string::npos) << result.Out;
        int quarter = 0;
        std::vector<TimedMessage> ons;
        for (const TimedMessage& event : ReadBack(midi, &quarter)) {
            if (Plain(event.Message)[2] > 0) ons.push_back(event);
        }
        ASSERT_EQ(ons.size(), Three.size());
        for (std::size_t i = 0; i < ons.size(); ++i) {
            EXPECT_EQ(ons[i].Message[1], Three[i].Key);
            const double seconds = ons[i].Tick * 60.0 / std::stod(tempo) / quarter;
            EXPECT_NEAR(seconds, Three[i].Start, 0.04) << i;
        }
    }
}

TEST(Transcribe, TellsWhatItDidNotUnderstand) {
    const std::string sound =
        WriteWav("noise.wav", 2.2, {{0.3, 0.7, 60}, {1.0, 1.5, -1}, {1.7, 2.0, 62}});
    const Result result = RunZorhost({"transcribe", sound});
    EXPECT_EQ(result.Code, 0) << result.Err;
    EXPECT_NE(result.Out.find("Not understood: 0."), std::string::npos) << result.Out;
}

TEST(Transcribe, AnswersSoundsThatHoldNoNote) {
    const std::string text = "no sound at all";
    const std::string header = ReadText(WriteWav("whole.wav", 0.5, {{0.1, 0.4, 60}})).substr(0, 44);
    const struct {
        std::string Path;
        const char* Says;
    } cases[] = {
        {WriteBytes("nothing.wav", {}), "nothing.wav"},
        {WriteBytes("text.wav", Bytes(text.begin(), text.end())), "text.wav"},
        {WriteBytes("header.wav", Bytes(header.begin(), header.end())), "holds no sound"},
        {WriteWav("short.wav", 0.03, {{0, 1, 60}}), "is too short"},
        {WriteWav("silent.wav", 1, {}), "is silent"},
        {WriteWav("hiss.wav", 1, {{0.2, 0.3, -1}}), "no note was understood"},
    };
    for (const auto& c : cases) {
        const std::string midi = InFolder("none.mid");
        const Result result = RunZorhost({"transcribe", c.Path, "-o", midi});
        EXPECT_EQ(result.Code, 1) << c.Path;
        EXPECT_NE(result.Err.find(c.Says), std::string::npos) << c.Path << ": " << result.Err;
        EXPECT_EQ(ReadText(midi), "") << c.Path;
    }
    const Result missing = RunZorhost({"transcribe", InFolder("absent.wav")});
    EXPECT_EQ(missing.Code, 1);
    EXPECT_NE(missing.Err.find("absent.wav"), std::string::npos) << missing.Err;
}

TEST(Listen, PrintsPlaysAndWritesTheNotesOfAMicrophone) {
    Peer peer("Loopback MIDI 2");
    const std::string sound = WriteWav("three.wav", 2.4, Three);
    const std::string midi = InFolder("listened.mid");
    const Result result =
        RunZorhost({"listen", "--mic", sound, "--thru", "Loopback MIDI 2", "-o", midi});
    EXPECT_EQ(result.Code, 0) << result.Err;
    for (const char* name :
         {"  C4   velocity", "  G4   velocity", "  E4   velocity", "3 notes\n"}) {
        EXPECT_NE(result.Out.find(name), std::string::npos) << name << result.Out;
    }
    EXPECT_EQ(ReadBack(midi).size(), 6u);
    std::vector<std::uint32_t> keys;
    ASSERT_TRUE(peer.Await(peer.Heard().empty() ? 0 : peer.Heard().back()));
    for (const std::uint32_t message : peer.Heard()) {
        if ((message & 0xFF) == 0x90 && message >> 16) keys.push_back(message >> 8 & 127);
    }
    EXPECT_EQ(keys, (std::vector<std::uint32_t>{60, 67, 64}));
    EXPECT_EQ(RunZorhost({"listen"}).Code, 1);
    EXPECT_EQ(RunZorhost({"listen", "--mic", sound, "--device", "2"}).Code, 2);
}

TEST(Microphone, IsHeardBesideThePorts) {
    const std::string sound = WriteWav("three.wav", 2.4, Three);
    const std::string midi = InFolder("both.mid");
    Program record({"record", midi, "--mic", sound, "--seconds", "3"});
    ASSERT_TRUE(record.Await("Listening to Loopback MIDI 1, the microphone"));
    {
        Peer peer("Loopback MIDI 1");
        peer.Send(Packed(0x94, 40, 1));
        ASSERT_TRUE(peer.Await(Packed(0x94, 40, 1)));
    }
    EXPECT_EQ(record.Finish(), 0) << record.Err;
    EXPECT_EQ(ReadBack(midi).size(), 8u);
}

TEST(Microphone, OfTheSettingsHearsSilenceAndStopsNothing) {
    const std::string folder = InFolder("mic settings");
    std::filesystem::create_directory(folder);
    std::ofstream(folder + "/ZORMIDI.INI") << "[PRECDRVR]\nEnablePitchRec=1\nChannel=5\n";
    const std::string piece =
        WriteMidi("short.mid", 0, 960, {{{0, {0x90, 60, 90}}, {10, {0x80, 60, 0}}}});
    const Result result = RunZorhost({"--ini", folder, "play", piece, "--report"});
    EXPECT_EQ(result.Code, 0) << result.Err;
    EXPECT_NE(result.Err.find("it hears silence"), std::string::npos) << result.Err;
}

TEST(Microphone, IsComparedWithWhatWasWritten) {
    const std::string sound = WriteWav("three.wav", 2.4, Three);
    // 480 ticks a quarter at 120: 960 a second.
    const std::string written = WriteMidi("written.mid", 0, 480,
                                          {{{480, {0x90, 60, 90}},
                                            {864, {0x80, 60, 0}},
                                            {960, {0x90, 67, 90}},
                                            {1344, {0x80, 67, 0}},
                                            {1536, {0x90, 63, 90}},
                                            {1920, {0x80, 63, 0}}}});
    const std::string piece =
        WriteMidi("short.mid", 0, 960, {{{0, {0x90, 60, 90}}, {10, {0x80, 60, 0}}}});
    const Result result =
        RunZorhost({"play", piece, "--mic", sound, "--written", written, "--report"});
    EXPECT_EQ(result.Code, 0) << result.Err;
    EXPECT_NE(
        result.Out.find("2 of 3 written notes heard, 1 missed, 1 heard that were not written"),
        std::string::npos)
        << result.Out;
}

} // namespace
