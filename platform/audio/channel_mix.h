// Many channels made one or two.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace machine {

// Brings frames of any channel layout to mono or stereo. Left and right keep their side, the centre
// and unknown channels go to both sides 3 dB down, low-frequency effects are left out; each side is
// then scaled so that full scale on all channels does not clip. Mono is the mean of the two sides.
class ChannelMix {
public:
    // layout: one SF_CHANNEL_MAP_ value for each channel, as libsndfile names them; places that
    // are not known are SF_CHANNEL_MAP_INVALID.
    ChannelMix(std::span<const int> layout, unsigned outputs);

    // in and out must not overlap.
    void Mix(const float* in, std::size_t frames, float* out) const;

private:
    std::size_t inputs_;
    std::size_t outputs_;
    bool straight_ = false;      // as many out as in, each its own
    std::vector<float> weights_; // outputs rows of inputs
};

// What a file of this many channels that does not tell its layout is taken to hold.
std::vector<int> UsualLayout(unsigned channels);

} // namespace machine
