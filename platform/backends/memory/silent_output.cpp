// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The default output of a machine without outputs: plays nothing.
#include "platform/api/midi.h"
#include "platform/common/immortal_singleton.h"

namespace device {
namespace {

class SilentOutput final : public MidiDevice {
public:
    SilentOutput() : MidiDevice(MidiDirection::Output, "Silence", "Silence") {}
    MidiResult Open(const std::shared_ptr<MidiReceiver>&) override { return MidiResult::Done; }
    void Close() override {}
    MidiResult Send(std::uint32_t) override { return MidiResult::Done; }
};

struct Silence {
    const std::shared_ptr<MidiDevice> Output = std::make_shared<SilentOutput>();
};

} // namespace

std::shared_ptr<MidiDevice> SilentMidiOutput() {
    return common::ImmortalSingleton<Silence>().Output;
}

} // namespace device
