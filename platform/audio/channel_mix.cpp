#include "platform/audio/channel_mix.h"

#include <sndfile.h>

#include <algorithm>
#include <array>

namespace machine {
namespace {

struct Sides {
    float Left;
    float Right;
};
constexpr float HalfPower = 0.70710678f;

Sides SidesOf(int place) {
    switch (place) {
    case SF_CHANNEL_MAP_LEFT:
    case SF_CHANNEL_MAP_FRONT_LEFT:
    case SF_CHANNEL_MAP_FRONT_LEFT_OF_CENTER:
    case SF_CHANNEL_MAP_TOP_FRONT_LEFT:
        return {1, 0};
    case SF_CHANNEL_MAP_RIGHT:
    case SF_CHANNEL_MAP_FRONT_RIGHT:
    case SF_CHANNEL_MAP_FRONT_RIGHT_OF_CENTER:
    case SF_CHANNEL_MAP_TOP_FRONT_RIGHT:
        return {0, 1};
    case SF_CHANNEL_MAP_REAR_LEFT:
    case SF_CHANNEL_MAP_SIDE_LEFT:
    case SF_CHANNEL_MAP_TOP_REAR_LEFT:
        return {HalfPower, 0};
    case SF_CHANNEL_MAP_REAR_RIGHT:
    case SF_CHANNEL_MAP_SIDE_RIGHT:
    case SF_CHANNEL_MAP_TOP_REAR_RIGHT:
        return {0, HalfPower};
    case SF_CHANNEL_MAP_LFE:
        return {0, 0};
    default:
        return {HalfPower, HalfPower};
    }
}

void Normalise(std::span<float> row) {
    float sum = 0;
    for (const float weight : row) sum += weight;
    if (sum == 0) { // nothing but effects: better all of them than silence
        std::ranges::fill(row, 1.0f / static_cast<float>(row.size()));
        return;
    }
    for (float& weight : row) weight /= sum;
}

} // namespace

ChannelMix::ChannelMix(std::span<const int> layout, unsigned outputs)
    : inputs_(layout.size()), outputs_(outputs), weights_(layout.size() * 2) {
    const std::span<float> left = std::span(weights_).first(inputs_);
    const std::span<float> right = std::span(weights_).last(inputs_);
    for (std::size_t i = 0; i < inputs_; ++i) {
        const Sides sides = SidesOf(layout[i]);
        left[i] = sides.Left;
        right[i] = sides.Right;
    }
    Normalise(left);
    Normalise(right);
    if (outputs_ == 1) {
        for (std::size_t i = 0; i < inputs_; ++i) left[i] = 0.5f * (left[i] + right[i]);
        weights_.resize(inputs_);
    }
    straight_ = inputs_ == outputs_;
    for (std::size_t out = 0; straight_ && out < outputs_; ++out)
        straight_ = weights_[out * inputs_ + out] == 1.0f;
}

void ChannelMix::Mix(const float* in, std::size_t frames, float* out) const {
    if (straight_) {
        std::copy_n(in, frames * inputs_, out);
        return;
    }
    for (std::size_t frame = 0; frame < frames; ++frame, in += inputs_) {
        const float* weight = weights_.data();
        for (std::size_t channel = 0; channel < outputs_; ++channel) {
            float sum = 0;
            for (std::size_t i = 0; i < inputs_; ++i) sum += in[i] * *weight++;
            *out++ = sum;
        }
    }
}

std::vector<int> UsualLayout(unsigned channels) {
    constexpr int L = SF_CHANNEL_MAP_LEFT;
    constexpr int R = SF_CHANNEL_MAP_RIGHT;
    constexpr int C = SF_CHANNEL_MAP_CENTER;
    constexpr int E = SF_CHANNEL_MAP_LFE;
    constexpr int BL = SF_CHANNEL_MAP_REAR_LEFT;
    constexpr int BR = SF_CHANNEL_MAP_REAR_RIGHT;
    constexpr int SL = SF_CHANNEL_MAP_SIDE_LEFT;
    constexpr int SR = SF_CHANNEL_MAP_SIDE_RIGHT;
    constexpr int BC = SF_CHANNEL_MAP_REAR_CENTER;
    static const std::array<std::vector<int>, 8> usual = {{{C},
                                                           {L, R},
                                                           {L, R, C},
                                                           {L, R, BL, BR},
                                                           {L, R, C, BL, BR},
                                                           {L, R, C, E, BL, BR},
                                                           {L, R, C, E, BC, SL, SR},
                                                           {L, R, C, E, BL, BR, SL, SR}}};
    if (channels >= 1 && channels <= usual.size()) return usual[channels - 1];
    return std::vector<int>(channels, SF_CHANNEL_MAP_INVALID);
}

} // namespace machine
