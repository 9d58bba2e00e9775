// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/backends/pulse/microphone.h"

#include "platform/backends/pulse/stream.h"

namespace device {

PulseMicrophone::PulseMicrophone(const Source& source, std::string name)
    : Gain(std::make_shared<StreamLevel>(*this)), Speakers(*this), SourceName(source.Name),
      ShownName(std::move(name)),
      IsMonitorSource(source.IsMonitor), Controls{Gain, std::make_shared<PlaythroughMute>(*this)} {}

// The server converts to any rate.
bool PulseMicrophone::Supports(const PcmFormat& format) const {
    return format.Rate >= 8000 && format.Rate <= 192000 && format.Channels >= 1 &&
           format.Channels <= 2 && (format.Bits == 8 || format.Bits == 16);
}

unsigned PulseMicrophone::ConnectionId() const {
    const PulseClient::Lock lock;
    const Source* const source = PulseClient::Instance().Find(SourceName);
    return source ? source->Index : 0;
}

bool PulseMicrophone::IsGone() const {
    const PulseClient::Lock lock;
    return !PulseClient::Instance().Find(SourceName);
}

std::unique_ptr<CaptureStream> PulseMicrophone::Open(const PcmFormat& format, CaptureOwner& owner) {
    if (IsGone()) return nullptr;
    return std::make_unique<PulseStream>(*this, format, owner);
}

void PulseMicrophone::ApplyLevel(const SourceConnection* except) {
    for (SourceConnection* connection : Connections)
        if (connection != except) connection->ApplyLevel();
}

} // namespace device
