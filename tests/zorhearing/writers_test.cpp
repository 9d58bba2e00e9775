// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "tests/zorhearing/hear_all.h"

#include <string>

namespace {

// A target that is too small by one byte stays as it is. The texts themselves are compared with
// zorhost's by the tests of the Python package, which calls the same functions.
TEST(Writers, LeaveATooSmallTargetAlone) {
    const std::vector<ZorHearNote> notes(3, {1, 2, 60, 0, 1, 60, 64, 0, 0});
    const std::int64_t length = ZorHearMusicXml(notes.data(), 3, nullptr, nullptr, 0);
    ASSERT_GT(length, 1000) << ZorHearError();
    std::string text(static_cast<std::size_t>(length) + 1, 'x');
    const std::string untouched = text;
    EXPECT_EQ(ZorHearMusicXml(notes.data(), 3, nullptr, text.data(), text.size() - 1), length);
    EXPECT_EQ(text, untouched);
    EXPECT_EQ(ZorHearMusicXml(notes.data(), 3, nullptr, text.data(), text.size()), length);
    EXPECT_EQ(text.substr(text.size() - 2), std::string("\n\0", 2));

    std::vector<std::uint8_t> bytes(
        static_cast<std::size_t>(ZorHearMidiFile(notes.data(), 3, 96, nullptr, 0)), 1);
    const std::vector<std::uint8_t> none = bytes;
    ZorHearMidiFile(notes.data(), 3, 96, bytes.data(), bytes.size() - 1);
    EXPECT_EQ(bytes, none);
    ZorHearMidiFile(notes.data(), 3, 96, bytes.data(), bytes.size());
    EXPECT_EQ(bytes[0], 'M');
}

TEST(Writers, RefuseWhatCannotBeWritten) {
    const ZorHearNote good = {1, 2, 60, 0, 1, 60, 64, 0, 0};
    std::vector<ZorHearNote> bad(4, good);
    bad[0].Key = 128;
    bad[1].Onset = NAN;
    bad[2].Key = -1;
    bad[3].End = 1e300;
    for (const ZorHearNote& note : bad) {
        EXPECT_EQ(ZorHearMusicXml(&note, 1, nullptr, nullptr, 0), ZOR_HEAR_BAD_VALUE);
        EXPECT_EQ(ZorHearMidiFile(&note, 1, 120, nullptr, 0), ZOR_HEAR_BAD_VALUE);
    }
    EXPECT_EQ(ZorHearMusicXml(&good, 0, nullptr, nullptr, 0), ZOR_HEAR_BAD_VALUE);
    EXPECT_EQ(ZorHearMidiFile(&good, 1, NAN, nullptr, 0), ZOR_HEAR_BAD_VALUE);
    ZorHearScoreOptions options = {};
    options.Meter = "7/4";
    EXPECT_EQ(ZorHearMusicXml(&good, 1, &options, nullptr, 0), ZOR_HEAR_BAD_VALUE);
}

} // namespace
