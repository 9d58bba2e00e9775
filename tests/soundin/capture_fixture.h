// A machine with stepped clock and microphones, and a listener that keeps what it is given.
#pragma once

#include "soundin/sound_in_dx.h"
#include "soundin/sound_in_win.h"
#include "tests/support/direct_sound.h"
#include "tests/support/machine_test.h"

#include <cmath>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

struct Block {
    std::uint32_t Time;
    std::vector<std::uint8_t> Bytes;
};

// Blocks come on the delivering thread, and are taken on the test's.
class Listener {
public:
    explicit Listener(Sonorel::SoundIn& input) { input.SetCallback(&Listener::Receive, this); }
    std::vector<Block> Take() {
        const std::lock_guard lock(Guard);
        return std::exchange(Blocks, {});
    }
    // Runs at each block on the delivering thread, after it was kept.
    std::function<void()> AtBlock;

private:
    static void Receive(std::uint32_t time, const std::uint8_t* data, std::int32_t byteCount,
                        void* context) {
        auto& self = *static_cast<Listener*>(context);
        {
            const std::lock_guard lock(self.Guard);
            self.Blocks.push_back({time, {data, data + byteCount}});
        }
        if (self.AtBlock) self.AtBlock();
    }
    std::mutex Guard;
    std::vector<Block> Blocks;
};

// Sound that tells where it stands: two channels of 32 levels each, so every frame of 1,024 has a
// pair of its own, wherever a sample's last bits go.
namespace place_feed {

constexpr std::uint32_t Period = 1024;

inline machine::Generator Generator() {
    return [](const machine::FeedRequest& request) {
        for (std::size_t frame = 0; frame * request.Channels < request.Samples.size(); ++frame) {
            const auto place = static_cast<unsigned>((request.First + frame) % Period);
            const unsigned steps[] = {place % 32, place / 32};
            for (unsigned channel = 0; channel < request.Channels; ++channel)
                request.Samples[frame * request.Channels + channel] =
                    (static_cast<float>(steps[channel]) * 8 + 4 - 128) / 128;
        }
    };
}

// Place of a frame of two channels of 8 bits.
inline std::uint32_t Of(const std::uint8_t* frame) { return frame[0] / 8u + frame[1] / 8u * 32; }

} // namespace place_feed

class CaptureTest : public MachineTest {
protected:
    CaptureTest() : MachineTest(StartTime) { SetDirectSound(DirectSound::Present); }
    ~CaptureTest() override {
        EXPECT_EQ(0, OpenCaptureObjects());
        SetDirectSound(DirectSound::Absent);
    }
    // Another machine in the middle of a test. Nothing may be left of the one before.
    static void Restart() {
        EXPECT_EQ(0, OpenCaptureObjects());
        PowerOff();
        PowerOn(StartTime);
        SetDirectSound(DirectSound::Present);
    }

    static machine::Microphone Add(const std::string& name, std::uint32_t formats = 0xFFF,
                                   unsigned channels = 2) {
        return machine::AddMicrophone({.Name = name, .Formats = formats, .Channels = channels});
    }
    // Time that the next count blocks take, and a little more.
    static void AdvanceBlocks(unsigned count) {
        machine::Advance(static_cast<std::uint32_t>(count * 512 * 1000.0 / 22050 + 2));
    }

    static constexpr std::uint32_t StartTime = 0xFFFFF000; // the clock wraps in the middle
};

// The class that listens where there is DirectSound, or where there is none.
inline std::unique_ptr<Sonorel::SoundInSystem> Make(DirectSound kind) {
    if (kind == DirectSound::Present) return std::make_unique<Sonorel::SoundInDx>();
    return std::make_unique<Sonorel::SoundInWin>();
}

// What holds for both classes.
class BothCapturesTest : public CaptureTest, public testing::WithParamInterface<DirectSound> {};
