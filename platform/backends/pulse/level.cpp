#include "platform/backends/pulse/level.h"

#include "platform/backends/pulse/microphone.h"

#include <algorithm>
#include <cstdlib>

namespace machine {
namespace {

constexpr std::uint64_t Half = PlainLevel;

} // namespace

bool RecordingLevel::Read(std::span<std::uint32_t> values) const {
    std::ranges::fill(values, Held.load(std::memory_order_relaxed));
    return true;
}

bool RecordingLevel::Write(std::span<const std::uint32_t> values) {
    const Server::Lock lock;
    Held.store(std::min(values[0], FullLevel), std::memory_order_relaxed);
    Of.ApplyLevel(nullptr);
    return true;
}

pa_volume_t RecordingLevel::Volume() const {
    const std::uint64_t level = Held.load(std::memory_order_relaxed);
    return static_cast<pa_volume_t>((level * PA_VOLUME_NORM + Half / 2) / Half);
}

// A server keeps volumes in a unit of its own, so a little beside ours is ours.
void RecordingLevel::Moved(const Recording& moved, pa_volume_t volume, bool muted) {
    constexpr std::int64_t rounding = PA_VOLUME_NORM / 1000;
    const pa_volume_t now = muted ? PA_VOLUME_MUTED : volume;
    if (std::abs(std::int64_t{now} - std::int64_t{Volume()}) <= rounding) return;
    const std::uint64_t level = (now * Half + PA_VOLUME_NORM / 2) / PA_VOLUME_NORM;
    Held.store(static_cast<std::uint32_t>(std::min<std::uint64_t>(level, FullLevel)),
               std::memory_order_relaxed);
    Of.ApplyLevel(&moved);
}

bool ListeningMute::Read(std::span<std::uint32_t> values) const {
    const Server::Lock lock;
    std::ranges::fill(values, Of.Speakers.On() ? 0u : 1u);
    return true;
}

bool ListeningMute::Write(std::span<const std::uint32_t> values) {
    const Server::Lock lock;
    Of.Speakers.Turn(values[0] == 0);
    return true;
}

} // namespace machine
