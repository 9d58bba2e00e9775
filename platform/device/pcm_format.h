#pragma once

namespace machine {

struct PcmFormat {
    unsigned Rate;     // frames a second
    unsigned Channels; // 1 or 2
    unsigned Bits;     // 8 or 16
    friend bool operator==(const PcmFormat&, const PcmFormat&) = default;
};

} // namespace machine
