// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Runs the library and the reference model side by side on a stepped machine: each function calls
// both, and Compare compares their states and the messages sent.
#pragma once

#include "platform/machine.h"
#include "tests/support/reference_model.h"

#include <cstring>
#include <functional>
#include <string>

class LibraryAndModel {
public:
    // For a library that is down, or up with nothing open. clock: where the stepped clock stands,
    // in milliseconds.
    LibraryAndModel(int ports, std::uint32_t clock, bool isUp) : Model(ports, clock, isUp) {}
    // Adds that many MIDI inputs and outputs; Ini gives the ini file that selects them.
    static void AddPorts(int ports) {
        for (int port = 1; port <= ports; ++port) {
            machine::AddMidiInput("Port " + std::to_string(port));
            machine::AddMidiOutput("Port " + std::to_string(port));
        }
    }
    static std::string Ini(int ports) {
        std::string ini = "[MMEDRVR]\n";
        for (int port = 0; port < ports; ++port)
            for (const std::string side : {"In", "Out"}) {
                const std::string row = std::to_string(port + 1);
                ini += side + "Name" + row + "=Port " + row + "\n" + side + "Base" + row + "=" +
                       std::to_string(port * 16 + 1) + "\n";
            }
        return ini;
    }

    void Init(bool again) { Same("MIDISysInit", MIDISysInit(again), Model.Init(again)); }
    void Term() { MIDISysTerm(), Model.Term(); }
    void Start(bool timer) { Same("ZorStartMIDI", ZorStartMIDI(timer), Model.Start(timer)); }
    void Stop() { ZorStopMIDI(), Model.Stop(); }
    void Restore() { ZorRestoreMIDI(), Model.Restore(); }
    void Echo(bool on, const std::uint8_t* map) { ZorEchoMIDI(on, map), Model.Echo(on, map); }
    // Of row 0, where there is no screen.
    void RunDialog() {
        if (!Model.IsOpenWhileDown()) ZorConfigMIDIDriver(nullptr, 0), Model.RunDialog();
    }
    void StartTimer() { Same("ZorStartTimer", ZorStartTimer(), Model.StartTimer()); }
    void Sync(std::int16_t mode) {
        ZorSyncMIDI(mode);
        Model.External = mode == ZOR_SYNC_EXTERNAL;
    }
    void SetTime(std::int32_t time) { ZorSetMIDITimer(time), Model.SetTime(time); }
    void ResetTime() {
        Same("ZorTimeMIDI(1)", ZorTimeMIDI(1), 0);
        Model.ResetTime();
    }
    void Advance(std::uint32_t milliseconds) {
        machine::Advance(milliseconds);
        Model.Advance(milliseconds);
    }
    void Filter(std::uint16_t mask, std::uint16_t sysMask) {
        ZorFilterMIDI(mask, sysMask);
        Model.Filter(mask, sysMask);
    }
    void Alloc(std::int16_t queue, std::int16_t slots) {
        Same("ZorAllocMIDI", ZorAllocMIDI(queue, slots), Model.Alloc(queue, slots));
    }
    void Free(std::int16_t queue) { Same("ZorFreeMIDI", ZorFreeMIDI(queue), Model.Free(queue)); }
    void Zero(std::int16_t queue) { ZorZeroQueue(queue), Model.Zero(queue); }
    bool Xmit(std::uint16_t queue, const MIDIEvent& event) {
        const bool done = ZorXmit(queue, &event);
        Same("ZorXmit", done, Model.Xmit(queue, event));
        return done;
    }
    bool Rcv(bool peek) {
        MIDIEvent event;
        auto& records = Model.Queues[0].Records;
        const bool got = ZorRcv(&event, peek);
        Same("ZorRcv", got, !records.empty());
        if (!got || records.empty()) return false;
        Same("the record of ZorRcv", std::memcmp(&event, &records[0], sizeof event), 0);
        if (!peek) records.pop_front();
        return true;
    }
    void Play() { ZorMIDIPlay(), Model.Play(); }
    void CallBack() { MMETimerCallBack(0, 0, 0, 0, 0), Model.CallBack(); }
    void Kill() { ZorKillMIDI(), Model.Kill(); }
    void Receive(int port, std::uint32_t packed) {
        machine::ReceiveMidi(port, packed);
        machine::Advance(0);
        Model.Receive(port, packed);
    }

    // Compares all that a host can read, and the messages sent since the last comparison.
    void Compare() {
        CompareSent();
        Same("ZorTimeMIDI(0)", ZorTimeMIDI(0), Model.Time());
        for (std::int16_t index = 0; index < 3; ++index) {
            const auto& queue = Model.Queues[index];
            std::uint16_t size, count, marker;
            Same("ZorReportMQ", ZorReportMQ(index, &size, &count), queue.Slots != 0);
            Same("slots", size, static_cast<std::int64_t>(queue.Slots));
            Same("records", count, static_cast<std::int64_t>(queue.Records.size()));
            Same("ZorEtimeMIDI", ZorEtimeMIDI(index, &marker),
                 Model.External ? Model.Time() : queue.Etime);
            Same("marker", marker, queue.Marker);
        }
        Same("ZorXmitEmpty", ZorXmitEmpty(0),
             Model.Queues[1].Records.empty() && Model.Queues[2].Records.empty());
        std::uint8_t nowOpen, nowRunning;
        ZorMIDIStatus(&nowOpen, &nowRunning);
        Same("drivers open", nowOpen, Model.Open);
        Same("timer running", nowRunning, Model.Running);
        Same("ZorErrorMIDI", ZorErrorMIDI(nullptr), Model.ReadError() ? 0 : -1);
        const auto pending = machine::PendingTimers();
        Same("expiries pending", static_cast<std::int64_t>(pending.size()), Model.Expiry ? 1 : 0);
        if (Model.Expiry && !pending.empty()) Same("the next expiry", pending[0], *Model.Expiry);
    }

    std::string Difference; // the first one; empty if there is none
    std::function<void(const ReferenceModel::Message&)>
        OnSent; // called for each message by Compare
    ReferenceModel Model;

private:
    void Same(const char* what, std::int64_t library, std::int64_t expected) {
        if (library == expected || !Difference.empty()) return;
        Difference = std::string(what) + ": " + std::to_string(library) + " instead of " +
                     std::to_string(expected) + " at " + std::to_string(Model.Now);
    }
    void CompareSent() {
        std::size_t count = 0;
        for (const machine::SentMidi& one : machine::DrainSentMidi()) {
            if (one.Reset) continue;
            std::uint32_t packed = one.Message;
            const std::uint32_t kind = packed & 0xF0;
            if (kind == 0x80 || (kind == 0x90 && packed < 0x10000))
                packed = (packed & 0xFF0F) | 0x80;
            const auto time = static_cast<std::uint32_t>(one.Microseconds / 1000);
            if (OnSent) OnSent({time, one.Device, packed});
            if (++count > Model.Sent.size()) continue;
            Same("a message", packed, Model.Sent[count - 1].Packed);
            Same("its device", one.Device, Model.Sent[count - 1].Device);
            Same("its time", time, Model.Sent[count - 1].Time);
        }
        Same("messages sent", static_cast<std::int64_t>(count),
             static_cast<std::int64_t>(Model.Sent.size()));
        Model.Sent.clear();
    }
};
