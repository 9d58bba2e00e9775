// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/backends/pulse/client.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace device {
namespace {

constexpr pa_usec_t TimerInterval = PA_USEC_PER_SEC;
constexpr pa_usec_t MaxWait = 2 * PA_USEC_PER_SEC;

timeval TimeAfter(pa_usec_t microseconds) {
    timeval time;
    return *pa_timeval_add(pa_gettimeofday(&time), microseconds);
}

PulseClient& ClientOf(void* self) { return *static_cast<PulseClient*>(self); }

void Unref(pa_operation* operation) {
    if (operation) pa_operation_unref(operation);
}

} // namespace

PulseClient& PulseClient::Instance() {
    static PulseClient& client = *new PulseClient;
    return client;
}

PulseClient::PulseClient() : Loop(pa_threaded_mainloop_new()) {
    pa_threaded_mainloop_set_name(Loop, "zor-capture");
    pa_threaded_mainloop_start(Loop);
}

pa_context* PulseClient::Context() const {
    return Connection && pa_context_get_state(Connection) == PA_CONTEXT_READY ? Connection
                                                                              : nullptr;
}

const Source* PulseClient::Find(const std::string& name) const {
    const auto found = std::ranges::find(CurrentSources, name, &Source::Name);
    return found != CurrentSources.end() ? &*found : nullptr;
}

std::string PulseClient::WaitForSources() {
    if (!Connection) Connect();
    const timeval end = TimeAfter(TimedOut ? 0 : MaxWait);
    TimedOut = false;
    pa_mainloop_api* const api = pa_threaded_mainloop_get_api(Loop);
    pa_time_event* const limit = api->time_new(
        api, &end,
        [](pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
            ClientOf(self).TimedOut = true;
            pa_threaded_mainloop_signal(ClientOf(self).Loop, 0);
        },
        this);
    while (Connection && !IsListComplete && !TimedOut) pa_threaded_mainloop_wait(Loop);
    api->time_free(limit);
    if (IsListComplete) return {};
    return TimedOut ? "The sound server does not answer." : Problem;
}

void PulseClient::Connect() {
    Connection = pa_context_new(pa_threaded_mainloop_get_api(Loop), nullptr); // the host's name
    if (!Connection) return;
    pa_context_set_state_callback(
        Connection, [](pa_context*, void* self) { ClientOf(self).OnContextState(); }, this);
    if (pa_context_connect(Connection, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0 && Connection)
        Disconnect();
}

void PulseClient::OnContextState() {
    const pa_context_state_t state = pa_context_get_state(Connection);
    if (!PA_CONTEXT_IS_GOOD(state)) return Disconnect();
    if (state != PA_CONTEXT_READY) return;
    pa_context_set_subscribe_callback(
        Connection,
        [](pa_context*, pa_subscription_event_type_t event, std::uint32_t index, void* self) {
            ClientOf(self).OnServerEvent(event, index);
        },
        this);
    const auto events = static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SOURCE |
                                                            PA_SUBSCRIPTION_MASK_SERVER |
                                                            PA_SUBSCRIPTION_MASK_SOURCE_OUTPUT);
    Unref(pa_context_subscribe(Connection, events, nullptr, nullptr));
    RequestSources();
}

void PulseClient::Disconnect() {
    CancelRequest();
    Problem = std::string("No sound server (PulseAudio or PipeWire) can be reached: ") +
              pa_strerror(pa_context_errno(Connection)) + ".";
    pa_context_set_state_callback(Connection, nullptr, nullptr);
    pa_context_set_subscribe_callback(Connection, nullptr, nullptr);
    pa_context_unref(Connection);
    Connection = nullptr;
    PartialList.clear();
    Publish();
    IsListComplete = false;
}

// "Change" events of a source are ignored: the server sends one for each step of its volume.
void PulseClient::OnServerEvent(pa_subscription_event_type_t event, std::uint32_t index) {
    const auto facility = event & PA_SUBSCRIPTION_EVENT_FACILITY_MASK;
    const bool change = (event & PA_SUBSCRIPTION_EVENT_TYPE_MASK) == PA_SUBSCRIPTION_EVENT_CHANGE;
    if (facility == PA_SUBSCRIPTION_EVENT_SOURCE ? !change
                                                 : facility == PA_SUBSCRIPTION_EVENT_SERVER)
        RequestSources();
    if (facility == PA_SUBSCRIPTION_EVENT_SOURCE_OUTPUT && change)
        for (PulseListener* listener : Listeners) listener->OnLevelChanged(index);
}

void PulseClient::CancelRequest() {
    if (!Request) return;
    pa_operation_cancel(Request);
    pa_operation_unref(Request);
    Request = nullptr;
}

// Cancels a request that is running, since its answer may be out of date already.
void PulseClient::RequestSources() {
    if (!Context()) return;
    CancelRequest();
    PartialList.clear();
    Request = pa_context_get_server_info(
        Connection,
        [](pa_context* context, const pa_server_info* info, void* self) {
            auto& client = ClientOf(self);
            client.DefaultName = info && info->default_source_name ? info->default_source_name : "";
            Unref(client.Request);
            client.Request = pa_context_get_source_info_list(
                context,
                [](pa_context*, const pa_source_info* source, int end, void* target) {
                    ClientOf(target).OnSource(source, end);
                },
                self);
        },
        this);
}

void PulseClient::OnSource(const pa_source_info* source, int end) {
    if (end == 0) {
        PartialList.push_back({source->name,
                               source->description ? source->description : source->name,
                               source->index, source->monitor_of_sink != PA_INVALID_INDEX});
        return;
    }
    Unref(Request);
    Request = nullptr;
    IsListComplete = true;
    std::ranges::stable_sort(PartialList, {}, [this](const Source& each) {
        return std::tuple(each.IsMonitor, each.Name != DefaultName);
    });
    Publish();
}

void PulseClient::Publish() {
    CurrentSources = std::exchange(PartialList, {});
    pa_threaded_mainloop_signal(Loop, 0); // for WaitForSources
    for (PulseListener* listener : Listeners) listener->OnSourcesChanged();
}

void PulseClient::AddListener(PulseListener& listener) {
    Listeners.push_back(&listener);
    if (!Connection) Connect();
    if (!Timer) StartTimer(TimerInterval);
}

void PulseClient::RemoveListener(PulseListener& listener) { std::erase(Listeners, &listener); }

void PulseClient::StartTimer(pa_usec_t microseconds) {
    pa_mainloop_api* const api = pa_threaded_mainloop_get_api(Loop);
    const timeval due = TimeAfter(microseconds);
    const auto expire = [](pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
        ClientOf(self).OnTimer();
    };
    if (Timer) return api->time_restart(Timer, &due);
    Timer = api->time_new(api, &due, expire, this);
}

// Stops itself once there is no listener.
void PulseClient::OnTimer() {
    if (Listeners.empty()) {
        pa_threaded_mainloop_get_api(Loop)->time_free(std::exchange(Timer, nullptr));
        return;
    }
    if (!Connection) Connect();
    for (PulseListener* listener : Listeners) listener->OnSecond();
    StartTimer(TimerInterval);
}

} // namespace device
