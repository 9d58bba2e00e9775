#include "platform/backends/pulse/playthrough.h"

#include <utility>
#include <vector>

namespace machine {
namespace {

constexpr pa_sample_spec Format = {PA_SAMPLE_S16LE, 48000, 2};
constexpr std::uint32_t PieceFrames = 256; // 5.3 ms
constexpr std::uint32_t PieceBytes = PieceFrames * 4;
constexpr std::uint32_t ServersChoice = ~0u;

} // namespace

Listening::Listening(NativeMicrophone& microphone)
    : Recording(microphone, machine::Format, "Microphone, for the speakers", PieceFrames) {}

void Listening::Turn(bool on) {
    if (on) return Begin();
    End();
    CloseSpeakers();
}

// The two clocks differ: what the speakers have no room for is left out, so the delay stays short.
void Listening::Heard(const HeardSound& sound) {
    if (!Speakers && pa_rtclock_now() - Opened > PA_USEC_PER_SEC) OpenSpeakers();
    if (!Speakers || pa_stream_get_state(Speakers) != PA_STREAM_READY) return;
    const std::size_t bytes = sound.Frames * pa_frame_size(&machine::Format);
    if (!sound.Data || pa_stream_writable_size(Speakers) < bytes) return;
    pa_stream_write(Speakers, sound.Data, bytes, nullptr, 0, PA_SEEK_RELATIVE);
}

void Listening::OpenSpeakers() {
    Opened = pa_rtclock_now();
    pa_context* const context = Server::The().Context();
    Speakers = context ? pa_stream_new(context, "Microphone", &machine::Format, nullptr) : nullptr;
    if (!Speakers) return;
    pa_stream_set_state_callback(
        Speakers,
        [](pa_stream* stream, void* self) {
            if (!PA_STREAM_IS_GOOD(pa_stream_get_state(stream)))
                static_cast<Listening*>(self)->CloseSpeakers();
        },
        this);
    const pa_buffer_attr buffer{6 * PieceBytes, 3 * PieceBytes, 2 * PieceBytes, PieceBytes,
                                ServersChoice};
    if (pa_stream_connect_playback(Speakers, nullptr, &buffer, PA_STREAM_ADJUST_LATENCY, nullptr,
                                   nullptr) < 0)
        CloseSpeakers();
}

void Listening::CloseSpeakers() {
    pa_stream* const closing = std::exchange(Speakers, nullptr);
    if (!closing) return;
    pa_stream_set_state_callback(closing, nullptr, nullptr);
    pa_stream_disconnect(closing);
    pa_stream_unref(closing);
}

} // namespace machine
