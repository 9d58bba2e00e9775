#include "platform/backends/pulse/connection.h"

#include "platform/backends/pulse/microphone.h"

#include <algorithm>
#include <utility>

namespace machine {
namespace {

constexpr pa_usec_t LongestSilence = 3 * PA_USEC_PER_SEC;
// Of silence, behind a source that has gone: a note that was held in it ends.
constexpr pa_usec_t Pause = PA_USEC_PER_SEC / 4;
constexpr std::uint32_t ServersChoice = ~0u;

Recording& Of(void* self) { return *static_cast<Recording*>(self); }

void Forget(pa_operation*& operation) {
    if (operation) pa_operation_unref(std::exchange(operation, nullptr));
}

void Cancel(pa_operation*& operation) {
    if (operation) pa_operation_cancel(operation);
    Forget(operation);
}

} // namespace

Recording::Recording(NativeMicrophone& microphone, const pa_sample_spec& format,
                     const char* purpose, std::uint32_t block)
    : Format(format), Of(microphone), Purpose(purpose), Block(block) {}

void Recording::Begin() {
    if (std::exchange(Begun, true)) return;
    Of.Recordings.push_back(this);
    Server::The().Add(*this);
    SourcesChanged();
}

void Recording::End() {
    if (!std::exchange(Begun, false)) return;
    std::erase(Of.Recordings, this);
    Server::The().Remove(*this);
    Close();
}

// Another index: the source has been away, however short.
void Recording::SourcesChanged() {
    const Source* const source = Server::The().Find(Of.Id());
    if (Stream && (!source || source->Index != SourceIndex)) Close();
    if (!Stream && source) Open(*source);
}

// A source that the server or the user has put to sleep is silent by right.
void Recording::Look() {
    if (Stream && pa_rtclock_now() - LastSound > LongestSilence &&
        !(Ready() && pa_stream_is_suspended(Stream) > 0))
        Close();
    if (!Stream && Sounding && pa_rtclock_now() - LastSound > Pause) {
        Sounding = false;
        Heard({nullptr, pa_usec_to_bytes(Pause, &Format) / pa_frame_size(&Format), 0});
    }
    SourcesChanged();
}

bool Recording::Ready() const { return Stream && pa_stream_get_state(Stream) == PA_STREAM_READY; }

void Recording::Open(const Source& source) {
    Stream = pa_stream_new(Server::The().Context(), Purpose, &Format, nullptr);
    if (!Stream) return;
    SourceIndex = source.Index;
    LastSound = pa_rtclock_now();
    pa_stream_set_state_callback(
        Stream, [](pa_stream*, void* self) { machine::Of(self).StreamChanged(); }, this);
    pa_stream_set_read_callback(
        Stream, [](pa_stream*, std::size_t, void* self) { machine::Of(self).Read(); }, this);
    pa_stream_set_moved_callback(
        Stream, [](pa_stream*, void*) { Server::The().AskForSources(); }, this);
    const pa_buffer_attr buffer{ServersChoice, ServersChoice, ServersChoice, ServersChoice,
                                Block * static_cast<std::uint32_t>(pa_frame_size(&Format))};
    const auto flags = static_cast<pa_stream_flags_t>(
        PA_STREAM_ADJUST_LATENCY | PA_STREAM_AUTO_TIMING_UPDATE | PA_STREAM_INTERPOLATE_TIMING);
    if (pa_stream_connect_record(Stream, source.Name.c_str(), &buffer, flags) < 0) Close();
}

void Recording::Close() {
    Cancel(Setting);
    Cancel(AskingFor);
    pa_stream* const closing = std::exchange(Stream, nullptr);
    if (!closing) return;
    pa_stream_set_state_callback(closing, nullptr, nullptr);
    pa_stream_set_read_callback(closing, nullptr, nullptr);
    pa_stream_set_moved_callback(closing, nullptr, nullptr);
    pa_stream_disconnect(closing);
    pa_stream_unref(closing);
}

// One that failed is tried again with the next list of sources, or at the next look. One that was
// opened just as its source left may have been given another one.
void Recording::StreamChanged() {
    const pa_stream_state_t state = pa_stream_get_state(Stream);
    if (!PA_STREAM_IS_GOOD(state)) return Close();
    if (state != PA_STREAM_READY) return;
    const char* const source = pa_stream_get_device_name(Stream);
    if (!source || Of.Id() != source) Server::The().AskForSources();
    ApplyLevel();
}

void Recording::Read() {
    pa_usec_t age = 0;
    int ahead = 0;
    if (pa_stream_get_latency(Stream, &age, &ahead) < 0 || ahead != 0) age = 0;
    const void* data = nullptr;
    std::size_t bytes = 0;
    while (pa_stream_peek(Stream, &data, &bytes) >= 0 && bytes > 0) {
        LastSound = pa_rtclock_now();
        Sounding = true;
        age -= std::min(age, pa_bytes_to_usec(bytes, &Format));
        Heard({data, bytes / pa_frame_size(&Format), age});
        pa_stream_drop(Stream);
    }
}

// Servers remember the volumes of programs, muting included: ours is set whenever one is opened.
void Recording::ApplyLevel() {
    if (!Ready()) return;
    Cancel(Setting);
    const std::uint32_t index = pa_stream_get_index(Stream);
    pa_context* const context = Server::The().Context();
    if (!context) return;
    pa_cvolume volume;
    pa_cvolume_set(&volume, Format.channels, Of.Gain->Volume());
    if (pa_operation* const unmuting =
            pa_context_set_source_output_mute(context, index, 0, nullptr, nullptr))
        pa_operation_unref(unmuting);
    Setting = pa_context_set_source_output_volume(
        context, index, &volume,
        [](pa_context*, int, void* self) {
            auto& recording = machine::Of(self);
            Forget(recording.Setting);
            recording.AskLevel();
        },
        this);
}

void Recording::LevelMoved(std::uint32_t recordingIndex) {
    if (Ready() && !Setting && pa_stream_get_index(Stream) == recordingIndex) AskLevel();
}

void Recording::AskLevel() {
    Cancel(AskingFor);
    AskingFor = pa_context_get_source_output_info(
        Server::The().Context(), pa_stream_get_index(Stream),
        [](pa_context*, const pa_source_output_info* info, int end, void* self) {
            auto& recording = machine::Of(self);
            if (end == 0 && info && !recording.Setting)
                recording.Of.Gain->Moved(recording, pa_cvolume_max(&info->volume), info->mute != 0);
        },
        this);
}

} // namespace machine
