// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Base class of the capture tests: a machine with a stepped clock and microphones.
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

// Stores the delivered blocks. Drain runs on the test's thread.
class Listener {
public:
    explicit Listener(Sonorel::SoundIn& input) { input.SetCallback(&Listener::Receive, this); }
    std::vector<Block> Drain() {
        const std::lock_guard lock(Guard);
        return std::exchange(Blocks, {});
    }
    // Called for each block on the delivering thread, after it was stored.
    std::function<void()> OnBlock;

private:
    static void Receive(std::uint32_t time, const std::uint8_t* data, std::int32_t byteCount,
                        void* context) {
        auto& self = *static_cast<Listener*>(context);
        {
            const std::lock_guard lock(self.Guard);
            self.Blocks.push_back({time, {data, data + byteCount}});
        }
        if (self.OnBlock) self.OnBlock();
    }
    std::mutex Guard;
    std::vector<Block> Blocks;
};

// Sound that encodes the position of each frame, modulo 1,024, in the levels of two channels, 32
// levels each. Independent of the low bits of a sample.
namespace position_feed {

constexpr std::uint32_t Period = 1024;

inline machine::Generator Generator() {
    return [](const machine::FeedRequest& request) {
        for (std::size_t frame = 0; frame * request.Channels < request.Samples.size(); ++frame) {
            const auto position = static_cast<unsigned>((request.First + frame) % Period);
            const unsigned steps[] = {position % 32, position / 32};
            for (unsigned channel = 0; channel < request.Channels; ++channel)
                request.Samples[frame * request.Channels + channel] =
                    (static_cast<float>(steps[channel]) * 8 + 4 - 128) / 128;
        }
    };
}

// Position of a frame of two channels of 8 bits.
inline std::uint32_t PositionOf(const std::uint8_t* frame) {
    return frame[0] / 8u + frame[1] / 8u * 32;
}

} // namespace position_feed

class CaptureTest : public MachineTest {
protected:
    CaptureTest() : MachineTest(StartTime) { SetDirectSound(DirectSound::Present); }
    ~CaptureTest() override {
        EXPECT_EQ(0, OpenCaptureObjects());
        SetDirectSound(DirectSound::Absent);
    }
    // Replaces the machine during a test. Nothing may be left open on the old one.
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
    // Advances by the duration of count blocks, and 2 ms more.
    static void AdvanceBlocks(unsigned count) {
        machine::Advance(static_cast<std::uint32_t>(count * 512 * 1000.0 / 22050 + 2));
    }

    static constexpr std::uint32_t StartTime = 0xFFFFF000; // the clock wraps during the tests
};

// Creates the capture class for DirectSound, or for waveIn.
inline std::unique_ptr<Sonorel::SoundInSystem> Make(DirectSound kind) {
    if (kind == DirectSound::Present) return std::make_unique<Sonorel::SoundInDx>();
    return std::make_unique<Sonorel::SoundInWin>();
}

// Tests that run for both capture classes.
class BothCapturesTest : public CaptureTest, public testing::WithParamInterface<DirectSound> {};
