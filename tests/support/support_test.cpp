// Strings, lists and blocks of memory as the other subsystems use them, and without memory.
#include "platform/machine.h"
#include "support/error_box.h"
#include "support/global_buffer.h"
#include "support/text_string_array.h"
#include "tests/support/scarce_memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <string>

using Sonorel::GlobalBuffer;
using Sonorel::PointerArray;
using Sonorel::TextString;

namespace {

struct Counted {
    explicit Counted(int number) : Number(number) { ++Alive; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;
    ~Counted() { --Alive; }
    int Number;
    static inline int Alive = 0;
};

TEST(TextString, TakesNumbersAndTextsOfAnyLength) {
    const std::string longText(300, 'x');
    TextString text(longText.c_str());
    const TextString copy(text);
    EXPECT_TRUE(text.Append(text)); // the string itself, and a part of it
    EXPECT_TRUE(text.Append(text.Text() + 599));
    EXPECT_TRUE(text.Append(TextString(std::numeric_limits<std::int32_t>::min())));
    EXPECT_EQ(longText + longText + "x-2147483648", text.Text());
    EXPECT_EQ(longText, copy.Text());
    EXPECT_STREQ("12", (static_cast<const char*>(nullptr) + TextString(12)).Text());
    EXPECT_STREQ("0", TextString(0).Text());
    EXPECT_STREQ("", TextString(nullptr).Text());
}

TEST(PointerArray, GrowsAndDeletesWhatItOwns) {
    Counted mine(-1);
    {
        PointerArray<Counted> array;
        EXPECT_EQ(nullptr, array.At(0));
        for (int number = 0; number < 40; ++number) ASSERT_TRUE(array.Append(new Counted(number)));
        for (int number = 0; number < 40; ++number) EXPECT_EQ(number, array.At(number)->Number);
        EXPECT_EQ(nullptr, array.At(-1));
        EXPECT_EQ(nullptr, array.At(40));
        array.Clear();
        EXPECT_EQ(1, Counted::Alive);
        EXPECT_EQ(0, array.Count);
        ASSERT_TRUE(array.Append(new Counted(3)));
        PointerArray<Counted> borrowed;
        borrowed.Owns = false;
        ASSERT_TRUE(borrowed.Append(&mine));
    }
    EXPECT_EQ(1, Counted::Alive);
}

TEST(WithoutMemory, EverythingStaysAsItWas) {
    PointerArray<Counted> array;
    for (int number = 0; number < 16; ++number) ASSERT_TRUE(array.Append(new Counted(number)));
    const auto refused = std::make_unique<Counted>(16);
    Sonorel::TextStringArray list;
    char name[] = "Microphone";
    ASSERT_TRUE(list.AppendText(name));
    name[0] = 'm';
    TextString text("kept");
    const ScarceMemory scarce;
    EXPECT_FALSE(array.Append(refused.get()));
    EXPECT_EQ(16, array.Count);
    EXPECT_EQ(15, array.At(15)->Number);
    EXPECT_FALSE(list.AppendText("another"));
    EXPECT_EQ(1, list.Count);
    EXPECT_STREQ("Microphone", list.At(0)->Text()); // its own copy
    EXPECT_FALSE(text.Append(" and more"));
    EXPECT_STREQ("kept", text.Text());
    EXPECT_STREQ("", TextString(text).Text());
}

TEST(GlobalBuffer, IsZeroAndStaysWhereItIs) {
    GlobalBuffer buffer(1024, 1, true);
    auto* bytes = static_cast<unsigned char*>(buffer.Lock());
    ASSERT_NE(nullptr, bytes);
    EXPECT_TRUE(std::all_of(bytes, bytes + 1024, [](unsigned char byte) { return byte == 0; }));
    EXPECT_EQ(bytes, buffer.Lock());
    // Left locked twice: the destructor gives the locks back, and the block with them.
    machine::FailCall(machine::Call::GlobalAlloc, 1, 0);
    GlobalBuffer none(64, 1, true);
    EXPECT_EQ(nullptr, none.Handle);
    EXPECT_EQ(nullptr, none.Lock());
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

} // namespace
