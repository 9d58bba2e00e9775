// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Plays sound that a host makes on a sound driver.
#include "platform/backends/fluidsynth/client.h"

#include <atomic>
#include <chrono>
#include <future>
#include <mutex>
#include <thread>

namespace device {
namespace {

using namespace std::chrono_literals;

constexpr auto CheckInterval = 20ms;
constexpr auto MaxWaitForDriver = 1900ms;
constexpr auto ServerBuffer = 300ms; // that is still to be heard after the last block

// Shared with the thread that opens and closes the driver, and may hang: it is left to itself then.
struct Playback {
    SettingsPointer Settings;
    std::mutex Lock;                               // of the next, and held while it is called
    const machine::StereoSource* Source = nullptr; // null after the end
    std::atomic<bool> Exhausted{false};
    std::promise<bool> Opened;
    std::promise<void> End;

    static int OnDriver(void* self, int frames, int, float**, int, float* output[]);
};

// Thread: the driver's. The source may read a file.
int Playback::OnDriver(void* self, int frames, int, float**, int, float* output[]) {
    auto& playback = *static_cast<Playback*>(self);
    const auto count = static_cast<std::size_t>(frames);
    std::vector<float> block(2 * count);
    const std::scoped_lock lock(playback.Lock);
    if (!playback.Source || (*playback.Source)(block.data(), count) < count)
        playback.Exhausted = true;
    for (std::size_t i = 0; i < count; ++i) {
        output[0][i] = block[2 * i];
        output[1][i] = block[2 * i + 1];
    }
    return FLUID_OK;
}

void RunDriver(const std::shared_ptr<Playback>& playback) {
    const DriverPointer driver =
        OpenDriver(playback->Settings.get(), &Playback::OnDriver, playback.get());
    playback->Opened.set_value(driver != nullptr);
    playback->End.get_future().wait();
}

} // namespace

bool PlayStereo(const machine::SynthesizerSettings& settings, double rate,
                const machine::StereoSource& source, const std::function<bool()>& goOn,
                std::string& reason) {
    const auto playback = std::make_shared<Playback>();
    playback->Settings = MakeSettings(settings, rate, reason);
    if (!playback->Settings) return false;
    playback->Source = &source;
    std::thread([playback] { RunDriver(playback); }).detach();
    auto result = playback->Opened.get_future();
    const bool hangs = result.wait_for(MaxWaitForDriver) == std::future_status::timeout;
    const bool opened = !hangs && result.get();
    while (opened && !playback->Exhausted && goOn()) std::this_thread::sleep_for(CheckInterval);
    if (playback->Exhausted) std::this_thread::sleep_for(ServerBuffer);
    const std::scoped_lock lock(playback->Lock);
    playback->Source = nullptr;
    playback->End.set_value();
    if (!opened) reason = DriverProblem(settings, hangs);
    return opened;
}

} // namespace device
