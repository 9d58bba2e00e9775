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

// None was looked for where the user wants virtual devices only.
std::string WhyNone() {
    const std::string problem = machine::MicrophoneProblem();
    return problem.empty() ? "This computer's are not asked for." : problem;
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

void ChooseMicrophone(int number) {
    const auto found = machine::FindMicrophones();
    if (found.empty()) throw HostError("there is no microphone. " + WhyNone());
    if (number < 1 || number > static_cast<int>(found.size())) {
        std::string text = "there is no microphone " + std::to_string(number) + "; there are:";
        for (std::size_t i = 0; i < found.size(); ++i)
            text += "\n  " + std::to_string(i + 1) + "  " + found[i].Name;
        throw HostError(text);
    }
    const auto& chosen = found[static_cast<std::size_t>(number) - 1];
    machine::PreferMicrophone(chosen.Id);
    std::fprintf(stderr, "Microphone: %s\n", chosen.Name.c_str());
}

std::unique_ptr<Microphone> PlugMicrophone(const std::string& file, const PortMap& map) {
    if (!file.empty()) return std::make_unique<Microphone>(file);
    if (!map.Microphone || !machine::FindMicrophones().empty()) return nullptr;
    std::fprintf(stderr,
                 "The settings switch the microphone on, and it hears silence. %s --mic gives it a "
                 "sound file.\n",
                 WhyNone().c_str());
    return std::make_unique<Microphone>();
}

} // namespace zorhost
