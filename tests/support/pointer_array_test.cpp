#include "support/pointer_array.h"
#include "support/text_string_array.h"
#include "tests/support/scarce_memory.h"

#include <gtest/gtest.h>

#include <memory>

using Sonorel::PointerArray;

namespace {

struct Counted {
    explicit Counted(int number) : Number(number) { ++Alive; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;
    ~Counted() { --Alive; }
    int Number;
    static inline int Alive = 0;
};

} // namespace

TEST(PointerArray, GrowsBySixteenAndKeepsItsPointers) {
    PointerArray<Counted> array;
    EXPECT_EQ(0, array.Capacity);
    EXPECT_EQ(nullptr, array.Items);
    for (int number = 0; number < 16; ++number) ASSERT_TRUE(array.Append(new Counted(number)));
    EXPECT_EQ(16, array.Capacity);
    ASSERT_TRUE(array.Append(new Counted(16)));
    EXPECT_EQ(32, array.Capacity);
    for (int number = 0; number < 17; ++number) EXPECT_EQ(number, array.At(number)->Number);
}

TEST(PointerArray, GivesNullOutsideItsRange) {
    PointerArray<Counted> array;
    EXPECT_EQ(nullptr, array.At(0));
    ASSERT_TRUE(array.Append(new Counted(1)));
    EXPECT_EQ(nullptr, array.At(-1));
    EXPECT_EQ(nullptr, array.At(1));
}

TEST(PointerArray, DeletesWhatItOwns) {
    Counted mine(1);
    {
        PointerArray<Counted> array;
        ASSERT_TRUE(array.Append(new Counted(2)));
        ASSERT_TRUE(array.Append(nullptr));
        array.Clear();
        EXPECT_EQ(1, Counted::Alive);
        EXPECT_EQ(0, array.Count);
        EXPECT_EQ(0, array.Capacity);
        ASSERT_TRUE(array.Append(new Counted(3)));

        PointerArray<Counted> borrowed;
        borrowed.Owns = false;
        ASSERT_TRUE(borrowed.Append(&mine));
    }
    EXPECT_EQ(1, Counted::Alive);
}

TEST(PointerArray, StaysAsItWasWhenMemoryRunsOut) {
    PointerArray<Counted> array;
    for (int number = 0; number < 16; ++number) ASSERT_TRUE(array.Append(new Counted(number)));
    const auto refused = std::make_unique<Counted>(16);
    {
        const ScarceMemory scarce;
        EXPECT_FALSE(array.Append(refused.get()));
    }
    EXPECT_EQ(16, array.Count);
    EXPECT_EQ(16, array.Capacity);
    EXPECT_EQ(15, array.At(15)->Number);
}

TEST(TextStringArray, CopiesItsTexts) {
    Sonorel::TextStringArray list;
    char name[] = "Microphone";
    ASSERT_TRUE(list.AppendText(name));
    name[0] = 'm';
    EXPECT_STREQ("Microphone", list.At(0)->Text());
    const ScarceMemory scarce;
    EXPECT_FALSE(list.AppendText("another"));
    EXPECT_EQ(1, list.Count);
}
