#include "host/devices/microphone.h"

#include "engine/zormidi.h"
#include "host/terminal/host_error.h"
#include "host/devices/played_file.h"

#include <cstdio>

namespace zorhost {

namespace {

// At the rate that the library asks for, which is that of the file's sound too.
machine::Microphone Add(const char* name) {
    machine::MicrophoneModel model;
    model.Name = name;
    model.Formats = 0x0F0; // of AnalysisRate
    return machine::AddMicrophone(model);
}

// None was looked for where the user wants virtual devices only.
std::string WhyNone() {
    const std::string problem = machine::MicrophoneProblem();
    return problem.empty() ? "This computer's are not asked for." : problem;
}

} // namespace

Microphone::Microphone() : Device(Add("Silence")) {}

Microphone::Microphone(const std::string& path)
    : Path(path), File(std::make_shared<PlayedFile>(path)), Device(Add("Sound file")) {
    if (const std::string remark = File->Remark(); !remark.empty())
        std::fprintf(stderr, "%s: %s\n", path.c_str(), remark.c_str());
    machine::FeedGenerator(Device, [file = File](const auto& request) { file->Fill(request); });
}

double Microphone::Seconds() const { return File ? File->Seconds() : 0; }

double Microphone::SecondsHeard() const { return File ? File->SecondsHeard() : 0; }

bool Microphone::Ended() const { return File && File->Ended(); }

void Microphone::CheckRead() const {
    if (File && File->BrokeOff()) {
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
