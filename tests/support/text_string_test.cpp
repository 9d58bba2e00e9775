#include "support/error_box.h"
#include "support/text_string.h"
#include "tests/support/scarce_memory.h"

#include "platform/machine.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <utility>

using Sonorel::TextString;

TEST(TextString, EmptyOnesShareOneRepresentation) {
    const TextString null(nullptr);
    const TextString empty("");
    TextString copy(empty);
    EXPECT_TRUE(copy.Append(""));
    EXPECT_TRUE(copy.Append(null));
    for (const TextString* string : {&null, &empty, &std::as_const(copy)}) {
        EXPECT_EQ(TextString::SharedEmpty, string->Rep);
        EXPECT_EQ(0, string->Capacity);
        EXPECT_STREQ("", string->Text());
    }
}

TEST(TextString, NumbersAreDecimal) {
    struct {
        std::int32_t Number;
        const char* Text;
    } const cases[] = {{0, "0"},
                       {32, "32"},
                       {-7, "-7"},
                       {std::numeric_limits<std::int32_t>::max(), "2147483647"},
                       {std::numeric_limits<std::int32_t>::min(), "-2147483648"}};
    for (const auto& each : cases) EXPECT_STREQ(each.Text, TextString(each.Number).Text());
}

TEST(TextString, CopiesAreDeep) {
    TextString original("Line In");
    const TextString copy(original);
    EXPECT_TRUE(original.Append(" (rear)"));
    EXPECT_STREQ("Line In", copy.Text());
    EXPECT_STREQ("Line In (rear)", original.Text());
}

TEST(TextString, GrowsToExactlyWhatItHolds) {
    TextString text("abc");
    EXPECT_EQ(3, text.Capacity);
    EXPECT_EQ(3, text.Rep[0]);
    EXPECT_TRUE(text.Append("defg"));
    EXPECT_EQ(7, text.Capacity);
    EXPECT_EQ(7, text.Rep[0]);
    // Shortened, it appends within what it has.
    char* const rep = text.Rep;
    text.Rep[1 + 2] = '\0';
    EXPECT_TRUE(text.Append("XYZ12"));
    EXPECT_EQ(rep, text.Rep);
    EXPECT_EQ(7, text.Capacity);
    EXPECT_STREQ("abXYZ12", text.Text());
}

TEST(TextString, CountByteWrapsAtConstructionAndStopsAtGrowth) {
    const std::string longText(300, 'x');
    TextString text(longText.c_str());
    EXPECT_EQ(300 & 0xFF, static_cast<unsigned char>(text.Rep[0]));
    EXPECT_TRUE(text.Append("y"));
    EXPECT_EQ(255, static_cast<unsigned char>(text.Rep[0]));
    EXPECT_EQ(longText + "y", text.Text());
}

TEST(TextString, AppendsItself) {
    TextString text("ab");
    EXPECT_TRUE(text.Append(text));
    EXPECT_TRUE(text.Append(text.Text() + 1));
    EXPECT_STREQ("ababbab", text.Text());
}

TEST(TextString, JoinsTextAndString) {
    EXPECT_STREQ("Port 12", ("Port " + TextString(12)).Text());
    EXPECT_STREQ("12", (static_cast<const char*>(nullptr) + TextString(12)).Text());
    EXPECT_STREQ("Port ", ("Port " + TextString()).Text());
}

TEST(TextString, StaysAsItWasWhenMemoryRunsOut) {
    TextString text("kept");
    const ScarceMemory scarce;
    EXPECT_FALSE(text.Append(" and more"));
    EXPECT_STREQ("kept", text.Text());
    EXPECT_EQ(4, text.Capacity);
    const TextString copy(text);
    EXPECT_EQ(TextString::SharedEmpty, copy.Rep);
}

TEST(ErrorBox, ComesUpOnTopWithoutAnOwner) {
    machine::PowerOn();
    Sonorel::ShowErrorBox(TextString("text"), TextString("caption"), MB_ICONHAND);
    const auto boxes = machine::TakeBoxes();
    ASSERT_EQ(1u, boxes.size());
    EXPECT_EQ(nullptr, boxes[0].Owner);
    EXPECT_EQ("text", boxes[0].Text);
    EXPECT_EQ("caption", boxes[0].Caption);
    EXPECT_EQ(0x52010u, boxes[0].Flags);
}
