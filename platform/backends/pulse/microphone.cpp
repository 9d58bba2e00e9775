#include "platform/backends/pulse/microphone.h"

#include "platform/backends/pulse/stream.h"

namespace machine {

NativeMicrophone::NativeMicrophone(const Source& source, std::string name)
    : Gain(std::make_shared<RecordingLevel>(*this)), Speakers(*this), SourceName(source.Name),
      Shown(std::move(name)),
      Monitor(source.Monitor), Controls{Gain, std::make_shared<ListeningMute>(*this)} {}

// The server brings the sound to any rate.
bool NativeMicrophone::Supports(const PcmFormat& format) const {
    return format.Rate >= 8000 && format.Rate <= 192000 && format.Channels >= 1 &&
           format.Channels <= 2 && (format.Bits == 8 || format.Bits == 16);
}

unsigned NativeMicrophone::Visit() const {
    const Server::Lock lock;
    const Source* const source = Server::The().Find(SourceName);
    return source ? source->Index : 0;
}

bool NativeMicrophone::Gone() const {
    const Server::Lock lock;
    return !Server::The().Find(SourceName);
}

std::unique_ptr<CaptureStream> NativeMicrophone::Open(const PcmFormat& format,
                                                      CaptureOwner& owner) {
    if (Gone()) return nullptr;
    return std::make_unique<NativeStream>(*this, format, owner);
}

void NativeMicrophone::ApplyLevel(const Recording* but) {
    for (Recording* recording : Recordings)
        if (recording != but) recording->ApplyLevel();
}

} // namespace machine
