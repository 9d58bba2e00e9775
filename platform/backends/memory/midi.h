// The virtual ports, for those who carry their messages beyond this machine.
#pragma once

#include "platform/api/midi_input.h"

#include <functional>
#include <map>

namespace machine {

class VirtualInput final : public MidiInput {
public:
    using MidiInput::MidiInput;
    void Forgotten() override { SetSource(nullptr); }

    // Whoever brings messages from beyond the machine, destroyed when another takes his place.
    void SetSource(std::shared_ptr<void> source);

private:
    std::mutex Lock; // of the next; held for moments
    std::shared_ptr<void> Source;
};

class VirtualOutput final : public MidiDevice {
public:
    static constexpr MidiWay Direction = MidiWay::Out;
    VirtualOutput(std::string id, std::string name, std::uint32_t support)
        : MidiDevice(Direction, std::move(id), std::move(name)), Supported(support) {}
    std::uint32_t Support() const override { return Supported; }
    MidiResult Open(const std::shared_ptr<MidiReceiver>&) override;
    void Close() override {}
    MidiResult Send(std::uint32_t message) override;
    void Forgotten() override {
        const std::scoped_lock lock(Lock);
        Cables.clear();
    }

    // Carries a message on, false if it cannot now. Real time.
    using Cable = std::function<bool(std::uint32_t message)>;
    // Takes the place of the one that led there; null for none.
    void Lead(const std::string& where, Cable cable);

private:
    const std::uint32_t Supported;

    std::mutex Lock; // of the next; held for moments
    std::map<std::string, Cable> Cables;
};

// By device number. Null if there is none, or it is none of these.
template <class Device>
std::shared_ptr<Device> FindVirtual(int number) {
    return std::dynamic_pointer_cast<Device>(
        MidiDeviceAt(Device::Direction, static_cast<std::uint64_t>(number)));
}

} // namespace machine
