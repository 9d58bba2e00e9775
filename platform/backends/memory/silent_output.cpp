// The default output of a machine without outputs: what is sent to it sounds nowhere.
#include "platform/common/immortal_singleton.h"
#include "platform/api/midi.h"

namespace machine {
namespace {

class SilentOutput final : public MidiDevice {
public:
    SilentOutput() : MidiDevice(MidiWay::Out, "Silence", "Silence") {}
    MidiResult Open(const std::shared_ptr<MidiReceiver>&) override { return MidiResult::Done; }
    void Close() override {}
    MidiResult Send(std::uint32_t) override { return MidiResult::Done; }
};

struct StandIn {
    const std::shared_ptr<MidiDevice> Output = std::make_shared<SilentOutput>();
};

} // namespace

std::shared_ptr<MidiDevice> StandInMidiOutput() { return The<StandIn>().Output; }

} // namespace machine
