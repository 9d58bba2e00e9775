// The connection to the sound server, and the sources that it has. PulseAudio and PipeWire speak
// the same language here.
//
// Everything runs under one lock, the Lock below: the server's answers come with it held, on the
// connection's own thread, which lives as long as the process and keeps still while nothing is
// recorded and nothing changes. Nobody of the library's is ever called with it held.
//
// Nothing here starts a server or prints. A server that dies takes its sources along; as long as
// somebody records, one is looked for each second, and else when sources are next asked for.
#pragma once

#include <cstdint>
#include <pulse/pulseaudio.h>
#include <string>
#include <vector>

namespace machine {

struct Source {
    std::string Name; // its identity; the index is new each time that it comes
    std::string Description;
    std::uint32_t Index;
    bool Monitor;
};

// Whoever records. Called with the lock held, on the connection's thread.
class ServerClient {
public:
    virtual void SourcesChanged() = 0; // or the server has gone, and all sources with it
    virtual void LevelMoved(std::uint32_t recordingIndex) = 0;
    virtual void Look() = 0; // each second

protected:
    ~ServerClient() = default;
};

class Server {
public:
    static Server& The(); // never destroyed

    class Lock {
    public:
        Lock() { pa_threaded_mainloop_lock(The().Loop); }
        ~Lock() { pa_threaded_mainloop_unlock(The().Loop); }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;
    };

    // ---- with the lock held ----

    // Null while no server is there.
    pa_context* Context() const;
    // The default one first, monitors last.
    const std::vector<Source>& Sources() const { return Present; }
    const Source* Find(const std::string& name) const;
    // Looks for a server if there is none, and waits for its answer, two seconds at the most. Gives
    // what is wrong, or nothing. Not on the connection's thread.
    std::string Await();
    void AskForSources();
    void Add(ServerClient& client);
    void Remove(ServerClient& client);

private:
    Server();

    void Connect();
    void ContextChanged();
    void Lost();
    void Changed(pa_subscription_event_type_t event, std::uint32_t index);
    void SourceListed(const pa_source_info* source, int end);
    void Publish();
    void LookAfter(pa_usec_t microseconds);
    void Look();
    void Cancel();

    pa_threaded_mainloop* const Loop;
    pa_context* Connection = nullptr;
    pa_time_event* Timer = nullptr; // of Look
    std::vector<ServerClient*> Clients;

    std::vector<Source> Present;
    bool Known = false;        // the server has listed them
    bool GaveNoAnswer = false; // to the last wait, so that the next is not as long
    std::string Problem;
    pa_operation* Asked = nullptr;
    std::vector<Source> Listed; // so far
    std::string Default;
};

} // namespace machine
