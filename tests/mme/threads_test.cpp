// Several threads on the ports at once.
#include "mme_test.h"

#include <map>
#include <random>
#include <thread>

namespace {

// Two threads play on overlapping ports while the host silences, closes and opens them.
TEST_F(MmeTest, CountsStayRightWhoeverSends) {
    OpenOutputs({0, 8});
    std::atomic<int> playing{2}, refused{0};
    const auto play = [&](unsigned seed) {
        std::mt19937 random(seed);
        for (int i = 0; i < 200000; ++i) {
            const int status = random() % 2 ? 0x90 : 0x80;
            const int channel = static_cast<int>(random() % 24);
            refused += !Send(channel, status, static_cast<int>(random() % 4), 1);
        }
        --playing;
    };
    std::thread first(play, 1u), second(play, 2u);
    for (int turn = 1; playing > 0; ++turn) {
        if (turn % 8 == 0) {
            EXPECT_TRUE(MMESilence());
        }
        std::this_thread::yield();
        EXPECT_TRUE(MMEClose());
        EXPECT_TRUE(MMEOpen());
    }
    first.join();
    second.join();
    EXPECT_EQ(refused, 0); // a port that is just being closed refuses nothing

    // By what the devices got, no key ever ended more often than it began, and what still sounds
    // is what the tables hold.
    std::map<std::pair<int, int>, int> sounding; // by device, and channel * 128 + key
    for (const machine::SentMidi& sent : machine::TakeSentMidi()) {
        if (sent.Reset) {
            std::erase_if(sounding,
                          [&](const auto& entry) { return entry.first.first == sent.Device; });
            continue;
        }
        const auto status = sent.Message & 0xF0, velocity = sent.Message >> 16 & 0xFF;
        const auto key = static_cast<int>((sent.Message & 0x0F) * 128 + (sent.Message >> 8 & 0x7F));
        int& count = sounding[{sent.Device, key}];
        count += status == 0x90 && velocity != 0 ? 1 : -1;
        ASSERT_GE(count, 0);
    }
    for (int row = 0; row < 2; ++row)
        for (int key = 0; key < 2048; ++key)
            ASSERT_EQ(OutPorts[row].NoteCounts[key], (sounding[{row, key}]));
}

// Messages on both inputs at once, while the host switches sync and closes and opens the ports.
TEST_F(MmeTest, InputsMayCallTogether) {
    OpenInputs({0, 16});
    std::atomic<int> delivering{2};
    const auto deliver = [&](int input) {
        for (int i = 0; i < 20000; ++i)
            for (const unsigned message : {0x403C93u, 0xF8u, 0xFAu, 0x003C93u})
                machine::CallBackMidi(input, MIM_DATA, message, 1);
        --delivering;
    };
    int taken = 0;
    const auto take = [&] {
        for (MIDIEvent event; ZorRcv(&event, 0); ++taken)
            ASSERT_TRUE((event.Status == 0x90 && (event.Channel == 3 || event.Channel == 19) &&
                         event.Data1 == 0x3C) ||
                        (event.Status >= 0xF8 && (event.Channel == 0 || event.Channel == 16)));
    };
    std::thread first(deliver, 0), second(deliver, 1);
    for (int turn = 1; delivering > 0; ++turn) {
        take();
        MMESync(turn % 2 ? 2 : 0);
        std::this_thread::yield();
        if (turn % 16 != 0) continue;
        EXPECT_TRUE(MMEClose());
        EXPECT_TRUE(MMEOpen());
    }
    first.join();
    second.join();
    take();
    EXPECT_GT(taken, 0);
    EXPECT_TRUE(machine::TakeBoxes().empty());
}

} // namespace
