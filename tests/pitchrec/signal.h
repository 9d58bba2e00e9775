// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Random sound for the comparisons of recogniser and model and of fast and plain scan.
#pragma once

#include <algorithm>
#include <cmath>
#include <random>

// A random melody: tones of various timbres, glides, vibrato, noise, rests, clicks and steps, each
// a few blocks long, at levels around the gate thresholds and above.
class Signal {
public:
    Signal(std::mt19937& random, double rate, double fullScale)
        : Random(random), Rate(rate), FullScale(fullScale) {}

    double Next() {
        if (Left-- <= 0) Choose();
        Frequency *= Glide;
        Phase += Frequency * (1 + Vibrato * std::sin(VibratoPhase += 34.0 / Rate)) / Rate;
        Level += (Target - Level) * Rise;
        return Level * (Shape() + Noise * Uniform(-1, 1)) + Offset;
    }

private:
    double Uniform(double low, double high) {
        return std::uniform_real_distribution<>(low, high)(Random);
    }
    int Pick(int below) { return std::uniform_int_distribution<>(0, below - 1)(Random); }

    void Choose() {
        Left = static_cast<int>(Rate * Uniform(0.01, 0.5));
        Kind = Pick(8);
        if (Pick(3) != 0) // a step or leap from the last one
            Frequency *= std::pow(2.0, (Pick(25) - 12) / 12.0 + Uniform(-0.01, 0.01));
        if (Frequency < 25 || Frequency > 6000) Frequency = 55 * std::pow(2.0, Uniform(0, 5));
        Glide = Pick(4) == 0 ? std::pow(2.0, Uniform(-2, 2) / Rate) : 1.0;
        Vibrato = Pick(3) == 0 ? Uniform(0, 0.03) : 0.0;
        Noise = Pick(3) == 0 ? Uniform(0, 0.5) : 0.0;
        Offset = Pick(6) == 0 ? Uniform(-0.2, 0.2) * FullScale : 0.0;
        const double levels[] = {0, 0.07, 0.1, 0.15, 0.17, 0.3, 0.5, 0.8, 1.0, 1.3};
        Target = levels[Pick(10)] * FullScale;
        Rise = Pick(2) == 0 ? 1.0 : Uniform(0.0005, 0.01);
    }

    double Shape() {
        const double turn = 2 * M_PI * Phase;
        switch (Kind) {
        case 0:
            return std::sin(turn);
        case 1:
            return 0.5 * (std::sin(turn) + std::sin(2 * turn + 1));
        case 2:
            return 0.33 * std::sin(turn) + 0.67 * std::sin(3 * turn);
        case 3:
            return 2 * (Phase - std::floor(Phase)) - 1;
        case 4:
            return Phase - std::floor(Phase) < 0.3 ? 1 : -0.4;
        case 5:
            return Uniform(-1, 1);
        case 6:
            return 0;
        default:
            return std::exp(-8 * (Phase - std::floor(Phase))) * std::sin(9 * turn);
        }
    }

    std::mt19937& Random;
    double Rate, FullScale;
    int Left = 0, Kind = 0;
    double Frequency = 220, Phase = 0, VibratoPhase = 0, Glide = 1, Vibrato = 0, Noise = 0;
    double Offset = 0, Level = 0, Target = 0, Rise = 1;
};
