// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// MIDI ports in memory, with what shared_cable.cpp needs to join them to other processes.
#pragma once

#include "platform/api/midi_input.h"

#include <functional>
#include <map>

namespace device {

class VirtualInput final : public MidiInput {
public:
    using MidiInput::MidiInput;
    void ReleaseResources() override { SetSource(nullptr); }

    // Keeps an object that delivers messages from outside the machine; destroys the one before.
    // Null for none. Thread: a steering one.
    void SetSource(std::shared_ptr<void> source);

private:
    std::mutex Lock; // of the next; held for moments
    std::shared_ptr<void> Source;
};

class VirtualOutput final : public MidiDevice {
public:
    static constexpr MidiDirection ClassDirection = MidiDirection::Output;
    VirtualOutput(std::string id, std::string name, std::uint32_t support)
        : MidiDevice(ClassDirection, std::move(id), std::move(name)), Flags(support) {}
    std::uint32_t SupportFlags() const override { return Flags; }
    MidiResult Open(const std::shared_ptr<MidiReceiver>&) override;
    void Close() override {}
    MidiResult Send(std::uint32_t message) override;
    void ReleaseResources() override {
        const std::scoped_lock lock(Lock);
        Cables.clear();
    }

    // Passes a message to the other end. False if it has no room now. Real time.
    using Cable = std::function<bool(std::uint32_t message)>;
    // Connects a cable to that target in place of the one before; null for none.
    void SetCable(const std::string& target, Cable cable);

private:
    const std::uint32_t Flags;

    std::mutex Lock;                     // of the next; held for moments
    std::map<std::string, Cable> Cables; // by target
};

// The device of that number. Null if there is none, or it is not a device in memory.
template <class Device>
std::shared_ptr<Device> FindVirtual(int number) {
    return std::dynamic_pointer_cast<Device>(
        MidiDeviceAt(Device::ClassDirection, static_cast<std::uint64_t>(number)));
}

} // namespace device
