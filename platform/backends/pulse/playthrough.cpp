// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/backends/pulse/playthrough.h"

#include <utility>
#include <vector>

namespace device {
namespace {

constexpr pa_sample_spec Format = {PA_SAMPLE_S16LE, 48000, 2};
constexpr std::uint32_t BlockFrames = 256; // 5.3 ms
constexpr std::uint32_t BlockBytes = BlockFrames * 4;
constexpr std::uint32_t ServersChoice = ~0u;

} // namespace

Playthrough::Playthrough(PulseMicrophone& microphone)
    : SourceConnection(microphone, device::Format, "Microphone, for the speakers", BlockFrames) {}

void Playthrough::Enable(bool enable) {
    if (enable) return Begin();
    End();
    CloseSpeakers();
}

// The clocks of microphone and speakers differ: a block that does not fit into the speakers' buffer
// is dropped, so that the delay stays short.
void Playthrough::OnSound(const CapturedSound& sound) {
    if (!Speakers && pa_rtclock_now() - OpenTime > PA_USEC_PER_SEC) OpenSpeakers();
    if (!Speakers || pa_stream_get_state(Speakers) != PA_STREAM_READY) return;
    const std::size_t bytes = sound.Frames * pa_frame_size(&device::Format);
    if (!sound.Data || pa_stream_writable_size(Speakers) < bytes) return;
    pa_stream_write(Speakers, sound.Data, bytes, nullptr, 0, PA_SEEK_RELATIVE);
}

void Playthrough::OpenSpeakers() {
    OpenTime = pa_rtclock_now();
    pa_context* const context = PulseClient::Instance().Context();
    Speakers = context ? pa_stream_new(context, "Microphone", &device::Format, nullptr) : nullptr;
    if (!Speakers) return;
    pa_stream_set_state_callback(
        Speakers,
        [](pa_stream* stream, void* self) {
            if (!PA_STREAM_IS_GOOD(pa_stream_get_state(stream)))
                static_cast<Playthrough*>(self)->CloseSpeakers();
        },
        this);
    const pa_buffer_attr buffer{6 * BlockBytes, 3 * BlockBytes, 2 * BlockBytes, BlockBytes,
                                ServersChoice};
    if (pa_stream_connect_playback(Speakers, nullptr, &buffer, PA_STREAM_ADJUST_LATENCY, nullptr,
                                   nullptr) < 0)
        CloseSpeakers();
}

void Playthrough::CloseSpeakers() {
    pa_stream* const closing = std::exchange(Speakers, nullptr);
    if (!closing) return;
    pa_stream_set_state_callback(closing, nullptr, nullptr);
    pa_stream_disconnect(closing);
    pa_stream_unref(closing);
}

} // namespace device
