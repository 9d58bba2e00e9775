#include "tests/support/twin.h"

#include "platform/machine.h"

#include <cstring>
#include <utility>

Twin::Twin(int ports, std::uint32_t clock, bool up) : model{.Ports = ports, .Now = clock} {
    model.Up = up;
}

void Twin::AddPorts(int ports) {
    for (int port = 1; port <= ports; ++port) {
        machine::AddMidiInput("Port " + std::to_string(port));
        machine::AddMidiOutput("Port " + std::to_string(port));
    }
}

std::string Twin::Ini(int ports) {
    std::string ini = "[MMEDRVR]\n";
    for (int port = 0; port < ports; ++port)
        for (const std::string side : {"In", "Out"}) {
            const std::string row = std::to_string(port + 1);
            ini += side + "Name" + row + "=Port " + row + "\n" + side + "Base" + row + "=" +
                   std::to_string(port * 16 + 1) + "\n";
        }
    return ini;
}

void Twin::Same(const char* what, std::int64_t library, std::int64_t expected) {
    if (library == expected || !Difference.empty()) return;
    Difference = std::string(what) + ": " + std::to_string(library) + " instead of " +
                 std::to_string(expected) + " at " + std::to_string(model.Now);
}

void Twin::Init(bool again) { Same("MIDISysInit", MIDISysInit(again), model.Init(again)); }
void Twin::Term() {
    MIDISysTerm();
    model.Term();
}
void Twin::Start(bool timer) { Same("ZorStartMIDI", ZorStartMIDI(timer), model.Start(timer)); }
void Twin::Stop() {
    ZorStopMIDI();
    model.Stop();
}
void Twin::Restore() {
    ZorRestoreMIDI();
    model.Close();
}
void Twin::Echo(bool on, const std::uint8_t* map) {
    ZorEchoMIDI(on, map);
    model.SetEcho(on, map);
}
void Twin::StartTimer() { Same("ZorStartTimer", ZorStartTimer(), model.StartTimer()); }
void Twin::Sync(std::int16_t mode) {
    ZorSyncMIDI(mode);
    model.External = mode == ZOR_SYNC_EXTERNAL;
}
void Twin::SetTime(std::int32_t time) {
    ZorSetMIDITimer(time);
    model.SetTime(time);
}
void Twin::ResetTime() {
    Same("ZorTimeMIDI(1)", ZorTimeMIDI(1), 0);
    if (model.Running) model.ResetTime();
}
void Twin::Filter(std::uint16_t mask, std::uint16_t sysMask) {
    ZorFilterMIDI(mask, sysMask);
    model.Mask = mask, model.SysMask = sysMask;
}
void Twin::Alloc(std::int16_t queue, std::int16_t slots) {
    Same("ZorAllocMIDI", ZorAllocMIDI(queue, slots), model.Alloc(queue, slots));
}
void Twin::Free(std::int16_t queue) {
    Same("ZorFreeMIDI", ZorFreeMIDI(queue), model.Alloc(queue, 0));
}
void Twin::Zero(std::int16_t queue) {
    ZorZeroQueue(queue);
    if (queue >= 0 && queue < 3) model.Queues[queue].Records.clear();
}
bool Twin::Xmit(std::uint16_t queue, const MIDIEvent& event) {
    const bool taken = ZorXmit(queue, &event);
    Same("ZorXmit", taken, model.Xmit(queue, event));
    return taken;
}
bool Twin::Rcv(bool peek) {
    MIDIEvent event;
    auto& records = model.Queues[0].Records;
    const bool got = ZorRcv(&event, peek);
    Same("ZorRcv", got, !records.empty());
    if (!got || records.empty()) return false;
    Same("what ZorRcv gives", std::memcmp(&event, &records[0], sizeof event), 0);
    if (!peek) records.pop_front();
    return true;
}
void Twin::Play() {
    ZorMIDIPlay();
    model.Play();
}
void Twin::CallBack() {
    MMETimerCallBack(0, 0, 0, 0, 0);
    model.CallBack();
}
void Twin::Kill() {
    ZorKillMIDI();
    model.Kill();
}
void Twin::RunDialog() {
    if (model.Open && !model.Up) return; // a host that ends without closing; the row stays closed
    ZorConfigMIDIDriver(nullptr, 0);
    model.Sounding.clear();
}
void Twin::Receive(int port, std::uint32_t packed) {
    machine::ReceiveMidi(port, packed);
    machine::Advance(0);
    model.Receive(port, packed);
}
void Twin::Advance(std::uint32_t milliseconds) {
    machine::Advance(milliseconds);
    model.Advance(milliseconds);
}

void Twin::CompareSent() {
    std::vector<EngineModel::Message> sent;
    for (const machine::SentMidi& one : machine::TakeSentMidi()) {
        std::uint32_t packed = one.Message;
        const std::uint32_t kind = packed & 0xF0;
        if (kind == 0x80 || (kind == 0x90 && packed < 0x10000)) packed = (packed & 0xFF0F) | 0x80;
        const auto at = static_cast<std::uint32_t>(one.Microseconds / 1000);
        if (!one.Reset) sent.push_back({at, one.Device, packed});
    }
    Same("messages sent", static_cast<std::int64_t>(sent.size()),
         static_cast<std::int64_t>(model.Sent.size()));
    for (std::size_t i = 0; i < std::min(sent.size(), model.Sent.size()); ++i) {
        Same("a message", sent[i].Packed, model.Sent[i].Packed);
        Same("its device", sent[i].Device, model.Sent[i].Device);
        Same("when it was sent", sent[i].At, model.Sent[i].At);
    }
    if (OnSent)
        for (const EngineModel::Message& one : sent) OnSent(one);
    model.Sent.clear();
}

void Twin::Compare() {
    CompareSent();
    Same("ZorTimeMIDI(0)", ZorTimeMIDI(0), model.Time());
    for (std::int16_t index = 0; index < 3; ++index) {
        const EngineModel::Queue& queue = model.Queues[index];
        std::uint16_t size, count, marker;
        Same("ZorReportMQ", ZorReportMQ(index, &size, &count), queue.Slots != 0);
        Same("slots", size, static_cast<std::int64_t>(queue.Slots));
        Same("records", count, static_cast<std::int64_t>(queue.Records.size()));
        Same("ZorEtimeMIDI", ZorEtimeMIDI(index, &marker),
             model.External ? model.Time() : queue.Etime);
        Same("marker", marker, queue.Marker);
    }
    Same("ZorXmitEmpty", ZorXmitEmpty(0),
         model.Queues[1].Records.empty() && model.Queues[2].Records.empty());
    std::uint8_t open, running;
    ZorMIDIStatus(&open, &running);
    Same("drivers open", open, model.Open);
    Same("timer running", running, model.Running);
    Same("ZorErrorMIDI", ZorErrorMIDI(nullptr), std::exchange(model.Error, false) ? 0 : -1);
    const auto pending = machine::PendingTimers();
    Same("expiries pending", static_cast<std::int64_t>(pending.size()), model.Expiry ? 1 : 0);
    if (model.Expiry && !pending.empty()) Same("the next expiry", pending[0], *model.Expiry);
}
