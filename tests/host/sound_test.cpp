// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Notes from sound: transcribe, listen, and a microphone together with MIDI ports.
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
#include <regex>
#include <sndfile.h>

namespace {

constexpr int Rate = 22050;

struct Tone {
    double Start, End; // seconds
    double Key;        // -1 for noise
    double Level = 1;
};

// Writes a WAV file of tones with six harmonics, one channel per gain: 32-bit float, or 16 bits,
// which clip.
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
                sample += tone.Level * 0.5 / n * std::sin(cycles * n * 2 * M_PI);
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
    // A quarter of a second shorter than in its header.
    WriteBytes("cut.wav", Bytes(bytes.begin(), bytes.end() - Rate * 2 / 4));
    for (const bool isCut : {false, true}) {
        const Result result = RunZorhost(isCut ? "transcribe cut.wav -o three.mid --tempo 60"
                                               : "transcribe whole.wav -o three.mid --tempo 97.5");
        EXPECT_EQ(result.Code, isCut ? 1 : 0) << result.Err;
        EXPECT_EQ(result.Err.find("is truncated after 0:02.1") != std::string::npos, isCut);
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

// With zorhost's own analysis, which reads a file again if needed, and with the library's, for
// which the file is checked before.
TEST(Transcribe, ReadsChannelsThatCancelAndSamplesBeyondAllScales) {
    constexpr char beyond[] = "far exceed full scale", second[] = "channel 2 alone";
    const struct {
        std::vector<double> Gains;
        bool Floats;
        std::vector<const char*> Remarks;
    } cases[] = {{{1, 0}, false, {}},
                 {{1, -0.5}, false, {}},
                 {{0.9, -0.95}, false, {second}},
                 {{0, 0.4, -0.4, 0}, false, {second}},
                 {{1e9}, true, {}},
                 {{1e30}, true, {beyond}},
                 {{3e38, -3.1e38}, true, {beyond, second}}};
    for (const auto& [gains, floats, remarks] : cases) {
        WriteWav("odd.wav", 2.4, Three, gains, floats);
        for (const char* how : {"", "--as-library "}) {
            const Result result =
                RunZorhost(std::string("transcribe --json odd.wav ") + how + "-o odd.mid");
            EXPECT_EQ(ReadBack("odd.mid").size(), 6u) << gains[0] << how << result.Err;
            EXPECT_EQ(result.Err.find("odd.wav: its ") == std::string::npos, remarks.empty());
            for (const char* text : remarks)
                EXPECT_NE(result.Err.find(text), std::string::npos) << result.Err;
        }
    }
    // A single sample beyond all scales is damage; the others are read unchanged.
    WriteWav("odd.wav", 2.4, Three, {1}, true);
    std::string bytes = ReadText("odd.wav");
    const float stray = 1e30f;
    std::memcpy(&bytes[bytes.size() - Rate * sizeof stray], &stray, sizeof stray);
    std::ofstream("odd.wav") << bytes;
    EXPECT_EQ(RunZorhost("transcribe odd.wav -o odd.mid").Err, "");
    EXPECT_EQ(ReadBack("odd.mid").size(), 6u);
}

struct PlottedNote {
    std::string Name;
    double X, Y, Width;
};
std::vector<PlottedNote> ReadPlot(const std::string& path) {
    static const std::regex note(
        "<rect x='([0-9.]+)' y='([0-9.]+)' width='([0-9.]+)'[^<]*<title>([^,]*)");
    const std::string svg = ReadText(path);
    std::vector<PlottedNote> notes;
    for (std::sregex_iterator found(svg.begin(), svg.end(), note), end; found != end; ++found)
        notes.push_back(
            {(*found)[4], std::stod((*found)[1]), std::stod((*found)[2]), std::stod((*found)[3])});
    return notes;
}

// All notes are a quarter of a semitone sharp. The second is soft after the loud first one; the
// third is in the second row of the plot and followed by one that is too soft; the last, at the end
// of the file, is on the second page.
TEST(Transcribe, WritesATakeOutOfTuneAsMidiBendsJsonAndPlot) {
    WriteWav("out & <in>.wav", 61,
             {{0.5, 1, 60.25},
              {1.1, 1.6, 67.25, 0.25},
              {20, 20.5, 64.25},
              {20.6, 21.1, 67.25, 0.15},
              {60.5, 61, 62.25}});
    const Result result =
        RunZorhost("transcribe 'out & <in>.wav' --json --bends -o /dev/stdout --plot tune.svg");
    EXPECT_EQ(result.Code, 0) << result.Err;
    WriteBytes("tune.mid", Bytes(result.Output.begin(), result.Output.end()));
    std::vector<Bytes> notes;
    for (const TimedMessage& event : ReadBack("tune.mid")) {
        const Bytes& message = event.Message;
        if (message[0] == 0x90) notes.push_back(message);
        if (message[0] == 0xE0) {
            EXPECT_NEAR(message[2] << 7 | message[1], 8192 + 1024, 200);
        }
        if (message[0] == 0x80) {
            EXPECT_EQ(message[1], notes.back()[1]);
        }
    }
    ASSERT_EQ(notes.size(), 4u);
    EXPECT_LT(notes[1][2] * 2, notes[0][2]);
    const std::vector<int> starts = {500, 1100, 20000, 60500}, ends = {1000, 1600, 20500, 61000};
    const char* const names[] = {"C4", "G4", "E4", "D4"};
    std::istringstream lines(result.Err);
    int number = 0, gaps = 0;
    for (std::string line; std::getline(lines, line);) {
        gaps += line.starts_with(R"({"kind":"gap")");
        double start = 0, end = 0, cents = 99, a4 = 0;
        char name[8] = "";
        if (std::sscanf(line.c_str(),
                        R"({"kind":"summary","notes":4,"seconds":61.000,"complete":true,"a4":%lf)",
                        &a4) == 1) {
            EXPECT_NEAR(a4, 446.4, 0.5);
        }
        if (std::sscanf(
                line.c_str(),
                R"({"kind":"note","start":%lf,"end":%lf,"key":%*d,"name":"%7[^"]","velocity":%*d,"cents":%lf)",
                &start, &end, name, &cents) < 4)
            continue;
        EXPECT_NEAR(start * 1000, starts.at(number), 40);
        EXPECT_NEAR(end * 1000, ends.at(number), 60);
        EXPECT_NEAR(cents, 0, 5);
        EXPECT_STREQ(name, names[number++]);
    }
    EXPECT_EQ(number, 4) << result.Err;
    EXPECT_EQ(gaps, 1) << result.Err;
    const std::vector<PlottedNote> first = ReadPlot("tune.svg"), second = ReadPlot("tune-2.svg");
    ASSERT_EQ(first.size(), 3u);
    ASSERT_EQ(second.size(), 1u);
    EXPECT_EQ(second[0].Name, "D4");
    // 100 pixels per second and 15 seconds per row, from 76 on.
    EXPECT_NEAR(first[0].X, 76 + 50, 5);
    EXPECT_NEAR(first[1].X, 76 + 110, 5);
    EXPECT_NEAR(first[2].X, 76 + 500, 5);
    EXPECT_NEAR(first[0].Width, 50, 8);
    EXPECT_GT(first[0].Y, first[1].Y) << "the higher above the lower";
    EXPECT_GT(first[2].Y, first[0].Y);
    EXPECT_NE(ReadText("tune.svg").find("out &amp; &lt;in&gt;.wav"), std::string::npos);
}

TEST(Transcribe, ReportsWhatItCannotDetect) {
    WriteWav("three.wav", 2.4, Three);
    for (const char* as : {"--as-library", "--as-listen"})
        EXPECT_NE(
            RunZorhost(std::string("transcribe three.wav ") + as).Output.find("\n3 notes in 2.4 s"),
            std::string::npos);
    WriteWav("noise.wav", 2.2, {{0.3, 0.7, 60}, {1.0, 1.5, -1}});
    WriteWav("short.wav", 0.03, {{0, 1, 60}});
    WriteWav("silent.wav", 1, {});
    WriteWav("hiss.wav", 1, {{0.2, 0.3, -1}});
    std::ofstream("header.wav") << ReadText("silent.wav").substr(0, 44);
    std::ofstream("text.wav") << "no sound";
    const std::pair<std::string, const char*> cases[] = {
        {"absent", "absent.wav"},     {"text", "text.wav"},    {"header", "contains no sound"},
        {"short", "is too short"},    {"silent", "is silent"}, {"hiss", "no notes detected"},
        {"noise", "Unrecognised: 0."}};
    for (const auto& [name, expected] : cases) {
        const Result result = RunZorhost("transcribe -o some.mid " + name + ".wav");
        EXPECT_NE((result.Output + result.Err).find(expected), std::string::npos)
            << name << result.Err;
        EXPECT_EQ(result.Code, name == "noise" ? 0 : 1) << name;
        EXPECT_EQ(std::filesystem::exists("some.mid"), result.Code == 0) << name;
    }
}

TEST(Listen, PrintsPlaysAndWritesTheNotesOfAMicrophone) {
    Peer peer("Loopback MIDI 2");
    WriteWav("three.wav", 2.4, {Three[0], Three[1], {1.6, 2.4, 64}}); // the last note has no end
    Program library("listen --as-library --mic three.wav -o library.mid");
    const Result result = RunZorhost("listen --mic three.wav --thru 2 -o listened.mid");
    EXPECT_EQ(result.Code, 0) << result.Err;
    const auto heard = [](const std::string& out, const std::string& after) {
        std::string lines;
        for (const char* name : {"C4", "G4", "E4"})
            lines += std::string(R"( +\d\.\d{3}  )") + name + R"(   velocity \d+ +)" + after + "\n";
        return std::regex_match(out, std::regex(lines + "3 notes\nWrote [a-z.]+ at 120 [a-z ]+\n"));
    };
    EXPECT_TRUE(heard(result.Output, R"([+-][01] cents)")) << result.Output;
    EXPECT_TRUE(std::regex_search(result.Err, std::regex(R"(level \[#+-+\]  E4 [+-]\d cents\n)")))
        << result.Err;
    EXPECT_EQ(ReadBack("listened.mid").size(), 6u);
    EXPECT_EQ(library.Finish(), 0) << library.Err;
    EXPECT_TRUE(
        heard(std::regex_replace(library.Output, std::regex(".*cents\n"), ""), "the library"))
        << library.Output;
    EXPECT_EQ(ReadBack("library.mid").size(), 6u);
    std::vector<std::uint32_t> keys;
    for (const std::uint32_t message : peer.Received()) {
        if ((message & 0xFF) == 0x90 && message >> 16) keys.push_back(message >> 8 & 127);
    }
    EXPECT_EQ(keys, (std::vector<std::uint32_t>{60, 67, 64}));
    EXPECT_EQ(RunZorhost("listen").Code, 1);
    EXPECT_EQ(RunZorhost("listen --mic three.wav --device 2").Code, 2);
}

// The recogniser gives a clipped note the velocity 128, which no file can hold.
TEST(Microphone, IsRecordedTogetherWithPortsAndMayClip) {
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

TEST(Microphone, CapturesSilenceOrAFileWhoseNotesAreComparedWithWrittenOnes) {
    std::filesystem::create_directory("mic settings");
    std::ofstream("mic settings/ZORMIDI.INI") << "[PRECDRVR]\nEnablePitchRec=1\nChannel=5\n";
    WriteMidi("short.mid", 960, {{{0, {0x90, 60, 90}}, {10, {0x80, 60, 0}}}});
    const Result silent = RunZorhost("--ini 'mic settings' play short.mid --report");
    EXPECT_EQ(silent.Code, 0) << silent.Err;
    EXPECT_NE(silent.Err.find("captures only silence"), std::string::npos) << silent.Err;

    // 480 ticks per quarter at 120: 960 a second.
    TrackEvents notes;
    for (const auto& [key, on] : {std::pair<unsigned char, int>{60, 480}, {67, 960}, {63, 1536}}) {
        notes.push_back({on, {0x90, key, 90}});
        notes.push_back({on + 384, {0x90, key, 0}});
    }
    WriteMidi("written.mid", 480, {notes});
    WriteWav("three.wav", 2.4, Three);
    const Result result =
        RunZorhost("play short.mid --mic three.wav --written written.mid --report");
    EXPECT_EQ(result.Code, 0) << result.Err;
    EXPECT_NE(
        result.Output.find("2 of 3 written notes heard, 1 missed, 1 heard that was not written"),
        std::string::npos)
        << result.Output;
    for (const char* row :
         {R"(\n +0\.500 C4 +0\.400 s +0\.\d+ C4 +0\.[345]\d+ s +(-\d|\+\d\d?) ms\n)",
          R"(\n +1\.600 D#4 +0\.400 s +missed\n)",
          R"(\n +1\.\d+ E4 +0\.[345]\d+ s +not written\n)"})
        EXPECT_TRUE(std::regex_search(result.Output, std::regex(row))) << row << result.Output;
}

} // namespace
