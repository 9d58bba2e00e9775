// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Measures how long a message takes from a MIDI device to a host and back, through the library,
// through RtMidi and through the ALSA sequencer alone, with the devices of bench/midi.
#include "bench/cost.h"
#include "engine/zormidi.h"
#include "platform/api/clock.h"
#include "platform/backends/alsa/alsa.h"
#include "platform/machine.h"
#include "platform/platform.h"

#ifdef MEASURE_RTMIDI
#include <RtMidi.h>
#endif

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <new>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
constexpr int Messages = 1000;

std::atomic<long> allocations{0};

// A sequencer client with one port, which a thread of its own reads.
class Program {
public:
    explicit Program(const char* name) {
        snd_seq_open(&Handle, "default", SND_SEQ_OPEN_DUPLEX, 0);
        snd_seq_set_client_name(Handle, name);
        snd_seq_create_simple_port(Handle, name,
                                   SND_SEQ_PORT_CAP_READ | SND_SEQ_PORT_CAP_SUBS_READ |
                                       SND_SEQ_PORT_CAP_WRITE | SND_SEQ_PORT_CAP_SUBS_WRITE,
                                   SND_SEQ_PORT_TYPE_MIDI_GENERIC);
        std::thread([this] { Read(); }).detach(); // until the process ends
    }
    // A client lives as long as the process, since its thread does.
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    void Connect(const Program& peer) {
        snd_seq_connect_to(Handle, 0, snd_seq_client_id(peer.Handle), 0);
        snd_seq_connect_from(Handle, 0, snd_seq_client_id(peer.Handle), 0);
    }
    void Disconnect(const Program& peer) {
        snd_seq_disconnect_to(Handle, 0, snd_seq_client_id(peer.Handle), 0);
        snd_seq_disconnect_from(Handle, 0, snd_seq_client_id(peer.Handle), 0);
    }
    void Send(unsigned char key) {
        snd_seq_event_t event;
        snd_seq_ev_clear(&event);
        snd_seq_ev_set_source(&event, 0);
        snd_seq_ev_set_subs(&event);
        snd_seq_ev_set_direct(&event);
        snd_seq_ev_set_noteon(&event, 0, key, 64);
        snd_seq_event_output_direct(Handle, &event);
    }
    std::atomic<int> LastKey{-1}; // of the last note on

private:
    void Read() {
        device::RaiseThreadPriority();
        for (snd_seq_event_t* event = nullptr; snd_seq_event_input(Handle, &event) >= 0;)
            if (event->type == SND_SEQ_EVENT_NOTEON) LastKey = event->data.note.note;
    }
    snd_seq_t* Handle = nullptr;
};

// Sends notes one at a time, each after the previous one has been received. received: the key that
// came last, or -1.
void Measure(const char* what, const std::function<void(unsigned char)>& send,
             const std::function<int()>& received) {
    std::vector<double> times; // milliseconds
    times.reserve(Messages);
    const long before = allocations;
    int lost = 0;
    for (int i = 0; i < Messages; ++i) {
        const auto key = static_cast<unsigned char>(i % 100 + 1);
        const auto start = Clock::now(), latest = start + std::chrono::seconds(2);
        send(key);
        while (received() != key && Clock::now() < latest) std::this_thread::yield();
        const std::chrono::duration<double, std::milli> took = Clock::now() - start;
        if (Clock::now() < latest)
            times.push_back(took.count());
        else
            ++lost;
        std::this_thread::sleep_for(std::chrono::milliseconds(3));
    }
    std::ranges::sort(times);
    if (times.empty()) times.push_back(0);
    std::printf("  %-34s median %6.3f ms, 99th percentile %6.3f ms; %d lost, %ld allocations\n",
                what, times[times.size() / 2], times[times.size() * 99 / 100], lost,
                allocations - before);
    std::fflush(stdout);
}

void MeasureBare(Program& device) {
    static Program host("Bare");
    host.Connect(device);
    Measure(
        "device to a bare program", [&](auto key) { device.Send(key); },
        [&] { return host.LastKey.load(); });
    Measure(
        "a bare program to the device", [&](auto key) { host.Send(key); },
        [&] { return device.LastKey.load(); });
    host.Disconnect(device);
}

void MeasureRtMidi([[maybe_unused]] Program& device) {
#ifdef MEASURE_RTMIDI
    RtMidiIn in(RtMidi::LINUX_ALSA);
    RtMidiOut out(RtMidi::LINUX_ALSA);
    const auto open = [](RtMidi& direction) {
        for (unsigned port = 0; port < direction.getPortCount(); ++port)
            if (direction.getPortName(port).find("Device") != std::string::npos)
                direction.openPort(port);
    };
    open(in);
    open(out);
    static std::atomic<int> received{-1};
    in.setCallback(
        [](double, std::vector<unsigned char>* bytes, void*) { received = (*bytes)[1]; });
    Measure(
        "device to RtMidi", [&](auto key) { device.Send(key); }, [] { return received.load(); });
    Measure(
        "RtMidi to the device",
        [&](auto key) {
            const unsigned char bytes[] = {0x90, key, 64};
            out.sendMessage(bytes, sizeof bytes);
        },
        [&] { return device.LastKey.load(); });
#endif
}

int NoteReceived() {
    MIDIEvent event;
    return ZorRcv(&event, 0) && event.Status == 0x90 ? event.Data1 : -1;
}

bool MeasureLibrary(Program& device) {
    if (MIDISysInit(0) != -1 || !ZorAllocMIDI(ZOR_QUEUE_INPUT, 1024) ||
        !ZorAllocMIDI(ZOR_QUEUE_OUTPUT, 1024) || !ZorStartMIDI(1))
        return false;
    bench::PrintCost("the library, idle");
    Measure(
        "device to ZorRcv", [&](auto key) { device.Send(key); }, NoteReceived);
    Measure(
        "ZorXmit to the device",
        [](auto key) {
            const MIDIEvent event = {ZorTimeMIDI(0), 0, 0, 2, 0x90, key, 64};
            ZorXmit(ZOR_QUEUE_OUTPUT, &event);
        },
        [&] { return device.LastKey.load(); });
    ZorStopMIDI();
    MIDISysTerm();
    return true;
}

// The device call alone, without the wait for the next pass of the pump.
void MeasureCall(Program& device) {
    HMIDIOUT out = nullptr;
    if (midiOutOpen(&out, 0, 0, 0, CALLBACK_NULL) != MMSYSERR_NOERROR) return;
    Measure(
        "midiOutShortMsg to the device",
        [out](auto key) { midiOutShortMsg(out, 0x400090u | unsigned{key} << 8); },
        [&] { return device.LastKey.load(); });
    midiOutClose(out);
}

} // namespace

// Counts the allocations of the whole process.
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* malloc(std::size_t size) {
    ++allocations;
    return __libc_malloc(size);
}

int main() {
    static Program device("Device");
    bench::PrintCost("without the library");
    MeasureBare(device);
    MeasureRtMidi(device);
    const bool up = MeasureLibrary(device);
    MeasureCall(device);
    return up ? 0 : 1;
}
