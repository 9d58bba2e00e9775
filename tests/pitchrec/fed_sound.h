// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A capture object whose blocks the test provides.
#pragma once

#include "soundin/sound_in.h"

#include <cstdint>
#include <vector>

class FedSound : public Sonorel::SoundIn {
public:
    FedSound(std::int32_t rate, std::int32_t channels, std::int32_t bits) : RealRate(rate) {
        Channels = channels;
        BitsPerSample = bits;
        BytesPerFrame = channels * bits / 8;
        FramesPerBlock = static_cast<std::int32_t>(std::int64_t{rate} * 512 / 22050);
        BytesPerBlock = FramesPerBlock * BytesPerFrame;
    }

    bool Open(std::uint32_t) override {
        return !FailOpen && SoundIn::Open(static_cast<std::uint32_t>(RealRate));
    }

    void Feed(std::uint32_t time, const std::uint8_t* data, std::int32_t byteCount) {
        Callback(time, data, byteCount, CallbackContext);
    }
    void Feed(std::uint32_t time, const std::vector<std::uint8_t>& data) {
        Feed(time, data.data(), static_cast<std::int32_t>(data.size()));
    }

    bool FailOpen = false;

private:
    std::int32_t RealRate;
};
