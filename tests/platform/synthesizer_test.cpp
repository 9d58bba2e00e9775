// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The software synthesizer without a sound server: its place among the outputs, what happens while
// it cannot be opened, and rendering on request. tests/devices/synthesizer/check plays it on real
// servers.
#include "platform/machine.h"
#include "platform/platform.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

class SoftwareSynthesizer : public testing::Test {
protected:
    void SetUp() override {
        machine::PowerOn();
        machine::UseNativeMidi();
        if (!machine::HasSynthesizer()) GTEST_SKIP() << machine::SynthesizerProblem();
    }
    void TearDown() override { machine::PowerOn(); }
    static std::string NameOf(UINT number) {
        MIDIOUTCAPSA caps{};
        return midiOutGetDevCapsA(number, &caps, sizeof caps) ? "" : caps.szPname;
    }
};

TEST_F(SoftwareSynthesizer, IsTheLastOutputAndGivesWayWhileItCannotBeOpened) {
    const UINT others = midiOutGetNumDevs() - 1; // this computer's
    if (others == 0) {
        EXPECT_EQ(machine::FindDefaultMidiOutput(), -1); // silence
    }
    machine::AddMidiOutput("Added later");
    EXPECT_EQ(NameOf(others), "Added later");
    EXPECT_EQ(NameOf(others + 1), machine::SynthesizerName);
    EXPECT_EQ(NameOf(others + 2), "");
    HMIDIOUT out = nullptr;
    char text[256] = "";
    const MMRESULT error = midiOutOpen(&out, others + 1, 0, 0, CALLBACK_NULL);
    ASSERT_NE(error, MMSYSERR_NOERROR) << "a sound server runs";
    midiOutGetErrorTextA(error, text, sizeof text);
    EXPECT_EQ(text, machine::SynthesizerProblem());
    EXPECT_NE(std::string(text).find("No sound server"), std::string::npos) << text;
    EXPECT_EQ(machine::FindDefaultMidiOutput(), 0);
    machine::RecordSentMidi(true);
    ASSERT_EQ(midiOutOpen(&out, MIDI_MAPPER, 0, 0, CALLBACK_NULL), MMSYSERR_NOERROR);
    midiOutShortMsg(out, 0x403C90);
    const auto sent = machine::DrainSentMidi();
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].Device, 0);
    machine::PowerOn();
    EXPECT_FALSE(machine::HasSynthesizer());
    EXPECT_EQ(machine::SynthesizerProblem(), "");
}

// The frequency of the left channel, by its rising zero crossings.
double Frequency(const std::vector<float>& frames, double rate) {
    int crossings = 0;
    std::size_t first = 0, last = 0;
    for (std::size_t i = 2; i < frames.size(); i += 2) {
        if (frames[i - 2] > 0 || frames[i] <= 0) continue;
        if (crossings++ == 0) first = i;
        last = i;
    }
    return rate * 2 * (crossings - 1) / static_cast<double>(last - first);
}

TEST_F(SoftwareSynthesizer, RendersInTuneAndTheSameSamplesEachTime) {
    std::vector<float> before;
    for (const double rate : {48000.0, 48000.0, 22050.0}) {
        std::string reason;
        const auto synthesizer = machine::OpenSynthesizer({}, rate, reason);
        ASSERT_TRUE(synthesizer) << reason;
        std::vector<float> frames(static_cast<std::size_t>(rate) * 2);
        synthesizer->Render(frames.data(), 100);
        // Silent until a note, but for what keeps the library's filters from denormal numbers.
        EXPECT_LT(std::abs(*std::ranges::max_element(frames)), 1e-5);
        synthesizer->Send(0x4AC5);   // flute
        synthesizer->Send(0x4000E5); // no bend
        synthesizer->Send(0x604595);
        synthesizer->Render(frames.data(), frames.size() / 2);
        EXPECT_NEAR(Frequency({frames.begin() + std::ssize(frames) / 2, frames.end()}, rate), 440,
                    3);
        EXPECT_GT(synthesizer->ActiveVoices(), 0);
        EXPECT_NE(frames.back(), 0) << "the right channel";
        synthesizer->Send(0x004585);
        for (int i = 0; i < 3; ++i) synthesizer->Render(frames.data(), frames.size() / 2);
        EXPECT_EQ(synthesizer->ActiveVoices(), 0);
        if (before.size() == frames.size()) {
            EXPECT_EQ(frames, before);
        }
        before = frames;
    }
}

TEST_F(SoftwareSynthesizer, RefusesWhatItCannotUse) {
    struct Case {
        machine::SynthesizerSettings Settings;
        double Rate;
        const char* Problem;
    };
    constexpr char cut[] = "RIFF\x24\0\0\0sfbkLIST\0\0\0\0LIST\0\0\0\0LIST\x08\0\0";
    std::ofstream("cut.sf2", std::ios::binary).write(cut, sizeof cut); // without its last 8 bytes
    const Case cases[] = {{{"/", "", 0.2}, 44100, "it is a folder"},
                          {{"cut.sf2", "", 0.2}, 44100, "is incomplete"},
                          {{"/missing.sf2", "", 0.2}, 44100, "No such file"},
                          {{"/dev/null", "", 0.2}, 44100, "is no SoundFont"},
                          {{"", "loud", 0.2}, 44100, "is one of alsa"},
                          {{"", "", 0}, 44100, "from 0.01 to 10"},
                          {{"", "", NAN}, 44100, "from 0.01 to 10"},
                          {{"", "", 0.2}, 7999, "from 8000 to 96000"}};
    for (const Case& each : cases) {
        std::string reason;
        EXPECT_FALSE(machine::OpenSynthesizer(each.Settings, each.Rate, reason));
        EXPECT_NE(reason.find(each.Problem), std::string::npos) << reason;
    }
}

} // namespace
