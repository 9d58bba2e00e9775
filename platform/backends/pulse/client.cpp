#include "platform/backends/pulse/client.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace machine {
namespace {

constexpr pa_usec_t LookInterval = PA_USEC_PER_SEC;
constexpr pa_usec_t LongestWait = 2 * PA_USEC_PER_SEC;

timeval FromNow(pa_usec_t microseconds) {
    timeval time;
    return *pa_timeval_add(pa_gettimeofday(&time), microseconds);
}

Server& Of(void* self) { return *static_cast<Server*>(self); }

void Forget(pa_operation* operation) {
    if (operation) pa_operation_unref(operation);
}

} // namespace

Server& Server::The() {
    static Server& server = *new Server;
    return server;
}

Server::Server() : Loop(pa_threaded_mainloop_new()) {
    pa_threaded_mainloop_set_name(Loop, "zor-capture");
    pa_threaded_mainloop_start(Loop);
}

pa_context* Server::Context() const {
    return Connection && pa_context_get_state(Connection) == PA_CONTEXT_READY ? Connection
                                                                              : nullptr;
}

const Source* Server::Find(const std::string& name) const {
    const auto found = std::ranges::find(Present, name, &Source::Name);
    return found != Present.end() ? &*found : nullptr;
}

std::string Server::Await() {
    if (!Connection) Connect();
    const timeval end = FromNow(GaveNoAnswer ? 0 : LongestWait);
    GaveNoAnswer = false;
    pa_mainloop_api* const api = pa_threaded_mainloop_get_api(Loop);
    pa_time_event* const limit = api->time_new(
        api, &end,
        [](pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
            Of(self).GaveNoAnswer = true;
            pa_threaded_mainloop_signal(Of(self).Loop, 0);
        },
        this);
    while (Connection && !Known && !GaveNoAnswer) pa_threaded_mainloop_wait(Loop);
    api->time_free(limit);
    if (Known) return {};
    return GaveNoAnswer ? "The sound server does not answer." : Problem;
}

void Server::Connect() {
    Connection = pa_context_new(pa_threaded_mainloop_get_api(Loop), nullptr); // the host's name
    if (!Connection) return;
    pa_context_set_state_callback(
        Connection, [](pa_context*, void* self) { Of(self).ContextChanged(); }, this);
    if (pa_context_connect(Connection, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0 && Connection)
        Lost();
}

void Server::ContextChanged() {
    const pa_context_state_t state = pa_context_get_state(Connection);
    if (!PA_CONTEXT_IS_GOOD(state)) return Lost();
    if (state != PA_CONTEXT_READY) return;
    pa_context_set_subscribe_callback(
        Connection,
        [](pa_context*, pa_subscription_event_type_t event, std::uint32_t index, void* self) {
            Of(self).Changed(event, index);
        },
        this);
    const auto what = static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SOURCE |
                                                          PA_SUBSCRIPTION_MASK_SERVER |
                                                          PA_SUBSCRIPTION_MASK_SOURCE_OUTPUT);
    Forget(pa_context_subscribe(Connection, what, nullptr, nullptr));
    AskForSources();
}

void Server::Lost() {
    Cancel();
    Problem = std::string("No sound server (PulseAudio or PipeWire) can be reached: ") +
              pa_strerror(pa_context_errno(Connection)) + ".";
    pa_context_set_state_callback(Connection, nullptr, nullptr);
    pa_context_set_subscribe_callback(Connection, nullptr, nullptr);
    pa_context_unref(Connection);
    Connection = nullptr;
    Listed.clear();
    Publish();
    Known = false;
}

// The server says "change" of a source for each step of its volume, which does not matter here.
void Server::Changed(pa_subscription_event_type_t event, std::uint32_t index) {
    const auto of = event & PA_SUBSCRIPTION_EVENT_FACILITY_MASK;
    const bool change = (event & PA_SUBSCRIPTION_EVENT_TYPE_MASK) == PA_SUBSCRIPTION_EVENT_CHANGE;
    if (of == PA_SUBSCRIPTION_EVENT_SOURCE ? !change : of == PA_SUBSCRIPTION_EVENT_SERVER)
        AskForSources();
    if (of == PA_SUBSCRIPTION_EVENT_SOURCE_OUTPUT && change)
        for (ServerClient* client : Clients) client->LevelMoved(index);
}

void Server::Cancel() {
    if (!Asked) return;
    pa_operation_cancel(Asked);
    pa_operation_unref(Asked);
    Asked = nullptr;
}

// What was asked before is not waited for: it may be out of date already.
void Server::AskForSources() {
    if (!Context()) return;
    Cancel();
    Listed.clear();
    Asked = pa_context_get_server_info(
        Connection,
        [](pa_context* context, const pa_server_info* info, void* self) {
            auto& server = Of(self);
            server.Default = info && info->default_source_name ? info->default_source_name : "";
            Forget(server.Asked);
            server.Asked = pa_context_get_source_info_list(
                context,
                [](pa_context*, const pa_source_info* source, int end, void* to) {
                    Of(to).SourceListed(source, end);
                },
                self);
        },
        this);
}

void Server::SourceListed(const pa_source_info* source, int end) {
    if (end == 0) {
        Listed.push_back({source->name, source->description ? source->description : source->name,
                          source->index, source->monitor_of_sink != PA_INVALID_INDEX});
        return;
    }
    Forget(Asked);
    Asked = nullptr;
    Known = true;
    std::ranges::stable_sort(Listed, {}, [this](const Source& each) {
        return std::tuple(each.Monitor, each.Name != Default);
    });
    Publish();
}

void Server::Publish() {
    Present = std::exchange(Listed, {});
    pa_threaded_mainloop_signal(Loop, 0); // for Await
    for (ServerClient* client : Clients) client->SourcesChanged();
}

void Server::Add(ServerClient& client) {
    Clients.push_back(&client);
    if (!Connection) Connect();
    if (!Timer) LookAfter(LookInterval);
}

void Server::Remove(ServerClient& client) { std::erase(Clients, &client); }

void Server::LookAfter(pa_usec_t microseconds) {
    pa_mainloop_api* const api = pa_threaded_mainloop_get_api(Loop);
    const timeval due = FromNow(microseconds);
    const auto look = [](pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
        Of(self).Look();
    };
    if (Timer) return api->time_restart(Timer, &due);
    Timer = api->time_new(api, &due, look, this);
}

// Ends with the last client.
void Server::Look() {
    if (Clients.empty()) {
        pa_threaded_mainloop_get_api(Loop)->time_free(std::exchange(Timer, nullptr));
        return;
    }
    if (!Connection) Connect();
    for (ServerClient* client : Clients) client->Look();
    LookAfter(LookInterval);
}

} // namespace machine
