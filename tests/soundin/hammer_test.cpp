// The real clock, real threads: capture runs while its owner opens, starts, stops and closes.
#include "tests/soundin/capture_fixture.h"

#include <atomic>

namespace {

// Owned by the test, destroyed right behind Stop: a callback still under way would be seen.
struct Heard {
    std::int64_t Bytes = 0; // plain on purpose
    static void Receive(std::uint32_t, const std::uint8_t* data, std::int32_t byteCount,
                        void* context) {
        auto& self = *static_cast<Heard*>(context);
        self.Bytes += byteCount + data[0] - data[0];
    }
};

class HammerTest : public testing::TestWithParam<Kind> {
protected:
    void SetUp() override {
        machine::PowerOn();
        for (const char* name : {"One", "Two"}) {
            machine::MicrophoneModel model;
            model.Name = name;
            machine::AddMicrophone(model);
        }
    }
    void TearDown() override {
        EXPECT_EQ(0, machine::OpenWaveIns());
        EXPECT_EQ(0, machine::OpenCaptureObjects());
        EXPECT_EQ(0, machine::PreparedWaveHeaders());
        machine::PowerOn();
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Both, HammerTest, testing::Values(Kind::Dx, Kind::Win), KindName);

TEST_P(HammerTest, NoCallbackOutlivesStop) {
    const auto input = Make(GetParam());
    std::int64_t bytes = 0;
    for (unsigned round = 0; round < 40; ++round) {
        auto heard = std::make_unique<Heard>();
        input->SetCallback(&Heard::Receive, heard.get());
        ASSERT_TRUE(input->Open(22050));
        input->Start();
        // Ends at every phase of a block.
        Sleep(round * 37 % 61);
        if (round % 4 == 3) {
            EXPECT_TRUE(input->SetDevice(1 - input->GetDevice()));
            Sleep(30);
        }
        if (round % 2) {
            input->Stop();
        } else {
            input->Close();
        }
        bytes += heard->Bytes;
        heard.reset();
        input->Close();
    }
    EXPECT_GT(bytes, 0);
}
