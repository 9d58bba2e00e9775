// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A reference model of the recogniser: simple code with indices and plain variables, without any
// optimisation. Tests feed it and the recogniser with the same sound and compare every frame and
// entry.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

struct Model {
    // Settings.
    int tracking = 0, factor = 0, attack = 0, rate = 22050, channels = 2, bits = 8;
    bool bend = false, raw = false;
    double reference = 440.0;

    struct State {
        double frequency = 0;
        int cents = 0, onset = 0, amplitude = 0, detected = 255, active = 255, hold = 0;
        int extreme = 0, max = 0, min = 0, blockPeakTime = 0, blockPeak = 0;
    };
    using Entry = std::pair<std::int32_t, std::uint32_t>; // time, message
    State now, last;
    double freq[6] = {}, jump[6] = {};
    int store[2048] = {};
    int valid = 0;
    int level = 0;
    bool attackOn = false;
    std::vector<Entry> entries; // unlimited; the test empties it after each block

    void Push(int time, int status, int data1, int data2) {
        entries.emplace_back(time, status * 65536 + (data1 & 255) * 256 + data2);
    }

    void Block(std::uint32_t time, const std::uint8_t* data, int bytes) {
        const int step = channels * (bits / 8) * rate / 22050;
        const int fresh = bytes / step;
        for (int i = 0; i < 2048 - fresh; i++) store[i] = store[i + fresh];
        for (int k = 0; k < fresh; k++) {
            const std::uint8_t* at = data + k * step;
            const int value = bits == 8 ? int(*at) - 128 : std::int16_t(at[0] + 256 * at[1]);
            store[2048 - fresh + k] = value;
        }
        valid = valid + fresh;
        if (valid > 2048) valid = 2048;
        ProcessFrame(int(time), store + 2048 - valid, valid, fresh);
    }

    void ProcessFrame(int time, const int* window, int count, int fresh) {
        const int gate = last.active == 255 ? 20 : 10;
        last = now;
        now = State();
        now.hold = last.hold;
        if (attack > 0) Attack(time, window, count, fresh);
        int loud = 0;
        for (int i = count - fresh; i <= count - 1; i++) {
            if (window[i] > now.max)
                now.max = window[i];
            else if (window[i] < now.min)
                now.min = window[i];
            if (loud == 0 && (window[i] >= 20 || window[i] <= -20)) loud = i;
        }
        now.extreme = now.max > -now.min ? now.max : now.min;
        now.amplitude = now.extreme < 0 ? -now.extreme : now.extreme;
        now.onset = (loud - count) * 1000 / 22050 + time;
        level = (level + now.amplitude) / 2;
        if (now.amplitude < gate)
            valid = 0;
        else
            FindPeriod(window, count, fresh);
        Emit();
    }

    void Attack(int time, const int* window, int count, int fresh) {
        int start = count - fresh;
        while (start < count) {
            now.blockPeak = 0;
            now.blockPeakTime = 0;
            for (int i = start; i < start + 256 && i < count; i++) {
                const int absolute = window[i] < 0 ? -window[i] : window[i];
                if (absolute > now.blockPeak) {
                    now.blockPeak = absolute;
                    now.blockPeakTime = (i - count) * 1000 / 22050 + time;
                }
            }
            const bool was = attackOn;
            if (!was && now.blockPeak - last.blockPeak >= attack) {
                attackOn = true;
                Push(last.blockPeakTime, 0xB0, 12, 127);
            }
            if (was && now.blockPeak < last.blockPeak) {
                attackOn = false;
                Push(last.blockPeakTime, 0xB0, 12, 0);
            }
            last.blockPeak = now.blockPeak;
            last.blockPeakTime = now.blockPeakTime;
            start += 256;
        }
    }

    void FindPeriod(const int* window, int count, int fresh) {
        const double majors[2] = {0.667, 0.9}, minors[2] = {0.5, 0.9};
        int positiveThreshold, negativeThreshold;
        if (now.extreme > 0) {
            positiveThreshold = int(std::trunc(now.max * majors[factor]));
            negativeThreshold = int(std::trunc(now.min * minors[factor]));
        } else {
            positiveThreshold = int(std::trunc(now.max * minors[factor]));
            negativeThreshold = int(std::trunc(now.min * majors[factor]));
        }
        int peakIndex[20], length[20], n = 0;
        int positive = 0, negative = 0, position = 0;
        for (int i = count - 2; i >= 1; i--) {
            const int s = window[i], e = window[i - 1];
            if (e < 0 && s >= 0) {
                if (negative <= negativeThreshold && positive >= positiveThreshold) {
                    peakIndex[n] = position;
                    length[n] = n == 0 ? 0 : peakIndex[n - 1] - position;
                    n++;
                    if (n == 20) break;
                    if (n >= 10 && i <= count - 1 - fresh) break;
                    positive = 0;
                    negative = 0;
                }
                continue;
            }
            if (s > positive) {
                positive = s;
                if (now.extreme > 0) position = i;
            } else if (s < negative) {
                negative = s;
                if (now.extreme < 0) position = i;
            }
        }

        int votes[60], mean[60], total[60], clusters = 0;
        for (int k = 1; k <= n - 1; k++) {
            for (int j = 0; j <= 2; j++) {
                if (k + j >= n) break;
                int sum = 0;
                for (int x = k; x <= k + j; x++) sum += length[x];
                int found = -1;
                for (int c = 0; c < clusters && found < 0; c++)
                    if (mean[c] - sum <= 5 && sum - mean[c] <= 5) found = c;
                if (found >= 0) {
                    mean[found] = (mean[found] + sum) / 2;
                    total[found] += sum;
                    votes[found] += 1;
                } else {
                    votes[clusters] = 1;
                    mean[clusters] = total[clusters] = sum;
                    clusters++;
                }
            }
        }
        for (int p = 0; p < clusters; p++) {
            for (int q = p + 1; q < clusters; q++) {
                if (mean[p] - mean[q] <= 5 && mean[q] - mean[p] <= 5) {
                    total[p] += total[q];
                    votes[p] += votes[q];
                    votes[q] = mean[q] = total[q] = 0;
                }
            }
        }
        if (clusters == 0) return;
        int best = 0;
        for (int c = 1; c < clusters; c++) {
            const int apart = votes[c] - votes[best];
            if (apart >= -2 && apart <= 2) {
                if (mean[c] < mean[best]) best = c;
            } else if (apart > 0) {
                best = c;
            }
        }
        if (votes[best] < 2) return;

        now.frequency = 22050.0 * votes[best] / total[best];
        const double pitch =
            std::log(now.frequency / reference) * (1200.0 / std::log(2.0)) + 6900.0;
        const int cents = int(std::trunc(pitch)) + 50;
        now.detected = cents / 100;
        now.cents = cents - 100 * now.detected - 50;
        if (tracking == 0)
            Steady();
        else if (last.active != 255)
            Slide();
        else
            StartNote();
        if (last.active != 255 && now.active != last.active &&
            last.amplitude * 2 > now.amplitude * 3) {
            now.detected = 255;
            now.active = 255;
        }
    }

    void Steady() {
        if (now.detected == last.detected)
            now.active = now.detected;
        else
            now.active = last.active;
    }

    void Slide() {
        for (int i = 5; i >= 1; i--) {
            freq[i] = freq[i - 1];
            jump[i] = jump[i - 1];
        }
        freq[0] = now.frequency;
        if (freq[1] != 0.0)
            jump[0] = std::fabs(std::log(freq[0] / freq[1]) * (1.0 / std::log(2.0))) + 0.0001;
        else
            jump[0] = 0.0;
        bool jumped = false;
        double spread = 0.0;
        for (int i = 0; i <= 2; i++) {
            if (freq[i] == 0.0) break;
            if (jump[i] > 0.25) jumped = true;
            for (int j = 0; j <= 2; j++) {
                if (freq[j] == 0.0) break;
                if (std::fabs(freq[i] - freq[j]) > spread) spread = std::fabs(freq[i] - freq[j]);
            }
        }
        if (now.detected == last.active) {
            now.active = now.detected;
            now.hold++;
            return;
        }
        if (now.hold < 1) {
            now.active = last.active;
            now.cents = last.cents;
            return;
        }
        if (0.0015 * now.frequency < spread && jumped) {
            now.active = now.detected;
            now.hold = 0;
            for (int i = 0; i < 6; i++) freq[i] = jump[i] = 0.0;
            return;
        }
        now.active = last.active;
        now.cents += 100 * (now.detected - last.active);
    }

    void StartNote() {
        if (now.hold >= 1) {
            now.active = now.detected;
            for (int i = 0; i < 6; i++) freq[i] = jump[i] = 0.0;
        } else if (now.detected == last.detected) {
            now.hold++;
        } else {
            now.hold = 0;
        }
    }

    void Bend(int status) {
        const int value = std::clamp(now.cents + 8192, 0, 16383);
        Push(now.onset, status, value % 128, value / 128);
    }

    void Emit() {
        if (raw) {
            if (now.detected != last.detected && last.detected != 255)
                Push(now.onset, 0x81, last.detected, 0x40);
            if (now.detected != last.detected && now.detected != 255)
                Push(now.onset, 0x91, now.detected, now.amplitude % 256);
            if (bend && now.cents != last.cents && now.detected != 255) Bend(0xE1);
        }
        if (now.active != last.active && last.active != 255)
            Push(now.onset, 0x80, last.active, 0x40);
        if (now.active != last.active && now.active != 255)
            Push(now.onset, 0x90, now.active, now.amplitude % 256);
        if (!raw && bend && now.cents != last.cents && now.active != 255) Bend(0xE0);
    }
};
