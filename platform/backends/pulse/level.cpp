// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/backends/pulse/level.h"

#include "platform/backends/pulse/microphone.h"

#include <algorithm>
#include <cstdlib>

namespace device {
namespace {

constexpr std::uint64_t Half = UnityLevel;

} // namespace

bool StreamLevel::Read(std::span<std::uint32_t> values) const {
    std::ranges::fill(values, Current.load(std::memory_order_relaxed));
    return true;
}

bool StreamLevel::Write(std::span<const std::uint32_t> values) {
    const PulseClient::Lock lock;
    Current.store(std::min(values[0], MaxLevel), std::memory_order_relaxed);
    Microphone.ApplyLevel(nullptr);
    return true;
}

pa_volume_t StreamLevel::Volume() const {
    const std::uint64_t level = Current.load(std::memory_order_relaxed);
    return static_cast<pa_volume_t>((level * PA_VOLUME_NORM + Half / 2) / Half);
}

// Servers round volumes to a unit of their own, so a small difference is no change.
void StreamLevel::OnChanged(const SourceConnection& changed, pa_volume_t volume, bool muted) {
    constexpr std::int64_t rounding = PA_VOLUME_NORM / 1000;
    const pa_volume_t now = muted ? PA_VOLUME_MUTED : volume;
    if (std::abs(std::int64_t{now} - std::int64_t{Volume()}) <= rounding) return;
    const std::uint64_t level = (now * Half + PA_VOLUME_NORM / 2) / PA_VOLUME_NORM;
    Current.store(static_cast<std::uint32_t>(std::min<std::uint64_t>(level, MaxLevel)),
                  std::memory_order_relaxed);
    Microphone.ApplyLevel(&changed);
}

bool PlaythroughMute::Read(std::span<std::uint32_t> values) const {
    const PulseClient::Lock lock;
    std::ranges::fill(values, Microphone.Speakers.IsBegun() ? 0u : 1u);
    return true;
}

bool PlaythroughMute::Write(std::span<const std::uint32_t> values) {
    const PulseClient::Lock lock;
    Microphone.Speakers.Enable(values[0] == 0);
    return true;
}

} // namespace device
