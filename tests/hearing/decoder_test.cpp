// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Notes found in synthetic frames that resemble voices and instruments.
#include "hearing/decoder.h"
#include "hearing/pitch.h"
#include "hearing/tuning.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace {

using namespace hearing;

constexpr int Unvoiced = 0; // as a pitch

struct Segment {
    int Frames;
    double Pitch;
    int Level = 60;
    double Slope = 0;   // semitones per frame
    double Vibrato = 0; // semitones to each side, 5.5 Hz
};

using Sound = std::vector<Segment>;

constexpr Segment Silence = {10, Unvoiced, 0};

std::vector<Frame> Frames(const Sound& sound) {
    std::vector<Frame> frames;
    for (const Segment& segment : sound) {
        for (int i = 0; i < segment.Frames; ++i) {
            const double begin = static_cast<double>(frames.size()) * FrameSeconds;
            const double bend = segment.Slope * i + segment.Vibrato * std::sin(i * 0.8);
            const double frequency =
                segment.Pitch == Unvoiced ? 0 : FrequencyOf(segment.Pitch + bend);
            frames.push_back({begin, begin, frequency, segment.Level});
        }
    }
    return frames;
}

std::vector<Note> Notes(const std::vector<Frame>& frames, int lag) {
    Decoder decoder(lag, 0);
    for (const Frame& frame : frames) decoder.Feed(frame);
    decoder.Finish();
    return decoder.Notes();
}

TEST(Decoder, FindsTheNotesAtAnyLag) {
    const struct {
        const char* Name;
        Sound Input;
        std::vector<int> Keys;
    } cases[] = {
        {"wide vibrato", {{50, 60, 60, 0, 0.9}}, {60}},
        {"an octave error", {{10, 60}, {2, 72}, {10, 60}}, {60}},
        {"a subharmonic", {{10, 67}, {4, 48}, {10, 67}}, {67}},
        {"frames without a pitch", {{10, 60}, {3, Unvoiced}, {10, 60}}, {60}},
        {"a scoop", {{5, 58, 50, 0.4}, {20, 60}}, {60}},
        {"a noisy attack", {{2, Unvoiced, 80}, {1, 93.3, 90}, {15, 60}}, {60}},
        {"legato", {{12, 60}, {12, 62}, {12, 61}}, {60, 62, 61}},
        {"an octave that is played", {{15, 60}, {15, 72}}, {60, 72}},
        {"a re-onset", {{12, 60}, {1, 60, 10}, {12, 60, 80}}, {60, 60}},
        {"a re-onset after a gap", {{12, 60}, {4, Unvoiced, 3}, {12, 60}}, {60, 60}},
        {"a slow re-onset", {{12, 60}, {1, 60, 20}, {1, 60, 40}, {12, 60, 80}}, {60, 60}},
        {"just quiet enough", {{12, 60}, {3, Unvoiced, 10}, {12, 60, 12}}, {60, 60}},
        {"soft after loud", {{12, 60, 120}, {4, Unvoiced, 2}, {12, 62, 14}}, {60, 62}},
        {"a soft attack", {{1, 60, 12}, {1, 60, 14}, {1, 60, 18}, {1, 60, 40}, {12, 60, 80}}, {60}},
        {"the lowest and the highest", {{12, 28}, {12, 100}}, {28, 100}},
        {"a whistle above all notes", {{20, 110}}, {}},
        {"a swell", {{12, 60, 30}, {5, 60, 45}, {12, 60, 80}}, {60}},
        {"noise", {{1, 93, 40}, {1, Unvoiced, 40}, {1, 55, 40}, {1, 88, 40}}, {}},
        {"too short", {{1, 60}}, {}},
    };
    for (const auto& c : cases) {
        Sound sound = {Silence};
        sound.insert(sound.end(), c.Input.begin(), c.Input.end());
        sound.push_back(Silence);
        for (const int lag : {LiveLag, FileLag}) {
            std::vector<int> keys;
            for (const Note& note : Notes(Frames(sound), lag)) {
                keys.push_back(static_cast<int>(std::lround(note.Pitch)));
                EXPECT_FALSE(note.Open) << c.Name;
                EXPECT_LE(note.Confidence, 1) << c.Name;
            }
            EXPECT_EQ(keys, c.Keys) << c.Name << " at " << lag;
        }
    }
}

// Each second note costs 18 as wrong frames of the first one, and two changes cost 20.
TEST(Decoder, FindsAShortNoteByJumpsOfASteadyPitch) {
    const struct {
        const char* Name;
        Sound Input;
        std::vector<long> Keys;
    } cases[] = {
        {"a short note", {{12, 60}, {6, 62}, {12, 60}}, {60, 62, 60}},
        {"after a wrong frame", {{12, 60}, {1, 47}, {6, 62}, {12, 60}}, {60, 62, 60}},
        {"a glide", {{12, 60}, {6, 62, 60, 0.3}, {12, 60}}, {60}},
        {"too far away", {{12, 60}, {6, 68}, {12, 60}}, {60}},
        {"a tail", {{12, 60}, {1, 61}, {1, 61, 50}, {1, 61, 12}, Silence}, {60}},
    };
    for (const auto& c : cases) {
        std::vector<long> keys;
        for (const Note& note : Notes(Frames(c.Input), FileLag))
            keys.push_back(std::lround(note.Pitch));
        EXPECT_EQ(keys, c.Keys) << c.Name;
    }
}

TEST(Decoder, FindsANoteThatIsStruckAgainWithoutAGap) {
    using Steps = std::vector<float>;
    const Steps dip = {.9f, .5f, .6f, .8f};
    Steps beats, vibrato, decay, quick;
    for (int i = 0; i < 300; ++i) {
        beats.push_back(i % 8 == 5 ? .5f : 1);
        vibrato.push_back(.75f + .25f * std::cos(static_cast<float>(i) * .2f)); // 5.5 Hz
    }
    for (int i = 1; i <= 16; ++i) decay.push_back(std::pow(.9f, static_cast<float>(i)));
    while (decay.back() < .95f) decay.push_back(decay.back() * 1.07f);
    for (std::size_t i = 0; i < 88; ++i) quick.push_back(i % 22 < 4 ? .5f : 1);
    const struct {
        const char* Name;
        Sound Input;
        int Begin; // of the first scaled step
        Steps Scales;
        std::vector<double> Onsets; // in frames
        double Gain = 1;            // from the 31st frame
        bool HasSteps = true;
    } cases[] = {
        {"a dip", {{60, 60}}, 121, dip, {0, 30.75}},
        {"two dips",
         {{60, 60}},
         121,
         {.5f, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, .5f},
         {0, 30.5, 34.75}},
        {"in quick succession", {{60, 60}}, 121, quick, {0, 31.25, 36.75, 42.25, 47.75}},
        {"after a decay", {{60, 60}}, 105, decay, {0, 30.25}},
        {"after a pause",
         {{31, 60}, {1, 60, 2}, {1, Unvoiced, 2}, {27, 60}},
         132,
         {.03f, .03f, .03f},
         {0, 33}},
        {"a dip of noise", {{60, 60}}, 121, {.9f}, {0}},
        {"a dip without steps", {{60, 60}}, 121, dip, {0}, 1, false},
        {"another gain", {{60, 60}}, 124, Steps(116, 2), {0}, 2},
        {"a rise", {{60, 60}}, 121, Steps(119, 2), {0}},
        {"a fall", {{60, 60}}, 121, Steps(119, .5f), {0}},
        {"vibrato", {{100, 60}}, 60, vibrato, {0}},
        {"beats", {{40, Unvoiced}, {60, 60}}, 0, beats, {40}},
        {"less than a period", {{60, 36}}, 121, {.5f}, {0}},
        {"a whole period", {{60, 36}}, 121, {.5f, .5f, .5f, .5f, .5f}, {0, 31.5}},
        {"another pitch", {{31, 60}, {29, 64}}, 121, dip, {0, 31}},
    };
    for (const auto& c : cases) {
        auto frames = Frames(c.Input);
        for (Frame& frame : frames) frame.Steps.fill(static_cast<float>(frame.Level));
        for (std::size_t i = 0; i < c.Scales.size(); ++i) {
            const std::size_t step = static_cast<std::size_t>(c.Begin) + i;
            frames[step / StepsPerFrame].Steps[step % StepsPerFrame] *= c.Scales[i];
        }
        for (std::size_t i = 0; i < frames.size(); ++i) {
            if (i > 30) frames[i].Gain = c.Gain;
            if (!c.HasSteps) frames[i].Steps = Frame{}.Steps;
        }
        for (const int lag : {LiveLag, FileLag}) {
            const auto notes = Notes(frames, lag);
            ASSERT_EQ(notes.size(), c.Onsets.size()) << c.Name << " at " << lag;
            for (std::size_t i = 0; i < notes.size(); ++i) {
                EXPECT_NEAR(notes[i].Onset / FrameSeconds, c.Onsets[i], 0.8) << c.Name;
                EXPECT_LE(notes[i].End, i + 1 < notes.size() ? notes[i + 1].Onset : 9) << c.Name;
            }
        }
    }
}

TEST(Decoder, FindsTheBeginningTheEndAndTheExactPitch) {
    const auto notes = Notes(Frames({Silence,
                                     {2, Unvoiced, 30},
                                     {1, Unvoiced, 20},
                                     {1, Unvoiced, 35},
                                     {1, 47, 50},
                                     {20, 60.5, 60},
                                     {20, 62, 60, 0, 0.2},
                                     Silence}),
                             FileLag);
    ASSERT_EQ(notes.size(), 2u);
    // The level rises two frames before a pitch is measured.
    EXPECT_NEAR(notes[0].Onset, 12 * FrameSeconds, 0.001);
    EXPECT_NEAR(notes[0].Pitch, 60.5, 0.01);
    EXPECT_NEAR(notes[0].Confidence, 0.95, 0.04);
    // The window fills before the new pitch is measured.
    EXPECT_NEAR(notes[1].Onset, 35 * FrameSeconds, 0.03);
    EXPECT_NEAR(notes[1].End, 55 * FrameSeconds, 0.001);
    EXPECT_NEAR(notes[1].Pitch, 62, 0.1);
}

TEST(Decoder, EndsANoteThatIsOpenAtTheEndOfTheSound) {
    auto frames = Frames({Silence,
                          {10, 60.3, 80},
                          {3, 72.3, 80},
                          {7, 60.4, 100},
                          {6, Unvoiced, 2},
                          {1, Unvoiced, 14},
                          {10, 60.1, 40}});
    for (std::size_t i = 36; i < frames.size(); ++i) {
        frames[i].Gain = 2;
        frames[i].LoudBegin += 0.001;
    }
    for (const int lag : {LiveLag, FileLag}) {
        const auto notes = Notes(frames, lag);
        ASSERT_EQ(notes.size(), 2u);
        EXPECT_EQ(notes[0].Onset, 10 * FrameSeconds);
        EXPECT_EQ(notes[0].Level, 80); // of its attack
        EXPECT_NEAR(notes[0].Pitch, 60.3, 1e-6);
        EXPECT_DOUBLE_EQ(notes[0].Confidence, 17 / 20.0);
        EXPECT_DOUBLE_EQ(notes[1].Onset, 36 * FrameSeconds + 0.001);
        EXPECT_DOUBLE_EQ(notes[1].End, 47 * FrameSeconds);
        EXPECT_EQ(notes[1].Level, 20);
        EXPECT_NEAR(notes[1].Pitch, 60.1, 1e-6);
        EXPECT_EQ(notes[1].Confidence, 1);
        EXPECT_FALSE(notes[1].Open);
    }
}

TEST(NoteWriter, LimitsTheSearchForAnOnset) {
    NoteWriter writer(2);
    int count = 0;
    const auto write = [&](Phase phase, int bin, int level) {
        const double begin = count++ * FrameSeconds;
        const Frame frame = {begin, begin, phase == Phase::Silence ? 0 : 261.6, level};
        writer.Write({phase, bin}, 28 + bin / 2.0, {&frame, 1}, 0);
    };
    for (int level = 21; level <= 60; ++level) write(Phase::Silence, 0, level); // breath
    for (const Phase phase : {Phase::First, Phase::Second, Phase::Sustain}) write(phase, 64, 80);
    write(Phase::Silence, 0, 65);
    for (const Phase phase : {Phase::First, Phase::Second, Phase::Sustain}) write(phase, 64, 80);
    write(Phase::Silence, 0, 0);
    write(Phase::First, 64, 80);
    write(Phase::Sustain, 68, 80); // the path has changed
    writer.Close();
    std::vector<double> onsets;
    for (const Note& note : writer.Notes()) onsets.push_back(note.Onset / FrameSeconds);
    ASSERT_EQ(onsets.size(), 4u);
    EXPECT_NEAR(onsets[0], 40 - 16, 1e-6);
    EXPECT_NEAR(onsets[1], 43, 1e-6);
    EXPECT_NEAR(onsets[2], 48, 1e-6);
    EXPECT_NEAR(onsets[3], 49, 1e-6); // one frame after the onset before
}

TEST(Decoder, ReportsALiveNoteAfterTheLag) {
    Decoder decoder(LiveLag, 0.25);
    const auto frames = Frames({Silence, {30, 60.25}});
    for (std::size_t i = 0; i < 10 + LiveLag + 1; ++i) decoder.Feed(frames[i]);
    ASSERT_EQ(decoder.Notes().size(), 1u);
    EXPECT_TRUE(decoder.Notes()[0].Open);
    EXPECT_EQ(decoder.Notes()[0].Pitch, 60.25);
}

TEST(Decoder, DecidesALongFileAsIfItWereWhole) {
    std::mt19937 random(1);
    Sound sound;
    for (int i = 0; i < 800; ++i) {
        const auto pitch = static_cast<double>(random() % 5 ? 50 + random() % 20 : Unvoiced);
        sound.push_back({static_cast<int>(2 + random() % 12), pitch,
                         static_cast<int>(5 + random() % 90), 0, 0.4});
    }
    const auto frames = Frames(sound);
    ASSERT_GT(frames.size(), 4u * FileLag);
    const auto cut = Notes(frames, FileLag);
    const auto whole = Notes(frames, static_cast<int>(frames.size()));
    EXPECT_TRUE(std::ranges::equal(cut, whole, [](const Note& a, const Note& b) {
        return a.Onset == b.Onset && a.Pitch == b.Pitch;
    }));
}

TEST(Tuning, IsIndependentOfTheNotes) {
    for (const double tuning : {-0.45, -0.2, 0.0, 0.3}) {
        const auto frames = Frames({{20, 60 + tuning}, {9, 130.5}, {30, 67 + tuning, 60, 0, 0.1}});
        EXPECT_NEAR(TuningOf(frames), tuning, 0.01);
    }
    EXPECT_EQ(TuningOf({}), 0);
}

} // namespace
