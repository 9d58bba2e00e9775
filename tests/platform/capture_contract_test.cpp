// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The contract of api/capture.h for every capture back end, on the real clock, so that threads
// meet. No test measures time.
#include "tests/platform/capture_instrument.h"

#include "platform/api/capture.h"

#include <gtest/gtest.h>

#include <functional>
#include <mutex>
#include <semaphore>
#include <thread>

namespace {

using namespace device;
using namespace machine;

// Holds its lock while it calls the stream, as real owners do.
class Owner final : public CaptureOwner {
public:
    void OnFramesCaptured() override {
        {
            const std::scoped_lock lock(Lock);
            ++Wakes;
        }
        if (Within) Within();
        woken_.release();
    }
    void WakeAt(CaptureStream& stream, std::uint64_t frame) {
        const std::scoped_lock lock(Lock);
        stream.WakeAt(frame);
    }
    void Await(CaptureStream& stream, std::uint64_t frame) {
        while (woken_.try_acquire()) { // forgets earlier calls
        }
        WakeAt(stream, frame);
        woken_.acquire();
        EXPECT_GE(stream.Position(), frame);
    }

    std::mutex Lock;
    int Wakes = 0; // read without the lock where no call may be running
    std::function<void()> Within;

private:
    std::counting_semaphore<> woken_{0};
};

class CaptureContract : public testing::TestWithParam<CaptureInstrument> {
protected:
    static constexpr PcmFormat Format = {44100, 2, 16};

    void SetUp() override {
        PowerOn();
        GetParam().Plug();
        Device = Listed();
        ASSERT_TRUE(Device && Device->Supports(Format));
        Stream = Device->Open(Format, Listener);
        ASSERT_TRUE(Stream);
    }
    void TearDown() override {
        Stream.reset();
        if (Listed()) GetParam().Unplug();
        PowerOn();
    }
    static std::shared_ptr<CaptureDevice> Listed() {
        for (auto& device : CaptureDevices())
            if (device->Name() == "Voice") return device;
        return nullptr;
    }
    void ReadAll() {
        std::vector<std::uint32_t> frames(Stream->Position());
        Stream->Read(frames.data(), frames.size());
    }

    Owner Listener;
    std::shared_ptr<CaptureDevice> Device;
    std::unique_ptr<CaptureStream> Stream;
};

INSTANTIATE_TEST_SUITE_P(Every, CaptureContract, testing::Values(TestedMicrophone()),
                         [](const auto& each) { return each.param.BackEnd; });

TEST_P(CaptureContract, CountsWhileItRunsAndWakesOnceForTheLastFrameAskedFor) {
    EXPECT_EQ(Stream->Position(), 0u);
    for (int run = 0; run < 3; ++run) {
        ASSERT_TRUE(Stream->Start());
        Listener.WakeAt(*Stream, 1'000'000'000);
        Listener.Await(*Stream, 200);
        Listener.Await(*Stream, 100); // already reached
        Stream->Stop();
        const std::uint64_t stopped = Stream->Position();
        Listener.WakeAt(*Stream, 0);
        std::this_thread::sleep_for(std::chrono::milliseconds(3));
        EXPECT_EQ(Stream->Position(), stopped);
        EXPECT_EQ(std::exchange(Listener.Wakes, 0), 2);
        ReadAll(); // what was captured can still be read
    }
}

// Wakes is read without the lock, so that a sanitizer reports a call that is still running.
TEST_P(CaptureContract, NothingComesBehindStop) {
    for (int run = 0; run < GetParam().Stops; ++run) {
        ASSERT_TRUE(Stream->Start());
        Listener.Await(*Stream, 1);
        const auto phase = GetParam().BlockInterval * run / GetParam().Stops;
        Listener.WakeAt(*Stream, Stream->Position() + phase.count() * Format.Rate / 1'000'000);
        std::this_thread::sleep_for(phase);
        Stream->Stop();
        Listener.Wakes = 0;
        std::this_thread::sleep_for(std::chrono::microseconds(500));
        EXPECT_EQ(Listener.Wakes, 0);
    }
}

TEST_P(CaptureContract, MayBeReadAskedAndStoppedFromWithin) {
    Listener.Within = [&] {
        Stream->Read(nullptr, 10);
        std::uint16_t frames[20];
        Stream->Read(frames, 10);
        Listener.WakeAt(*Stream, 10'000'000);
        Stream->Stop();
    };
    ASSERT_TRUE(Stream->Start());
    Listener.Await(*Stream, 20);
    Listener.Within = nullptr;
    ASSERT_TRUE(Stream->Start());
    Listener.Await(*Stream, 20);
}

TEST_P(CaptureContract, OnceGoneItStandsStillAndIsNotToBeHad) {
    ASSERT_TRUE(Stream->Start());
    Listener.Await(*Stream, 100);
    GetParam().Unplug();
    EXPECT_TRUE(Device->IsGone());
    EXPECT_FALSE(Listed());
    const std::uint64_t gone = Stream->Position();
    Listener.WakeAt(*Stream, gone + 1);
    std::this_thread::sleep_for(std::chrono::milliseconds(3));
    EXPECT_EQ(Stream->Position(), gone);
    ReadAll();
    Stream->Stop();
    EXPECT_EQ(Listener.Wakes, 1);
    EXPECT_EQ(Stream->Start(), !Stream->IsGone()); // a stream that is not gone may start and wait
    EXPECT_FALSE(Device->Open(Format, Listener));
}

} // namespace
