// What every back end of sound capture has to do, whatever it hears and whoever's clock paces it:
// the virtual microphone on the real clock, so that threads meet. Nothing here asks how long
// anything took.
#include "platform/device/roster.h"
#include "platform/machine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <mutex>
#include <semaphore>
#include <thread>

namespace {

using namespace machine;

struct BackEnd {
    const char* Name;
    void (*Plug)(); // one device, with a microphone's volume
    void (*Unplug)();
};

const BackEnd BackEnds[] = {
    {"Virtual", [] { AddMicrophone({.Name = "Studio"}); }, [] { Unplug(Microphone{0}); }}};

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

class CaptureContract : public testing::TestWithParam<BackEnd> {
protected:
    static constexpr PcmFormat Format = {44100, 2, 16};

    void SetUp() override {
        PowerOn();
        GetParam().Plug();
        ASSERT_EQ(CaptureDevices().size(), 1u);
        Device = CaptureDevices()[0];
        ASSERT_TRUE(Device->Supports(Format));
        Stream = Device->Open(Format, Listener);
        ASSERT_TRUE(Stream);
    }
    void TearDown() override {
        Stream.reset();
        PowerOn();
    }
    void ReadAll() {
        std::vector<std::uint32_t> frames(Stream->Position());
        Stream->Read(frames.data(), frames.size());
    }

    Owner Listener;
    std::shared_ptr<CaptureDevice> Device;
    std::unique_ptr<CaptureStream> Stream;
};
INSTANTIATE_TEST_SUITE_P(Every, CaptureContract, testing::ValuesIn(BackEnds),
                         [](const auto& each) { return each.param.Name; });

TEST_P(CaptureContract, CountsFromItsStartAndStandsStillWhenStopped) {
    EXPECT_EQ(Stream->Position(), 0u);
    for (int run = 0; run < 3; ++run) {
        ASSERT_TRUE(Stream->Start());
        Listener.Await(*Stream, 100);
        Stream->Stop();
        const std::uint64_t stopped = Stream->Position();
        std::this_thread::sleep_for(std::chrono::milliseconds(3));
        EXPECT_EQ(Stream->Position(), stopped);
        ReadAll(); // what was captured is still there
    }
}

TEST_P(CaptureContract, WakesOnceForTheLastFrameAskedFor) {
    ASSERT_TRUE(Stream->Start());
    Listener.WakeAt(*Stream, 1'000'000'000);
    Listener.Await(*Stream, 200);
    Listener.Await(*Stream, 100); // has come already
    Stream->Stop();
    EXPECT_EQ(Listener.Wakes, 2);
    Listener.WakeAt(*Stream, 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(3));
    EXPECT_EQ(Listener.Wakes, 2);
}

// The count of wakes is not locked here: a sanitizer, too, tells of one that is still under way.
TEST_P(CaptureContract, NothingComesBehindStop) {
    for (int run = 0; run < 50; ++run) {
        ASSERT_TRUE(Stream->Start());
        Listener.WakeAt(*Stream, static_cast<std::uint64_t>(run) * 5);
        std::this_thread::sleep_for(std::chrono::microseconds(run * 100));
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

TEST_P(CaptureContract, OnceGoneItStandsStillAndStaysGone) {
    ASSERT_TRUE(Stream->Start());
    Listener.Await(*Stream, 100);
    GetParam().Unplug();
    EXPECT_TRUE(Stream->Gone() && Device->Gone());
    EXPECT_TRUE(CaptureDevices().empty());
    const std::uint64_t gone = Stream->Position();
    Listener.WakeAt(*Stream, gone + 1);
    std::this_thread::sleep_for(std::chrono::milliseconds(3));
    EXPECT_EQ(Stream->Position(), gone);
    ReadAll();
    Stream->Stop();
    EXPECT_EQ(Listener.Wakes, 1);
    EXPECT_FALSE(Stream->Start());
    EXPECT_FALSE(Device->Open(Format, Listener));
}

TEST_P(CaptureContract, ItsVolumeTakesWhatIsWritten) {
    const auto mixer = Device->Levels();
    ASSERT_EQ(Roster<LevelDevice>::Present(), std::vector{mixer});
    const auto named = [](const auto& lines, std::uint32_t type) {
        return *std::ranges::find(lines, type, &LevelLine::Type);
    };
    const LevelLine line = named(named(mixer->Destinations, RecordingLine).Sources, MicrophoneLine);
    ASSERT_FALSE(line.Levels.empty());
    Level& volume = *line.Levels[0];
    EXPECT_EQ(volume.Type, VolumeControl);
    ASSERT_GT(volume.Maximum, 0u);
    for (const std::uint32_t value : {0u, volume.Maximum}) {
        const std::vector<std::uint32_t> written(volume.Values, value);
        std::vector<std::uint32_t> read(volume.Values);
        EXPECT_TRUE(volume.Write(written));
        EXPECT_TRUE(volume.Read(read));
        EXPECT_EQ(read, written);
    }
}

} // namespace
