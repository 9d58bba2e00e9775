// The library's session as this host runs it: up, open, timed, and down again whatever happens.
#pragma once

#include "engine/zormidi.h"
#include "host/names.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace zorhost {

struct StartOptions {
    Filter Keep;                       // what stays out of the input queue
    int Sync = ZOR_SYNC_INTERNAL;      // or ZOR_SYNC_EXTERNAL
    bool Thru = false;                 // send out again what comes in
    std::vector<std::uint8_t> ThruMap; // 64 bytes, as ParseChannelMap gives them
};

class Library {
public:
    // Brings the library up and gives it its queues. Throws HostError.
    Library();
    // Silences what still sounds, closes everything.
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    // Opens the ports and starts the time base at 0. Throws HostError if a port does not open; the
    // library's own message has been shown by then.
    void Start(const StartOptions& options);

    // Appends what has come in since the last call, at most the 16,383 records that the queue
    // holds.
    static void TakeReceived(std::vector<MIDIEvent>& records);

    // Throws away what is queued and ends every note that sounds; pedals and bends too on the
    // channels that the given records play on.
    static void Silence(std::span<const MIDIEvent> played);

    // Errors of the drivers since the last call, as text; empty if there were none.
    static std::string TakeErrors();

private:
    bool Thru = false;
};

} // namespace zorhost
