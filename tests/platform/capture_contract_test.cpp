// What every back end of sound capture has to do, whatever it hears and whoever's clock paces it;
// on the real clock, so that threads meet. Nothing here asks how long anything took.
#include "tests/platform/capture_back_end.h"

#include "platform/api/capture.h"

#include <gtest/gtest.h>

#include <functional>
#include <mutex>
#include <semaphore>
#include <thread>

namespace {

using namespace machine;

// Locked while it calls the stream, as owners are.
class Owner final : public CaptureOwner {
public:
    void Captured() override {
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
        while (woken_.try_acquire()) { // what came before
        }
        WakeAt(stream, frame);
        woken_.acquire();
        EXPECT_GE(stream.Position(), frame);
    }

    std::mutex Lock;
    int Wakes = 0; // plain on purpose: read where none may be under way
    std::function<void()> Within;

private:
    std::counting_semaphore<> woken_{0};
};

class CaptureContract : public testing::Test {
protected:
    static constexpr PcmFormat Format = {44100, 2, 16};

    void SetUp() override {
        PowerOn();
        PlugMicrophone();
        Device = Listed();
        ASSERT_TRUE(Device && Device->Supports(Format));
        Stream = Device->Open(Format, Listener);
        ASSERT_TRUE(Stream);
    }
    void TearDown() override {
        Stream.reset();
        if (Listed()) UnplugMicrophone();
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

TEST_F(CaptureContract, CountsWhileItRunsAndWakesOnceForTheLastFrameAskedFor) {
    EXPECT_EQ(Stream->Position(), 0u);
    for (int run = 0; run < 3; ++run) {
        ASSERT_TRUE(Stream->Start());
        Listener.WakeAt(*Stream, 1'000'000'000);
        Listener.Await(*Stream, 200);
        Listener.Await(*Stream, 100); // has come already
        Stream->Stop();
        const std::uint64_t stopped = Stream->Position();
        Listener.WakeAt(*Stream, 0);
        std::this_thread::sleep_for(std::chrono::milliseconds(3));
        EXPECT_EQ(Stream->Position(), stopped);
        EXPECT_EQ(std::exchange(Listener.Wakes, 0), 2);
        ReadAll(); // what was captured is still there
    }
}

// The count of wakes is not locked here: a sanitizer, too, tells of one that is still under way.
TEST_F(CaptureContract, NothingComesBehindStop) {
    for (int run = 0; run < Stops; ++run) {
        ASSERT_TRUE(Stream->Start());
        Listener.Await(*Stream, 1);
        const auto phase = SoundComesEvery * run / Stops;
        Listener.WakeAt(*Stream, Stream->Position() + phase.count() * Format.Rate / 1'000'000);
        std::this_thread::sleep_for(phase);
        Stream->Stop();
        Listener.Wakes = 0;
        std::this_thread::sleep_for(std::chrono::microseconds(500));
        EXPECT_EQ(Listener.Wakes, 0);
    }
}

TEST_F(CaptureContract, MayBeReadAskedAndStoppedFromWithin) {
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

TEST_F(CaptureContract, OnceGoneItStandsStillAndIsNotToBeHad) {
    ASSERT_TRUE(Stream->Start());
    Listener.Await(*Stream, 100);
    UnplugMicrophone();
    EXPECT_TRUE(Device->Gone());
    EXPECT_FALSE(Listed());
    const std::uint64_t gone = Stream->Position();
    Listener.WakeAt(*Stream, gone + 1);
    std::this_thread::sleep_for(std::chrono::milliseconds(3));
    EXPECT_EQ(Stream->Position(), gone);
    ReadAll();
    Stream->Stop();
    EXPECT_EQ(Listener.Wakes, 1);
    EXPECT_EQ(Stream->Start(), !Stream->Gone()); // it may come back
    EXPECT_FALSE(Device->Open(Format, Listener));
}

} // namespace
