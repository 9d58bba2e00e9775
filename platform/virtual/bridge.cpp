#include "platform/machine/bridge.h"

#include "platform/virtual/bridge_ring.h"
#include "platform/virtual/midi.h"

#include <chrono>
#include <pthread.h>
#include <system_error>
#include <thread>

namespace machine {
namespace {

// Hands on, from a thread of its own, what is sent from the moment of its making.
class BridgedInput {
public:
    BridgedInput(VirtualInput& device, std::unique_ptr<BridgeRing> ring)
        : Device(device), Ring(std::move(ring)), Place(Ring->End()), Thread([this] { Run(); }) {}
    BridgedInput(const BridgedInput&) = delete;
    BridgedInput& operator=(const BridgedInput&) = delete;
    ~BridgedInput() {
        Ending = true;
        Ring->Wake();
        Thread.join();
    }

private:
    void Run() {
        pthread_setname_np(pthread_self(), "zor-bridge");
        for (std::uint32_t message = 0; Ring->Await(Place, message, Ending);)
            // While the machine has no room, what has been sent waits in the ring.
            while (!Ending && !Device.Bring(message, 0))
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

    VirtualInput& Device; // which owns this
    const std::unique_ptr<BridgeRing> Ring;
    std::uint32_t Place;
    std::atomic<bool> Ending{false};
    std::thread Thread; // last, since it uses the others
};

} // namespace

bool BridgeOutput(int output, const std::string& name) {
    const auto device = FindVirtualOutput(output);
    const std::shared_ptr<BridgeRing> ring = name.empty() ? nullptr : BridgeRing::Join(name);
    if (!device || (!ring && !name.empty())) return false;
    device->SetSink(ring ? [ring](std::uint32_t message) { ring->Append(message); } : MidiSink());
    return true;
}

bool BridgeInput(int input, const std::string& name) try {
    const auto device = FindVirtualInput(input);
    auto ring = name.empty() ? nullptr : BridgeRing::Join(name);
    if (!device || (!ring && !name.empty())) return false;
    device->SetSource(ring ? std::make_shared<BridgedInput>(*device, std::move(ring)) : nullptr);
    return true;
} catch (const std::system_error&) {
    return false; // no thread to be had
}

} // namespace machine
