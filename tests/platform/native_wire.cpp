#include "tests/platform/native_wire.h"

#include "platform/api/clock.h"
#include "platform/machine.h"
#include "platform/backends/alsa/alsa.h"
#include "platform/platform.h"

#include <atomic>
#include <cstdio>
#include <memory>
#include <thread>

namespace {

class Wire {
public:
    Wire() {
        snd_seq_open(&Handle, "default", SND_SEQ_OPEN_DUPLEX, 0);
        snd_seq_set_client_name(Handle, "Wire");
        snd_seq_set_client_pool_input(Handle, 2000);
        snd_seq_create_simple_port(Handle, "Wire",
                                   SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ |
                                       SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE,
                                   SND_SEQ_PORT_TYPE_MIDI_GENERIC);
        Thread = std::thread([this] { Run(); });
    }
    ~Wire() {
        snd_seq_event_t end; // to itself
        snd_seq_ev_clear(&end);
        end.type = SND_SEQ_EVENT_USR0;
        snd_seq_ev_set_dest(&end, snd_seq_client_id(Handle), 0);
        snd_seq_ev_set_direct(&end);
        while (snd_seq_event_output_direct(Handle, &end) < 0) std::this_thread::yield();
        Thread.join();
        snd_seq_close(Handle);
    }
    Wire(const Wire&) = delete;
    Wire& operator=(const Wire&) = delete;

private:
    // In the kernel what comes too fast for a program is lost, so it is a fast one.
    void Run() {
        machine::HastenThread();
        for (snd_seq_event_t* event = nullptr; Next(event);) {
            snd_seq_ev_set_source(event, 0);
            snd_seq_ev_set_subs(event);
            snd_seq_ev_set_direct(event);
            snd_seq_event_output_direct(Handle, event);
        }
    }
    // False at the end. Joining it is announced to it as well.
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

std::unique_ptr<Wire> wire;

unsigned Count() { return midiInGetNumDevs() + midiOutGetNumDevs(); }

void AwaitCount(unsigned count) {
    while (Count() != count) std::this_thread::yield();
}

} // namespace

bool PlugNativeWire() {
    const std::string reason = machine::UseNativeMidi();
    if (!reason.empty() || Count() != 0) {
        std::printf("%s\n", reason.empty() ? "Other devices are there" : reason.c_str());
        return false;
    }
    PlugNativeWireAgain();
    return true;
}

void UnplugNativeWire() {
    if (!wire) return;
    wire.reset();
    AwaitCount(0);
}

void PlugNativeWireAgain() {
    wire = std::make_unique<Wire>();
    AwaitCount(2);
}
