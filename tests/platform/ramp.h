// A signal whose every frame is known, and what is made of 16-bit PCM.
#pragma once

#include "platform/machine.h"

#include <cstring>
#include <vector>

// The 16 bits of the frame's number, other ones for the right channel: exact in 16-bit PCM.
inline std::int16_t RampSample(std::uint64_t frame, std::size_t channel) {
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(frame * 3 + channel * 20011));
}

inline machine::Generator Ramp() {
    return [](const machine::FeedRequest& request) {
        for (std::size_t i = 0; i < request.Samples.size(); ++i)
            request.Samples[i] = static_cast<float>(RampSample(request.First + i / request.Channels,
                                                               i % request.Channels)) /
                                 32768.0f;
    };
}

inline std::vector<std::int16_t> Words(const void* pcm, std::size_t bytes) {
    std::vector<std::int16_t> words(bytes / 2);
    if (!words.empty()) std::memcpy(words.data(), pcm, words.size() * 2);
    return words;
}
