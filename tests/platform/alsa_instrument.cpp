// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "tests/platform/midi_instrument.h"

#include "platform/api/clock.h"
#include "platform/backends/alsa/alsa.h"
#include "platform/machine.h"
#include "platform/platform.h"

#include <atomic>
#include <cstdio>
#include <memory>
#include <thread>

namespace {

class Loopback {
public:
    Loopback() {
        snd_seq_open(&Handle, "default", SND_SEQ_OPEN_DUPLEX, 0);
        snd_seq_set_client_name(Handle, "Wire");
        snd_seq_set_client_pool_input(Handle, 2000);
        snd_seq_create_simple_port(Handle, "Wire",
                                   SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ |
                                       SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE,
                                   SND_SEQ_PORT_TYPE_MIDI_GENERIC);
        Thread = std::thread([this] { Run(); });
    }
    ~Loopback() {
        snd_seq_event_t end; // to itself
        snd_seq_ev_clear(&end);
        end.type = SND_SEQ_EVENT_USR0;
        snd_seq_ev_set_dest(&end, snd_seq_client_id(Handle), 0);
        snd_seq_ev_set_direct(&end);
        while (snd_seq_event_output_direct(Handle, &end) < 0) std::this_thread::yield();
        Thread.join();
        snd_seq_close(Handle);
    }
    Loopback(const Loopback&) = delete;
    Loopback& operator=(const Loopback&) = delete;

private:
    // At raised priority, since the kernel drops what a program reads too slowly.
    void Run() {
        device::RaiseThreadPriority();
        for (snd_seq_event_t* event = nullptr; Next(event);) {
            snd_seq_ev_set_source(event, 0);
            snd_seq_ev_set_subs(event);
            snd_seq_ev_set_direct(event);
            snd_seq_event_output_direct(Handle, event);
        }
    }
    // False at the end. Skips the announcements of connections to this client.
    bool Next(snd_seq_event_t*& event) {
        int result = 0;
        do result = snd_seq_event_input(Handle, &event);
        while (result == -ENOSPC || (result >= 0 && event->type >= SND_SEQ_EVENT_CLIENT_START &&
                                     event->type <= SND_SEQ_EVENT_PORT_UNSUBSCRIBED));
        return result >= 0 && event->type != SND_SEQ_EVENT_USR0;
    }

    snd_seq_t* Handle = nullptr;
    std::thread Thread;
};

std::unique_ptr<Loopback> loopback;

unsigned Count() { return midiInGetNumDevs() + midiOutGetNumDevs(); }

void AwaitCount(unsigned count) {
    while (Count() != count) std::this_thread::yield();
}

void PlugAgain() {
    loopback = std::make_unique<Loopback>();
    AwaitCount(2);
}

bool Plug() {
    const std::string reason = machine::UseNativeMidi();
    if (!reason.empty() || Count() != 0) {
        std::printf("%s\n", reason.empty() ? "Other devices are plugged in" : reason.c_str());
        return false;
    }
    PlugAgain();
    return true;
}

void Unplug() {
    if (!loopback) return;
    loopback.reset();
    AwaitCount(0);
}

} // namespace

const MidiInstrument AlsaInstrument = {"alsa", Plug, Unplug, PlugAgain};
