// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Strings, lists and memory blocks, also when out of memory.
#include "platform/machine.h"
#include "support/error_box.h"
#include "support/global_buffer.h"
#include "support/lock.h"
#include "support/locked_memory.h"
#include "support/profile.h"
#include "support/text_string_array.h"
#include "tests/support/scarce_memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <string>
#include <thread>

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

TEST(TextString, AppendsNumbersAndTextsOfAnyLength) {
    const std::string longText(300, 'x');
    TextString text(longText.c_str());
    const TextString copy(text);
    EXPECT_TRUE(text.Append(text)); // the string itself, and its own tail
    EXPECT_TRUE(text.Append(text.Text() + 599));
    EXPECT_TRUE(text.Append(TextString(std::numeric_limits<std::int32_t>::min())));
    EXPECT_EQ(longText + longText + "x-2147483648", text.Text());
    EXPECT_EQ(612, text.Capacity);
    EXPECT_EQ('\xFF', text.Rep[0]); // the count byte is limited to 255
    EXPECT_EQ(300 & 0xFF, copy.Rep[0]);
    EXPECT_EQ(longText, copy.Text());
    EXPECT_STREQ("12", (static_cast<const char*>(nullptr) + TextString(12)).Text());
    EXPECT_STREQ("0", TextString(0).Text());
    TextString empty(nullptr);
    EXPECT_TRUE(empty.Append(""));
    EXPECT_EQ(TextString::SharedEmpty, empty.Rep);
    TextString shortened("abcd");
    const char* const rep = shortened.Rep;
    shortened.Rep[3] = '\0';
    EXPECT_TRUE(shortened.Append("ef")); // without reallocation
    EXPECT_EQ(rep, shortened.Rep);
    EXPECT_STREQ("abef", shortened.Text());
}

TEST(PointerArray, GrowsAndDeletesOwnedElements) {
    Counted mine(-1);
    {
        PointerArray<Counted> array;
        EXPECT_EQ(nullptr, array.At(0));
        for (int number = 0; number < 40; ++number) ASSERT_TRUE(array.Append(new Counted(number)));
        for (int number = 0; number < 40; ++number) EXPECT_EQ(number, array.At(number)->Number);
        EXPECT_EQ(nullptr, array.At(-1));
        EXPECT_EQ(nullptr, array.At(40));
        EXPECT_EQ(48, array.Capacity);
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

TEST(OutOfMemory, LeavesObjectsUnchanged) {
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
    EXPECT_STREQ("Microphone", list.At(0)->Text()); // a copy
    EXPECT_FALSE(text.Append(" and more"));
    EXPECT_STREQ("kept", text.Text());
    EXPECT_STREQ("", TextString(text).Text());
}

TEST(GlobalBuffer, IsZeroedAndDoesNotMove) {
    GlobalBuffer buffer(1024, 1, true);
    auto* bytes = static_cast<unsigned char*>(buffer.Lock());
    ASSERT_NE(nullptr, bytes);
    EXPECT_TRUE(std::all_of(bytes, bytes + 1024, [](unsigned char byte) { return byte == 0; }));
    EXPECT_EQ(bytes, buffer.Lock());
    // Still locked twice: the destructor unlocks and frees the block.
    machine::FailCall(machine::Call::GlobalAlloc, 1, 0);
    GlobalBuffer none(64, 1, true);
    EXPECT_EQ(nullptr, none.Handle);
    EXPECT_EQ(nullptr, none.Lock());
    EXPECT_EQ(2, buffer.LockCount);
    EXPECT_NE(nullptr, GlobalBuffer(64, 2, true).Handle);
    EXPECT_EQ(nullptr, GlobalBuffer(64, 3, true).Handle);
    EXPECT_EQ(nullptr, GlobalBuffer(0, 1, true).Handle);
    GlobalFree(GlobalBuffer(64, 1, false).Handle); // not owned by the object
}

TEST(LockedMemory, IsNullWhereACallFails) {
    for (const auto call : {machine::Call::GlobalAlloc, machine::Call::GlobalLock}) {
        machine::FailCall(call, 1, 0);
        EXPECT_EQ(nullptr, Sonorel::AllocateLocked(GMEM_MOVEABLE, 64));
    }
    Sonorel::FreeLocked(nullptr);
}

TEST(Lock, TryEnterDoesNotWait) {
    Sonorel::ObjectLock lock;
    const Sonorel::LockScope scope(lock);
    std::thread([&] { EXPECT_FALSE(lock.TryEnter()); }).join();
}

TEST(Profile, WritesNumbersOrReturnsFalse) {
    EXPECT_TRUE(WriteProfileInt("Section", "Key", -2147483647, "profile.ini"));
    EXPECT_EQ(-2147483647,
              static_cast<int>(GetPrivateProfileIntA("Section", "Key", 1, "profile.ini")));
    EXPECT_FALSE(WriteProfileInt("Section", "Key", 1, "profile.ini/profile.ini"));
}

TEST(ErrorBox, IsTopmostAndHasNoOwner) {
    machine::PowerOn();
    Sonorel::ShowErrorBox(TextString("text"), TextString("caption"), MB_ICONHAND);
    const auto dialog = reinterpret_cast<HWND>(&machine::DrainBoxes);
    Sonorel::ShowNotSavedBox(dialog, "title", "file");
    const auto boxes = machine::DrainBoxes();
    ASSERT_EQ(2u, boxes.size());
    EXPECT_EQ(dialog, boxes[1].Owner);
    EXPECT_EQ(unsigned{MB_ICONEXCLAMATION | MB_TASKMODAL}, boxes[1].Flags);
    EXPECT_EQ(nullptr, boxes[0].Owner);
    EXPECT_EQ("text", boxes[0].Text);
    EXPECT_EQ("caption", boxes[0].Caption);
    EXPECT_EQ(0x52010u, boxes[0].Flags);
}

} // namespace
