// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Microphones of a sound server: captured, pulled out, plugged in, their level changed, and the
// server stalled, killed and restarted. The tests check results and their order, not times.
#include "tests/platform/capture_instrument.h"

#include "platform/api/capture.h"
#include "soundin/sound_in_win.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <complex>
#include <cstdlib>
#include <numbers>
#include <thread>

namespace {

using namespace device;
using namespace machine;

constexpr int Rate = 22050;
constexpr std::size_t BlockFrames = 512;
constexpr double Tone = 440;

bool Shell(const std::string& command) { return std::system(command.c_str()) == 0; }
// Runs the script "server" for the server of this run.
bool Server(const std::string& what) {
    return Shell("\"$SOUND_SERVER\" \"$SOUND_SERVER_KIND\" " + what);
}

// Waits up to 30 s for a condition, since servers on a busy computer are slow.
template <class Condition>
bool Comes(Condition condition) {
    for (int tries = 0; tries < 3000; ++tries) {
        if (condition()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

bool Listed() {
    return std::ranges::any_of(FindMicrophones(),
                               [](const auto& each) { return each.Name == "Voice"; });
}

void PlugMicrophone() {
    UseNativeMicrophones();
    EXPECT_TRUE(Server("plug") && Comes(Listed));
}
void UnplugMicrophone() {
    EXPECT_TRUE(Server("unplug") && Comes([] { return !Listed(); }));
}

} // namespace

CaptureInstrument TestedMicrophone() {
    return {"pulse", PlugMicrophone, UnplugMicrophone, std::chrono::milliseconds(25), 10};
}

namespace {

// Captures, and checks for each block whether the tone goes on in phase with the block before.
class ToneDetector {
public:
    ToneDetector() {
        Capture.SetCallback(
            [](std::uint32_t time, const std::uint8_t* data, std::int32_t bytes, void* self) {
                static_cast<ToneDetector*>(self)->Analyse(time, data,
                                                          static_cast<std::size_t>(bytes));
            },
            this);
        EXPECT_TRUE(Capture.Open(Rate));
        EXPECT_TRUE(Capture.Start());
    }
    ~ToneDetector() {
        Capture.Stop();
        Capture.Close();
    }
    // Waits for one second of the tone without a gap, from now on.
    bool ReceivesTone() {
        Unbroken = 0;
        return Comes([this] { return Unbroken >= Rate / static_cast<int>(BlockFrames); });
    }
    bool FallsSilent() { // waits until no block comes any more
        return Comes([this, last = Blocks.load()]() mutable {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            return Blocks == std::exchange(last, Blocks.load());
        });
    }

    Sonorel::SoundInWin Capture;
    std::atomic<int> Blocks{0};
    std::atomic<double> Loudness{0}; // of the tone, 0 to 1
    std::atomic<std::uint32_t> Time{0};
    std::atomic<int> MaxStepBack{0}; // of time stamps, milliseconds

private:
    void Analyse(std::uint32_t time, const std::uint8_t* data, std::size_t bytes) {
        if (bytes != 2 * BlockFrames) ADD_FAILURE() << "a block of " << bytes << " bytes";
        std::complex<double> sum = 0;
        for (std::size_t i = 0; i < BlockFrames; ++i)
            sum += (data[2 * i] - 128) / 128.0 *
                   std::polar(1.0, -2 * std::numbers::pi * Tone * static_cast<double>(i) / Rate);
        const double loudness = 2 * std::abs(sum) / BlockFrames;
        const double off =
            std::remainder(std::arg(sum) - Phase - 2 * std::numbers::pi * Tone * BlockFrames / Rate,
                           2 * std::numbers::pi);
        Unbroken = loudness > 0.02 && std::abs(off) < 0.2 ? Unbroken + 1 : 0;
        Phase = std::arg(sum);
        Loudness = loudness;
        if (Blocks > 0)
            MaxStepBack = std::max(MaxStepBack.load(), static_cast<std::int32_t>(Time - time));
        Time = time;
        ++Blocks;
    }

    std::atomic<int> Unbroken{0}; // blocks
    double Phase = 0;
};

class RealMicrophone : public testing::Test {
protected:
    void SetUp() override {
        PowerOn();
        PlugMicrophone();
        PreferMicrophone("voice");
        ASSERT_FALSE(FindMicrophones().empty());
        ASSERT_EQ(FindMicrophones()[0].Name, "Voice");
    }
    void TearDown() override {
        Server("unplug");
        PowerOn();
    }
    static std::uint32_t Level() {
        std::uint32_t value = 0;
        EXPECT_TRUE(Control(RecordingLine).Read({&value, 1}));
        return value;
    }
    static device::Level& Control(std::uint32_t destination) {
        for (const auto& level : CaptureDevices()[0]->Levels())
            if (level->Place.Destination == destination) return *level;
        ADD_FAILURE();
        std::abort();
    }
    static bool Set(std::uint32_t destination, std::uint32_t value) {
        return Control(destination).Write({&value, 1});
    }
};

TEST_F(RealMicrophone, IsHeardWithoutGapsFallsSilentPulledOutAndGoesOnPutBack) {
    ToneDetector capture;
    for (int time = 0; time < 2; ++time) {
        ASSERT_TRUE(capture.ReceivesTone());
        EXPECT_LT(timeGetTime() - capture.Time, 30000u);
        UnplugMicrophone();
        EXPECT_TRUE(capture.FallsSilent());
        PlugMicrophone();
    }
    ASSERT_TRUE(capture.ReceivesTone());
    EXPECT_TRUE(Server("unplug") && Server("plug")); // a loose contact
    EXPECT_TRUE(capture.ReceivesTone());
    // The thread may be suspended between the two clocks that a stamp is made from.
    EXPECT_LT(capture.MaxStepBack, 10);
}

TEST_F(RealMicrophone, GoesOnWithTheServerThatComesBack) {
    ToneDetector capture;
    ASSERT_TRUE(capture.ReceivesTone());
    ASSERT_TRUE(Server("stall"));
    EXPECT_TRUE(capture.FallsSilent());
    ASSERT_TRUE(Server("go_on"));
    EXPECT_TRUE(capture.ReceivesTone());
    ASSERT_TRUE(Server("stop"));
    EXPECT_TRUE(capture.FallsSilent());
    EXPECT_TRUE(FindMicrophones().empty());
    EXPECT_NE(MicrophoneProblem().find("No sound server"), std::string::npos);
    ASSERT_TRUE(Server("start") && Server("plug"));
    EXPECT_TRUE(capture.ReceivesTone());
    EXPECT_EQ(FindMicrophones()[0].Name, "Voice");
    EXPECT_EQ(MicrophoneProblem(), "");
}

TEST_F(RealMicrophone, ItsLevelIsThatOfItsOwnStreamAndItIsLetThroughToTheSpeakers) {
    const std::string stream = "$(pactl list short source-outputs | awk '$5 ~ /u8/ {print $1}')";
    ASSERT_TRUE(Set(RecordingLine, 0));
    ToneDetector capture; // sets the level at its opening
    ASSERT_TRUE(capture.ReceivesTone());
    const double plain = capture.Loudness;
    EXPECT_EQ(Level(), 32767u);
    EXPECT_TRUE(Shell("pactl set-source-output-volume " + stream + " 50%"));
    EXPECT_TRUE(Comes([] { return std::abs(static_cast<int>(Level()) - 16384) < 50; }));
    EXPECT_TRUE(Comes([&] { return std::abs(capture.Loudness / plain - 0.125) < 0.03; }));
    EXPECT_TRUE(Shell("pactl set-source-output-mute " + stream + " 1"));
    EXPECT_TRUE(Comes([] { return Level() == 0; }));
    EXPECT_TRUE(Set(RecordingLine, 32767));
    EXPECT_TRUE(Comes([&] { return std::abs(capture.Loudness / plain - 1) < 0.1; }));
    EXPECT_TRUE(
        Shell("pactl get-source-volume voice | grep -q ' 100%'")); // other programs share it
    EXPECT_EQ(Level(), 32767u);
    const auto plays = [] { // in the speakers
        return Shell("pactl list sink-inputs | grep -q 'media.name = \"Microphone\"'");
    };
    EXPECT_FALSE(plays());
    for (const std::uint32_t muted : {0u, 1u}) {
        EXPECT_TRUE(Set(SpeakersLine, muted));
        EXPECT_TRUE(Comes([&] { return plays() == !muted; })) << "muted " << muted;
    }
}

TEST_F(RealMicrophone, EachHasANameOfItsOwnAndMonitorsComeLast) {
    ASSERT_TRUE(
        Shell("for name in one two; do pactl load-module module-remap-source "
              "master=mic.monitor source_name=$name source_properties=device."
              "description=Stimme_über_einunddreißig_Bytes; done >$XDG_RUNTIME_DIR/sources"));
    EXPECT_TRUE(Comes([] { return FindMicrophones().size() == 4; }));
    const auto found = FindMicrophones();
    ASSERT_EQ(found.size(), 4u);
    EXPECT_EQ(found[1].Name, "Stimme_über_einunddreißig_Byt");
    EXPECT_EQ(found[2].Name, "Stimme_über_einunddreißig_ #2");
    EXPECT_TRUE(found[3].IsMonitor && !found[2].IsMonitor);
    EXPECT_TRUE(Shell("xargs -n 1 pactl unload-module <$XDG_RUNTIME_DIR/sources"));
}

} // namespace
