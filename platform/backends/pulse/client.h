// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The client of the sound server, and the list of the server's sources. PulseAudio and PipeWire use
// the same protocol.
//
// One lock, PulseClient::Lock, guards all state. The server's answers are handled with it held, on
// the client's own thread, which lives as long as the process and sleeps while nothing is captured
// and nothing changes. The library is never called with the lock held.
//
// The client starts no server and prints nothing. When a server ends, all its sources are gone. A
// new server is looked for once per second while a listener is registered, else when sources are
// listed.
#pragma once

#include <cstdint>
#include <pulse/pulseaudio.h>
#include <string>
#include <vector>

namespace device {

struct Source {
    std::string Name;        // its identity
    std::string Description; // for people
    std::uint32_t Index;     // differs each time that the source appears
    bool IsMonitor;          // captures what is played
};

// Notified of changes with the lock held, on the client's thread; must not block.
class PulseListener {
public:
    virtual void OnSourcesChanged() = 0; // also when the server has ended
    // The user has changed the volume or mute of the record stream of that index.
    virtual void OnLevelChanged(std::uint32_t streamIndex) = 0;
    virtual void OnSecond() = 0; // once per second

protected:
    ~PulseListener() = default;
};

class PulseClient {
public:
    static PulseClient& Instance(); // never destroyed

    class Lock {
    public:
        Lock() { pa_threaded_mainloop_lock(Instance().Loop); }
        ~Lock() { pa_threaded_mainloop_unlock(Instance().Loop); }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;
    };

    // ---- with the lock held ----

    // Null while not connected to a server.
    pa_context* Context() const;
    // The default one first, monitors last; empty while there is no server.
    const std::vector<Source>& Sources() const { return CurrentSources; }
    const Source* Find(const std::string& name) const; // null if it is not plugged in
    // Connects if necessary, and waits for the list of sources, two seconds at most. Returns what
    // failed, as a sentence, or an empty string. Not on the client's thread.
    std::string WaitForSources();
    void RequestSources();
    void AddListener(PulseListener& listener);
    void RemoveListener(PulseListener& listener);

private:
    PulseClient();

    void Connect();
    void OnContextState();
    void Disconnect();
    void OnServerEvent(pa_subscription_event_type_t event, std::uint32_t index);
    void OnSource(const pa_source_info* source, int end);
    void Publish();
    void StartTimer(pa_usec_t microseconds);
    void OnTimer();
    void CancelRequest();

    pa_threaded_mainloop* const Loop;
    pa_context* Connection = nullptr;
    pa_time_event* Timer = nullptr; // runs while there are listeners
    std::vector<PulseListener*> Listeners;

    std::vector<Source> CurrentSources;
    bool IsListComplete = false; // CurrentSources is the server's list
    bool TimedOut = false;       // the last wait; the next one then does not wait
    std::string Problem;         // of the last connection
    pa_operation* Request = nullptr;
    std::vector<Source> PartialList; // answers to the request so far
    std::string DefaultName;
};

} // namespace device
