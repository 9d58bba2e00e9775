#include "host/microphone.h"

#include "engine/zormidi.h"
#include "host/host_error.h"

#include <cstdio>

namespace zorhost {

namespace {
machine::MicrophoneModel Model(const char* name) {
    machine::MicrophoneModel model;
    model.Name = name;
    return model;
}
} // namespace

Microphone::Microphone() : Device(machine::AddMicrophone(Model("Silence"))) {}

Microphone::Microphone(const std::string& path)
    : Device(machine::AddMicrophone(Model("Sound file"))), Path(path),
      Feed(machine::FeedFile(Device, path)) {
    if (!Feed.Error.empty()) throw HostError(Feed.Error);
}

double Microphone::Seconds() const {
    return Feed.Rate ? static_cast<double>(Feed.Frames) / Feed.Rate : 0;
}

double Microphone::SecondsHeard() const {
    return Feed.Rate ? static_cast<double>(machine::StatsOf(Device).FileFrames) / Feed.Rate : 0;
}

bool Microphone::Ended() const { return machine::StatsOf(Device).Ended; }

void Microphone::CheckRead() const {
    if (machine::StatsOf(Device).ReadFailed) {
        throw HostError("\"" + Path + "\" breaks off: it could not be read to its end");
    }
}

std::int64_t Microphone::StartTime() const {
    const auto age = machine::Microseconds() - machine::StatsOf(Device).OriginMicroseconds;
    return ZorTimeMIDI(0) - static_cast<std::int64_t>(age / 1000);
}

std::unique_ptr<Microphone> PlugMicrophone(const std::string& file, const PortMap& map) {
    if (!file.empty()) return std::make_unique<Microphone>(file);
    if (!map.Microphone) return nullptr;
    std::fprintf(stderr, "The settings switch the microphone on. Those of this computer are not "
                         "reached yet, so it hears silence; --mic gives it a sound file.\n");
    return std::make_unique<Microphone>();
}

} // namespace zorhost
