#include "support/global_buffer.h"

#include "platform/machine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

using Sonorel::GlobalBuffer;

namespace {

class GlobalBufferTest : public testing::Test {
protected:
    void SetUp() override { machine::PowerOn(); }
};

} // namespace

TEST_F(GlobalBufferTest, IsZeroAndStaysWhereItIs) {
    GlobalBuffer buffer(1024, 1, true);
    auto* bytes = static_cast<unsigned char*>(buffer.Lock());
    ASSERT_NE(nullptr, bytes);
    EXPECT_TRUE(std::all_of(bytes, bytes + 1024, [](unsigned char byte) { return byte == 0; }));
    bytes[1023] = 7;
    EXPECT_EQ(bytes, buffer.Lock());
    EXPECT_EQ(2, buffer.LockCount);
    // Left locked twice: the destructor gives the locks back, and the block with them.
}

TEST_F(GlobalBufferTest, WithoutABlockLocksNothing) {
    struct {
        std::uint32_t Size;
        std::int32_t Kind;
        bool Fails;
    } const cases[] = {{0, 1, false}, {64, 0, false}, {64, 3, false}, {64, 1, true}};
    for (const auto& each : cases) {
        if (each.Fails) machine::FailCall(machine::Call::GlobalAlloc, 1, 0);
        GlobalBuffer buffer(each.Size, each.Kind, true);
        EXPECT_EQ(nullptr, buffer.Handle);
        EXPECT_EQ(nullptr, buffer.Lock());
        EXPECT_EQ(0, buffer.LockCount);
    }
}

TEST_F(GlobalBufferTest, LeavesWhatItDoesNotOwn) {
    std::optional<GlobalBuffer> buffer(std::in_place, 16u, 2, false);
    auto* bytes = static_cast<unsigned char*>(buffer->Lock());
    ASSERT_NE(nullptr, bytes);
    const HGLOBAL block = buffer->Handle;
    bytes[0] = 42;
    buffer.reset();
    EXPECT_EQ(42, bytes[0]);
    GlobalUnlock(block);
    EXPECT_EQ(nullptr, GlobalFree(block));
}
