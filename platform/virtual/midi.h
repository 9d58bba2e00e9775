// The virtual ports, for those who carry their messages beyond this machine.
#pragma once

#include "platform/device/midi.h"

#include <functional>
#include <mutex>

namespace machine {

class VirtualInput final : public MidiDevice, public std::enable_shared_from_this<VirtualInput> {
public:
    VirtualInput(std::string id, std::string name)
        : MidiDevice(MidiWay::In, std::move(id), std::move(name)) {}
    MidiResult Open(std::shared_ptr<MidiReceiver> receiver,
                    std::unique_ptr<MidiStream>& stream) override;

    // Sends a message on its way: it arrives when the latency (microseconds) has passed, if the
    // device is there and open by then. False if too many are under way. Real time.
    bool Bring(std::uint32_t message, std::uint64_t latency);
    void Arrive(std::uint32_t message, std::uint64_t microseconds);
    // Whoever brings messages from beyond the machine, destroyed when another takes his place.
    void SetSource(std::shared_ptr<void> source);
    void Forgotten() override { SetSource(nullptr); }

private:
    std::mutex Lock; // of the next two; held for moments
    std::weak_ptr<MidiReceiver> Receiver;
    std::shared_ptr<void> Source;
};

// Takes messages beyond the machine. Called on a real-time thread.
using MidiSink = std::function<void(std::uint32_t message)>;

class VirtualOutput final : public MidiDevice, public std::enable_shared_from_this<VirtualOutput> {
public:
    VirtualOutput(std::string id, std::string name, std::uint32_t support)
        : MidiDevice(MidiWay::Out, std::move(id), std::move(name)), Supported(support) {}
    std::uint32_t Support() const override { return Supported; }
    MidiResult Open(std::shared_ptr<MidiReceiver>, std::unique_ptr<MidiStream>& stream) override;

    MidiResult Send(std::uint32_t message);
    void Connect(std::shared_ptr<VirtualInput> input, std::uint64_t latency);
    void SetSink(MidiSink sink);
    void Forgotten() override { SetSink(nullptr); }

private:
    struct Cable {
        std::shared_ptr<VirtualInput> To;
        std::uint64_t Latency; // microseconds
    };
    const std::uint32_t Supported;

    std::mutex Lock; // of the next two; held for moments
    std::vector<Cable> Cables;
    MidiSink Sink;
};

// By device number. Null if there is none, or it is none of these.
std::shared_ptr<VirtualInput> FindVirtualInput(int number);
std::shared_ptr<VirtualOutput> FindVirtualOutput(int number);

} // namespace machine
