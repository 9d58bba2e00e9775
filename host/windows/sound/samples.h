// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Samples in memory, little-endian, as floats of -1 to 1.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zorhost {

inline std::uint32_t Number(const std::uint8_t* bytes, int count) {
    std::uint32_t value = 0;
    for (int i = 0; i < count; ++i) value |= std::uint32_t{bytes[i]} << 8 * i;
    return value;
}

struct SampleFormat {
    int Bits = 0; // per sample; 0: unknown
    bool Floats = false;

    bool IsKnown() const {
        return Floats ? Bits == 32 || Bits == 64 : Bits % 8 == 0 && Bits >= 8 && Bits <= 32;
    }
    std::size_t Bytes() const { return static_cast<std::size_t>(Bits) / 8; }

    float Read(const std::uint8_t* bytes) const {
        if (Floats && Bits == 32) return Copy<float>(bytes);
        if (Floats) return static_cast<float>(Copy<double>(bytes));
        if (Bits == 8) return static_cast<float>(bytes[0] - 128) / 128; // unsigned
        const std::uint32_t high = Number(bytes, Bits / 8) << (32 - Bits);
        return static_cast<float>(static_cast<std::int32_t>(high)) / 2147483648.0f;
    }

private:
    template <class Float>
    static Float Copy(const std::uint8_t* bytes) {
        Float value;
        std::memcpy(&value, bytes, sizeof value);
        return value;
    }
};

} // namespace zorhost
