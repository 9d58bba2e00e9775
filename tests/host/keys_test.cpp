// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// zorhost play on a terminal: its keys, and output cut to the width.
#include "tests/host/midi_bytes.h"
#include "tests/host/peer.h"
#include "tests/host/program.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <stdexcept>

namespace {

const std::string Right = "\033[C", Left = "\033[D", Home = "\033[H";

// Four bars with a note on each quarter, keys from 60 up. Key 40 sounds across the beginning and
// the end of bars 2 to 3.
void WriteBars() {
    TrackEvents track = {{0, {0x90, 40, 9}}};
    for (unsigned char key = 60; key < 76; ++key) {
        const int tick = (key - 60) * 96;
        if (key == 65) track.push_back({tick, {0x80, 40, 0}});
        track.push_back({tick, {0x90, key, 100}});
        if (key == 71) track.push_back({tick, {0x90, 40, 9}});
        track.push_back({tick + 96, {0x80, key, 0}});
    }
    WriteMidi("bars.mid", 96, {track});
}

class LoopNotes {
public:
    std::vector<unsigned> Struck, Released; // keys since the previous Await
    // Reads notes until the key is struck.
    void Await(unsigned key) {
        Struck.clear();
        Released.clear();
        while (Struck.empty() || Struck.back() != key) {
            const std::uint32_t message = Messages.AwaitNumber(Next++);
            if (message == 0) throw std::runtime_error(std::to_string(key) + " is not played");
            const unsigned status = message & 0xFF, velocity = message >> 16;
            if (status != 0x90 && status != 0x80) continue;
            (status == 0x90 && velocity > 0 ? Struck : Released).push_back(message >> 8 & 127);
        }
    }
    bool IsStruck(unsigned key) const { return std::ranges::count(Struck, key) > 0; }

private:
    const Peer Messages{"Loopback MIDI 2"};
    std::size_t Next = 0;
};

TEST(Keys, MoveWithinALoopWhichContinuesAsWritten) {
    using Keys = std::vector<unsigned>;
    WriteBars();
    LoopNotes loop;
    Program play("play bars.mid --to 2 --loop 2-3 --tempo 200", 70);
    loop.Await(64);
    EXPECT_TRUE(play.Await("Space pauses"));
    play.Type(Right); // to bar 3, where key 40 comes and goes with the loop's end
    loop.Await(68);
    EXPECT_FALSE(loop.IsStruck(67));
    loop.Await(64);
    EXPECT_EQ(loop.Struck, (Keys{69, 70, 71, 40, 64}));
    play.Type(Right + Left); // in the second pass
    loop.Await(64);
    EXPECT_FALSE(loop.IsStruck(67) || loop.IsStruck(71));
    loop.Await(66);
    play.Type(Home);
    loop.Await(64);
    EXPECT_FALSE(loop.IsStruck(60) || loop.IsStruck(68));

    play.Type(" ");
    ASSERT_TRUE(play.Await("paused  bar    2"));
    EXPECT_EQ(play.Output.find("bar    4"), std::string::npos) << "beyond the loop";
    play.Output.clear();
    play.Type(Right);
    ASSERT_TRUE(
        play.Await("paused  bar    3 beat  1  0:01.0 of 0:02.0  [##########----------]\033[K"));
    play.Output.clear();
    play.Type(Left + Right + " ");
    loop.Await(68);
    EXPECT_EQ(loop.Struck, Keys{68});
    loop.Await(69);
    ASSERT_TRUE(play.Await("\rbar    3"));
    play.Type(" ");
    for (int i = 0; i < 4; ++i) { // paused for several progress lines
        play.Output.clear();
        ASSERT_TRUE(play.Await("paused  bar    3"));
    }
    play.Type(" "); // resumes at the same position
    loop.Await(71);
    EXPECT_FALSE(loop.IsStruck(68));
    EXPECT_TRUE(loop.IsStruck(70));
    play.Type(Right); // beyond the end: the next pass
    loop.Await(64);
    EXPECT_FALSE(loop.IsStruck(68));
    loop.Await(64);
    EXPECT_EQ(loop.Struck, (Keys{65, 66, 67, 68, 69, 70, 71, 40, 64}));
    EXPECT_EQ(std::ranges::count(loop.Released, 40u), 1) << "at the loop's end";
    loop.Await(69);
    play.Type(Left);
    loop.Await(64);
    EXPECT_FALSE(loop.IsStruck(60));
    play.Type("q");
    EXPECT_EQ(play.Finish(), 0);
    EXPECT_NE(play.Output.find("]\033[K\r\n\r\033[KStopped after"), std::string::npos)
        << play.Output;
    EXPECT_EQ(play.Output.find("queue"), std::string::npos) << "no room for it";
    EXPECT_TRUE(play.Echoes);
}

} // namespace
