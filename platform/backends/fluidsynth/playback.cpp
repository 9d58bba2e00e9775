// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Plays sound that a host makes on a sound driver.
#include "platform/backends/fluidsynth/driver.h"

#include <thread>
#include <vector>

namespace device {
namespace {

using namespace std::chrono_literals;

constexpr auto CheckInterval = 20ms;
constexpr auto ServerBuffer = 300ms; // that is still to be heard after the last block

struct Playback final : SoundSource {
    explicit Playback(const machine::StereoSource& source) : Source(&source) {}
    void Render(float* left, float* right, std::size_t frames) override;

    std::mutex Lock;                     // of the next, and held while it is called
    const machine::StereoSource* Source; // null after the end
    std::atomic<bool> Exhausted{false};
};

// The source may read a file.
void Playback::Render(float* left, float* right, std::size_t frames) {
    std::vector<float> block(2 * frames);
    const std::scoped_lock lock(Lock);
    if (!Source || (*Source)(block.data(), frames) < frames) Exhausted = true;
    for (std::size_t i = 0; i < frames; ++i) {
        left[i] = block[2 * i];
        right[i] = block[2 * i + 1];
    }
}

} // namespace

bool PlayStereo(const machine::SynthesizerSettings& settings, double rate,
                const machine::StereoSource& source, const std::function<bool()>& goOn,
                std::string& reason) {
    const auto playback = std::make_shared<Playback>(source);
    const SoundDriver driver(settings, rate, playback);
    reason = driver.AwaitOpening();
    while (reason.empty() && !playback->Exhausted && goOn())
        std::this_thread::sleep_for(CheckInterval);
    if (playback->Exhausted) std::this_thread::sleep_for(ServerBuffer);
    const std::scoped_lock lock(playback->Lock);
    playback->Source = nullptr;
    return reason.empty();
}

} // namespace device
