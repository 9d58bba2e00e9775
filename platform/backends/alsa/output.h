// The devices of the sequencer: the ends of their lines that applications hold.
#pragma once

#include "platform/api/midi_input.h"
#include "platform/backends/alsa/connection.h"

namespace machine {

class NativeInput final : public MidiInput {
public:
    NativeInput(const std::string& name, std::shared_ptr<Line> line)
        : MidiInput(name, name), Far(std::move(line)) {}
    MidiResult Open(const std::shared_ptr<MidiReceiver>& receiver) override;
    void Close() override;
    std::vector<std::string> Users() const override;

private:
    const std::shared_ptr<Line> Far;
};

class NativeOutput final : public MidiDevice {
public:
    NativeOutput(const std::string& name, std::shared_ptr<Line> line)
        : MidiDevice(MidiWay::Out, name, name), Far(std::move(line)) {}
    ~NativeOutput() override { snd_midi_event_free(Encoder); }
    MidiResult Open(const std::shared_ptr<MidiReceiver>&) override;
    void Close() override { Far->Close(); }
    MidiResult Send(std::uint32_t message) override;
    std::vector<std::string> Users() const override;

private:
    const std::shared_ptr<Line> Far;
    snd_midi_event_t* Encoder = nullptr; // of who sends, one at a time
};

} // namespace machine
