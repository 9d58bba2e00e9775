// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Test sounds for the recogniser, in blocks as the capture delivers them.
#pragma once

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

namespace bench {

constexpr int Hop = 512;
constexpr int Window = 2048;
constexpr int Rate = 22050;

struct Material {
    std::vector<float> Samples;       // -1 to 1
    std::vector<std::uint8_t> Blocks; // the same sound, 8 bits unsigned, 2 channels
    int Count = 0;                    // blocks of Hop frames
    const std::uint8_t* Block(int block) const {
        return Blocks.data() + std::ptrdiff_t{block} * Hop * 2;
    }
    const float* Floats(int block) const { return Samples.data() + std::ptrdiff_t{block} * Hop; }
};

template <class Shape>
Material MakeMaterial(Shape shape) {
    Material material;
    material.Count = 64;
    for (int i = 0; i < material.Count * Hop; ++i) {
        const double value = shape(i);
        material.Samples.push_back(static_cast<float>(value));
        const auto byte = static_cast<std::uint8_t>(128 + std::lround(100 * value));
        material.Blocks.insert(material.Blocks.end(), {byte, byte});
    }
    return material;
}

// A sung tone: eight harmonics through two formants, some vibrato, a breath of noise.
inline Material Sung(double frequency) {
    std::mt19937 random(1);
    std::uniform_real_distribution<> breath(-0.01, 0.01);
    double phase = 0;
    return MakeMaterial([&](int i) {
        phase += frequency * (1 + 0.004 * std::sin(2 * M_PI * 5.5 * i / Rate)) / Rate;
        double sum = 0;
        double maximum = 0;
        for (int h = 1; h <= 8; ++h) {
            const double f = frequency * h;
            const double gain = 1 / (1 + std::pow((f - 600) / 300, 2)) +
                                0.5 / (1 + std::pow((f - 1100) / 300, 2)) + 0.3 / h;
            sum += gain * std::sin(2 * M_PI * h * phase);
            maximum += gain;
        }
        return 0.9 * sum / maximum * 1.5 + breath(random);
    });
}

inline Material Noise() {
    std::mt19937 random(2);
    std::uniform_real_distribution<> sample(-1, 1);
    return MakeMaterial([&](int) { return sample(random); });
}

} // namespace bench
