// Nothing on the way of a block allocates.
#include "tests/allocations.h"
#include "tests/soundin/capture_fixture.h"

namespace {

void CountBlock(std::uint32_t, const std::uint8_t*, std::int32_t, void* context) {
    static_cast<std::atomic<int>*>(context)->fetch_add(1);
}

} // namespace

class RealTimeTest : public BothCapturesTest {};
INSTANTIATE_TEST_SUITE_P(Both, RealTimeTest, testing::Values(Kind::Dx, Kind::Win), KindName);

TEST_P(RealTimeTest, ABlockAllocatesNothing) {
    Add("Microphone");
    const auto input = Make(GetParam());
    std::atomic<int> blocks{0};
    input->SetCallback(&CountBlock, &blocks);
    ASSERT_TRUE(input->Open(22050));
    EXPECT_GT(Allocations([&] {
                  input->Start();
                  AdvanceBlocks(2);
              }),
              0)
        << "counts nothing";
    const int before = blocks;
    EXPECT_EQ(0, Allocations([] { AdvanceBlocks(100); }));
    EXPECT_EQ(100, blocks - before);
    input->Close();
}
