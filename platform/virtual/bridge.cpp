#include "platform/virtual/bridge.h"

#include "platform/virtual/bridge_ring.h"
#include "platform/virtual/midi_devices.h"

#include <atomic>
#include <chrono>
#include <pthread.h>
#include <system_error>
#include <thread>
#include <utility>

namespace machine {
namespace {

class BridgedOutput : public MidiSink {
public:
    explicit BridgedOutput(std::unique_ptr<BridgeRing> ring) : Ring(std::move(ring)) {}
    void Send(std::uint32_t packed) override { Ring->Append(packed); }

private:
    std::unique_ptr<BridgeRing> Ring;
};

// Hands on, from a thread of its own, what is sent from the moment of its making.
class BridgedInput : public MidiSource {
public:
    BridgedInput(MidiInputDevice& device, std::unique_ptr<BridgeRing> ring)
        : Device(device), Ring(std::move(ring)), Place(Ring->End()), Thread([this] { Run(); }) {}
    ~BridgedInput() override {
        Ending = true;
        Ring->Wake();
        Thread.join();
    }

private:
    void Run() {
        pthread_setname_np(pthread_self(), "zor-bridge");
        for (std::uint32_t message = 0; Ring->Await(Place, message, Ending);) HandOn(message);
    }
    // While the machine has no room, what has been sent waits in the ring.
    void HandOn(std::uint32_t message) const {
        while (!Ending && !SendToInput(Device, message, 0))
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

    MidiInputDevice& Device;
    std::unique_ptr<BridgeRing> Ring;
    std::uint32_t Place;
    std::atomic<bool> Ending{false};
    std::thread Thread; // last, since it uses the others
};

// Null if there is no thread to be had.
std::unique_ptr<MidiSource> Listen(MidiInputDevice& device, std::unique_ptr<BridgeRing> ring) {
    try {
        return std::make_unique<BridgedInput>(device, std::move(ring));
    } catch (const std::system_error&) {
        return nullptr;
    }
}

} // namespace

// The old end is destroyed, and the new one made, outside the device table's lock, which senders
// wait for.
bool BridgeOutput(int output, const std::string& name) {
    std::unique_ptr<MidiSink> end;
    if (!name.empty()) {
        std::unique_ptr<BridgeRing> ring = BridgeRing::Join(name);
        if (!ring) return false;
        end = std::make_unique<BridgedOutput>(std::move(ring));
    }
    std::lock_guard lock(TheMidi().Lock);
    MidiOutputDevice* const device = TheMidi().Outputs.At(static_cast<std::uint64_t>(output));
    if (device) device->Sink.swap(end);
    return device != nullptr;
}

bool BridgeInput(int input, const std::string& name) {
    MidiInputDevice* device = nullptr;
    {
        std::lock_guard lock(TheMidi().Lock);
        device = TheMidi().Inputs.At(static_cast<std::uint64_t>(input));
    }
    if (!device) return false;
    std::unique_ptr<MidiSource> end;
    if (!name.empty()) {
        std::unique_ptr<BridgeRing> ring = BridgeRing::Join(name);
        if (ring) end = Listen(*device, std::move(ring));
        if (!end) return false;
    }
    std::lock_guard lock(TheMidi().Lock);
    device->Source.swap(end);
    return true;
}

} // namespace machine
