// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "tests/support/allocations.h"
#include "tests/zorhearing/hear_all.h"

namespace {

// Ten minutes of notes, unread ones and one that sounds for minutes.
TEST(Listener, LiveFeedingDoesNotAllocate) {
    for (const int rate : {22050, 48000}) {
        const ZorListener listener = ZorHearOpen(rate, 2, ZOR_HEAR_FLOAT32, ZOR_HEAR_LIVE);
        std::vector<float> stereo;
        for (const float sample : Scale(rate, 8)) stereo.insert(stereo.end(), {sample, sample});
        const int count = static_cast<int>(stereo.size() / 2);
        int notes = 0;
        ZorHearNote note;
        ZorHearFrame frame;
        EXPECT_EQ(Allocations([&] {
                      for (int i = 0; i < 190; ++i) {
                          ZorHearFeed(listener, stereo.data(), count);
                          while (i % 60 < 30 && ZorHearNextNote(listener, &note) == 1) ++notes;
                          while (ZorHearNextFrame(listener, &frame) == 1) continue;
                      }
                      for (int i = 0; i < 1000; ++i)
                          ZorHearFeed(listener, stereo.data(), rate / 4); // one note
                      ZorHearFinish(listener);
                  }),
                  0);
        EXPECT_GT(notes, 1000);
        ZorHearClose(listener);
    }
}

} // namespace
