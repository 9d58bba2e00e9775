#include "platform/backends/alsa/connection.h"

namespace machine {

MidiResult Line::Open(const std::string& name) {
    const std::scoped_lock lock(Lock);
    if (Device == Nowhere) return MidiResult::Gone;
    OurPort = Client->CreatePort(Way, name);
    if (OurPort < 0) return MidiResult::Failed;
    const MidiResult result = Join();
    if (result != MidiResult::Done) Client->DeletePort(Way, OurPort.exchange(-1));
    return result;
}

void Line::Close() {
    const std::scoped_lock lock(Lock);
    JoinedTo = Nowhere;
    if (const int port = OurPort.exchange(-1); port >= 0) Client->DeletePort(Way, port);
}

bool Line::Come(Address device) {
    const std::scoped_lock lock(Lock);
    Device = device;
    return OurPort < 0 || JoinedTo == device || Join() == MidiResult::Done;
}

void Line::Go() {
    const std::scoped_lock lock(Lock);
    Device = JoinedTo = Nowhere;
}

bool Line::Holds() {
    const std::scoped_lock lock(Lock);
    return JoinedTo == Nowhere || Client->Joined(Way, OurPort, JoinedTo);
}

MidiResult Line::Join() {
    const MidiResult result = Client->Join(Way, OurPort, Device);
    if (result == MidiResult::Done) JoinedTo = Device.load();
    return result;
}

} // namespace machine
