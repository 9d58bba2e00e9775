// How recordings are judged.
#include "hearing/pitch.h"
#include "hearing/score/match.h"
#include "hearing/score/two_frames.h"

#include <fstream>
#include <gtest/gtest.h>

namespace {

using namespace hearing;

TEST(Match, PairsAsManyNotesAsCanBeAndTellsTheUsualDelayApart) {
    // The first heard note fits both, the second only the first true one.
    const std::vector<PlainNote> close = {{1, 1.5, 60}, {1.04, 1.5, 60}};
    const Take both[] = {{close, {{1.02, 1.5, 60.4}, {0.97, 1.5, 60}, {3, 4, 60}}}};
    EXPECT_DOUBLE_EQ(ScoreOf(both).Within50, 2 * 2 / 5.0);

    const std::vector<PlainNote> apart = {{1, 2, 60}, {3, 4, 62}};
    const Take late[] = {{apart, {{0.8, 0.9, 60}, {1.06, 2, 60}, {3.08, 4, 62}}}};
    const Score score = ScoreOf(late);
    EXPECT_NEAR(score.Delay, 0.07, 1e-9);
    EXPECT_EQ(score.Within50, 0);
    EXPECT_DOUBLE_EQ(score.Within50LessDelay, 2 * 2 / 5.0);
}

TEST(Clips, AreReadAndHeardAsTwoFramesAgree) {
    std::ofstream("index.csv") << "name,category\none,melody\n";
    std::ofstream frames("one.frames");
    // A slip of one frame, a change, and one that is the old note's end.
    const std::pair<int, int> heard[] = {{60, 90}, {60, 90}, {72, 90}, {60, 90}, {60, 90},
                                         {62, 80}, {62, 80}, {55, 80}, {55, 50}};
    for (int i = 0; const auto& [key, level] : heard)
        frames << level << ' ' << 23 * i++ - 5 << ' ' << FrequencyOf(key) << '\n';
    frames.close();
    std::ofstream("one.notes") << "0.1,0.5,60\n";
    const std::vector<Clip> clips = ReadClips(".");
    ASSERT_EQ(clips.size(), 1u);
    EXPECT_EQ(clips[0].Category, "melody");
    EXPECT_EQ(clips[0].Truth.at(0).End, 0.5);
    ASSERT_EQ(clips[0].Frames.size(), 9u);
    EXPECT_EQ(clips[0].Frames[0].Loud, 0);
    const auto notes = TwoFramesAgree(clips[0]);
    ASSERT_EQ(notes.size(), 2u);
    EXPECT_EQ(notes[1].Pitch, 62);
    EXPECT_NEAR(notes[1].Onset, 0.133, 1e-9);
    EXPECT_NEAR(notes[1].End, 0.179, 1e-9);
}

} // namespace
