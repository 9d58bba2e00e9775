// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/backends/pulse/connection.h"

#include "platform/backends/pulse/microphone.h"

#include <algorithm>
#include <utility>

namespace device {
namespace {

constexpr pa_usec_t MaxWaitForSound = 3 * PA_USEC_PER_SEC;
// Silence that is delivered after a source has gone, so that a note that was held in it ends.
constexpr pa_usec_t Pause = PA_USEC_PER_SEC / 4;
constexpr std::uint32_t ServersChoice = ~0u;

SourceConnection& ConnectionOf(void* self) { return *static_cast<SourceConnection*>(self); }

void Unref(pa_operation*& operation) {
    if (operation) pa_operation_unref(std::exchange(operation, nullptr));
}

void Cancel(pa_operation*& operation) {
    if (operation) pa_operation_cancel(operation);
    Unref(operation);
}

} // namespace

SourceConnection::SourceConnection(PulseMicrophone& microphone, const pa_sample_spec& format,
                                   const char* purpose, std::uint32_t block)
    : Format(format), Microphone(microphone), Purpose(purpose), Block(block) {}

void SourceConnection::Begin() {
    if (std::exchange(Begun, true)) return;
    Microphone.Connections.push_back(this);
    PulseClient::Instance().AddListener(*this);
    OnSourcesChanged();
}

void SourceConnection::End() {
    if (!std::exchange(Begun, false)) return;
    std::erase(Microphone.Connections, this);
    PulseClient::Instance().RemoveListener(*this);
    Close();
}

// A different index means that the source has been away in between.
void SourceConnection::OnSourcesChanged() {
    const Source* const source = PulseClient::Instance().Find(Microphone.Id());
    if (Stream && (!source || source->Index != SourceIndex)) Close();
    if (!Stream && source) Open(*source);
}

// Reopens a stream without data, unless the server or the user has suspended its source.
void SourceConnection::OnSecond() {
    if (Stream && pa_rtclock_now() - LastSound > MaxWaitForSound &&
        !(IsReady() && pa_stream_is_suspended(Stream) > 0))
        Close();
    if (!Stream && NeedsPause && pa_rtclock_now() - LastSound > Pause) {
        NeedsPause = false;
        OnSound({nullptr, pa_usec_to_bytes(Pause, &Format) / pa_frame_size(&Format), 0});
    }
    OnSourcesChanged();
}

bool SourceConnection::IsReady() const {
    return Stream && pa_stream_get_state(Stream) == PA_STREAM_READY;
}

void SourceConnection::Open(const Source& source) {
    Stream = pa_stream_new(PulseClient::Instance().Context(), Purpose, &Format, nullptr);
    if (!Stream) return;
    SourceIndex = source.Index;
    LastSound = pa_rtclock_now();
    pa_stream_set_state_callback(
        Stream, [](pa_stream*, void* self) { ConnectionOf(self).OnStreamState(); }, this);
    pa_stream_set_read_callback(
        Stream, [](pa_stream*, std::size_t, void* self) { ConnectionOf(self).Read(); }, this);
    pa_stream_set_moved_callback(
        Stream, [](pa_stream*, void*) { PulseClient::Instance().RequestSources(); }, this);
    const pa_buffer_attr buffer{ServersChoice, ServersChoice, ServersChoice, ServersChoice,
                                Block * static_cast<std::uint32_t>(pa_frame_size(&Format))};
    const auto flags = static_cast<pa_stream_flags_t>(
        PA_STREAM_ADJUST_LATENCY | PA_STREAM_AUTO_TIMING_UPDATE | PA_STREAM_INTERPOLATE_TIMING);
    if (pa_stream_connect_record(Stream, source.Name.c_str(), &buffer, flags) < 0) Close();
}

void SourceConnection::Close() {
    Cancel(LevelWrite);
    Cancel(LevelRequest);
    pa_stream* const closing = std::exchange(Stream, nullptr);
    if (!closing) return;
    pa_stream_set_state_callback(closing, nullptr, nullptr);
    pa_stream_set_read_callback(closing, nullptr, nullptr);
    pa_stream_set_moved_callback(closing, nullptr, nullptr);
    pa_stream_disconnect(closing);
    pa_stream_unref(closing);
}

// A stream that failed is opened again with the next list of sources, or within a second. A stream
// that was opened just as its source left may have been connected to a different one.
void SourceConnection::OnStreamState() {
    const pa_stream_state_t state = pa_stream_get_state(Stream);
    if (!PA_STREAM_IS_GOOD(state)) return Close();
    if (state != PA_STREAM_READY) return;
    const char* const source = pa_stream_get_device_name(Stream);
    if (!source || Microphone.Id() != source) PulseClient::Instance().RequestSources();
    ApplyLevel();
}

void SourceConnection::Read() {
    pa_usec_t age = 0;
    int negative = 0; // the latency
    if (pa_stream_get_latency(Stream, &age, &negative) < 0 || negative != 0) age = 0;
    const void* data = nullptr;
    std::size_t bytes = 0;
    while (pa_stream_peek(Stream, &data, &bytes) >= 0 && bytes > 0) {
        LastSound = pa_rtclock_now();
        NeedsPause = true;
        age -= std::min(age, pa_bytes_to_usec(bytes, &Format));
        OnSound({data, bytes / pa_frame_size(&Format), age});
        pa_stream_drop(Stream);
    }
}

// Called for each stream that is opened, since servers restore the volume and mute that a program
// had last.
void SourceConnection::ApplyLevel() {
    if (!IsReady()) return;
    Cancel(LevelWrite);
    const std::uint32_t index = pa_stream_get_index(Stream);
    pa_context* const context = PulseClient::Instance().Context();
    if (!context) return;
    pa_cvolume volume;
    pa_cvolume_set(&volume, Format.channels, Microphone.Gain->Volume());
    if (pa_operation* const unmuting =
            pa_context_set_source_output_mute(context, index, 0, nullptr, nullptr))
        pa_operation_unref(unmuting);
    LevelWrite = pa_context_set_source_output_volume(
        context, index, &volume,
        [](pa_context*, int, void* self) {
            auto& connection = ConnectionOf(self);
            Unref(connection.LevelWrite);
            connection.RequestLevel();
        },
        this);
}

void SourceConnection::OnLevelChanged(std::uint32_t streamIndex) {
    if (IsReady() && !LevelWrite && pa_stream_get_index(Stream) == streamIndex) RequestLevel();
}

void SourceConnection::RequestLevel() {
    Cancel(LevelRequest);
    LevelRequest = pa_context_get_source_output_info(
        PulseClient::Instance().Context(), pa_stream_get_index(Stream),
        [](pa_context*, const pa_source_output_info* info, int end, void* self) {
            auto& connection = ConnectionOf(self);
            if (end == 0 && info && !connection.LevelWrite)
                connection.Microphone.Gain->OnChanged(connection, pa_cvolume_max(&info->volume),
                                                      info->mute != 0);
        },
        this);
}

} // namespace device
