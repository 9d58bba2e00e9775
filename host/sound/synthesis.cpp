// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/sound/synthesis.h"

#include "host/terminal/host_error.h"
#include "host/terminal/interrupt.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace zorhost {

namespace {

constexpr std::size_t MaxFrames = 1024; // of a block
constexpr int MaxDecay = 20;            // seconds
constexpr float Silence = 1e-4f;        // -80 dB of full scale

std::uint32_t ShortMessage(const MIDIEvent& event) {
    return static_cast<std::uint32_t>(event.Status | event.Channel | event.Data1 << 8 |
                                      event.Data2 << 16);
}

} // namespace

std::unique_ptr<machine::Synthesizer> OpenSynthesizer(const machine::SynthesizerSettings& settings,
                                                      int rate) {
    std::string reason;
    auto synthesizer = machine::OpenSynthesizer(settings, rate, reason);
    if (!synthesizer) throw HostError(reason);
    return synthesizer;
}

void Synthesise(machine::Synthesizer& synthesizer, const std::vector<TimedMessage>& messages,
                int rate, const std::function<void(std::span<const float>)>& receive) {
    const std::int64_t end = messages.back().Frame + std::int64_t{MaxDecay} * rate;
    std::array<float, 2 * MaxFrames> block{};
    auto next = messages.begin();
    std::int64_t position = 0; // frames
    bool decayed = false;
    do {
        for (; next != messages.end() && next->Frame <= position; ++next)
            synthesizer.Send(ShortMessage(next->Event));
        const bool isOver = next == messages.end();
        const auto count =
            std::min<std::int64_t>((isOver ? end : next->Frame) - position, MaxFrames);
        const std::span<const float> frames(block.data(), static_cast<std::size_t>(2 * count));
        synthesizer.Render(block.data(), frames.size() / 2);
        position += count;
        receive(frames);
        decayed = isOver && synthesizer.ActiveVoices() == 0 &&
                  std::ranges::all_of(frames, [](float x) { return std::fabs(x) < Silence; });
    } while (!decayed && position < end && !Interrupted());
}

} // namespace zorhost
